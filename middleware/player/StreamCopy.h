#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <span>

namespace durix {

/// A copy of the stream that a player plays, in a file, while one is wanted. Any thread; writing may wait for the disk.
class StreamCopy {
 public:
  StreamCopy() = default;
  StreamCopy(const StreamCopy&) = delete;
  StreamCopy& operator=(const StreamCopy&) = delete;

  /// From here on into this file, made anew. Throws Failure.
  void begin(const std::filesystem::path& file);

  /// The file is whole. Throws Failure when something of it could not be written.
  void end();

  void write(std::span<const std::uint8_t> bytes);

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  // guarded by _mutex, a leaf
  std::mutex _mutex;
  std::unique_ptr<std::FILE, Close> _file;
  bool _hasFailed = false;
};

}  // namespace durix

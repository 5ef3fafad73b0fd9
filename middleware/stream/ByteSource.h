#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

namespace durix {

/// Where the bytes of a transport stream come from: a file today, a network tomorrow. Used by one thread at a time.
class ByteSource {
 public:
  ByteSource() = default;
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;
  virtual ~ByteSource() = default;

  /// Fills the front of `buffer` and returns how many bytes that were; 0 at the end or after a failure.
  virtual std::size_t read(std::span<std::uint8_t> buffer) = 0;

  /// Starts again at the first byte; false where that cannot be done.
  virtual bool rewind() = 0;

  /// Whether the last read ended for another reason than the end of the bytes.
  virtual bool hasFailed() const = 0;
};

/// Bytes of a regular file of any size.
class FileSource : public ByteSource {
 public:
  /// Null when the file cannot be opened or is not a file.
  static std::unique_ptr<FileSource> open(const std::filesystem::path& path);

  std::size_t read(std::span<std::uint8_t> buffer) override;
  bool rewind() override;
  bool hasFailed() const override;

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  using File = std::unique_ptr<std::FILE, Close>;

  explicit FileSource(File file) : _file(std::move(file)) {}

  File _file;
};

/// Bytes in memory.
class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::vector<std::uint8_t> bytes) : _bytes(std::move(bytes)) {}

  std::size_t read(std::span<std::uint8_t> buffer) override;
  bool rewind() override;
  bool hasFailed() const override { return false; }

 private:
  std::vector<std::uint8_t> _bytes;
  std::size_t _position = 0;
};

}  // namespace durix

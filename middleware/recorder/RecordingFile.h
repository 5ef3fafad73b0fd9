#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <span>
#include <vector>

#include "middleware/recordings/RecordingIndex.h"

namespace durix {

/// Why a recording cannot be written any further.
class WriteFailure : public std::exception {
 public:
  enum class Reason : std::uint8_t {
    Full,  // no room, or no more allowed
    Gone   // file or directory cannot be used (any more)
  };
  WriteFailure(Reason reason, std::string text) : _reason(reason), _text(std::move(text)) {}

  Reason reason() const { return _reason; }
  const char* what() const noexcept override { return _text.c_str(); }

 private:
  Reason _reason;
  std::string _text;
};

/// The file of a recording that is being written, and the index beside it. At every moment the file holds whole packets
/// only, but for a torn write, whose packet is cut off by who opens it next. Used by one thread; operations throw
/// WriteFailure.
class RecordingFile {
 public:
  /// Makes it, or goes on behind `end` of one that is there.
  RecordingFile(std::filesystem::path path, IndexEntry end);
  RecordingFile(const RecordingFile&) = delete;
  RecordingFile& operator=(const RecordingFile&) = delete;
  ~RecordingFile();

  /// Whole packets.
  void write(std::span<const std::uint8_t> packets);

  /// What was written is on the disk on return.
  void sync();

  /// Takes off what no decoder could use, since its end will not come.
  void cutUnits();

  /// The same, and closes the index with the end. Nothing is written afterwards.
  void finish();

  /// Whether it still stands where it was made.
  bool isThere() const;

  /// Gives the room of everything before `offset` back; what stands behind keeps its place. False where the file system
  /// cannot.
  bool forget(std::uint64_t offset) const;

  std::uint64_t size() const { return _size; }
  std::uint64_t errors() const { return _meter.errors(); }
  const std::filesystem::path& path() const { return _path; }

 private:
  [[noreturn]] void fail(const char* what) const;

  const std::filesystem::path _path;
  int _stream = -1;
  int _index = -1;
  std::uint64_t _size;
  std::uint64_t _lastEntry = 0;  // where that of the index stands
  RecordingMeter _meter;
};

}  // namespace durix

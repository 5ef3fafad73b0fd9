#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "middleware/recordings/RecordingIndex.h"

namespace durix {

class Recordings;

/// A recording or a time shift for somebody who plays it, while it is being written too. What is deleted meanwhile can
/// be read to its end. Used by one thread at a time.
class RecordingReader {
 public:
  /// `id` as `recordingOf` gives it. Throws Failure: UnknownObject, or NoSignal when its file is not there, whose
  /// directory may be away for a while.
  static std::unique_ptr<RecordingReader> open(Recordings& recordings, std::uint32_t id);
  RecordingReader(const RecordingReader&) = delete;
  RecordingReader& operator=(const RecordingReader&) = delete;
  ~RecordingReader();

  const std::filesystem::path& path() const { return _path; }

  /// Whether somebody writes it still: there will be more behind size().
  bool isGrowing() const;

  /// Bytes that are there now, whole packets; and the first one that still is: a time shift loses its oldest.
  std::uint64_t size() const;
  std::uint64_t beginning() const;

  /// Seconds from its first moment, which a time shift may have lost already, to its last.
  std::uint32_t duration();

  /// Where to begin reading for a second, and which second a byte belongs to; within what is there.
  std::uint64_t offsetOf(std::uint32_t second);
  std::uint32_t secondAt(std::uint64_t offset);

  /// Fills the front of `buffer` with what stands there and returns how many bytes that were: 0 at the end, for now or
  /// for good. Throws Failure when it cannot be read.
  std::size_t read(std::uint64_t offset, std::span<std::uint8_t> buffer) const;

 private:
  RecordingReader(Recordings& recordings, std::uint32_t id, std::filesystem::path path, int descriptor);
  void update();

  Recordings& _recordings;
  const std::uint32_t _id;
  const std::filesystem::path _path;
  const int _descriptor;
  std::vector<IndexEntry> _entries;  // as far as they have been read
  bool _isComplete = false;          // the end is in there
};

}  // namespace durix

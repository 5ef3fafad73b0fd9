#include "middleware/recordings/RecordingReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "middleware/api/Failure.h"
#include "middleware/portability/Files.h"
#include "middleware/recordings/Recordings.h"

namespace durix {
namespace {
constexpr std::uint64_t MILLISECONDS = 1000;
}

std::unique_ptr<RecordingReader> RecordingReader::open(Recordings& recordings, std::uint32_t id) {
  const auto recording = recordings.recording(id);
  if (!recording) throw Failure(Code::UnknownObject);
  auto path = resolved(recording->file);
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    throw Failure(Code::NoSignal, "recording " + std::to_string(id) + " is not there: " + path.string());
  }
  return std::unique_ptr<RecordingReader>(new RecordingReader(recordings, id, std::move(path), descriptor));
}

RecordingReader::RecordingReader(Recordings& recordings, std::uint32_t id, std::filesystem::path path, int descriptor)
    : _recordings(recordings), _id(id), _path(std::move(path)), _descriptor(descriptor) {}

RecordingReader::~RecordingReader() {
  ::close(_descriptor);
}

bool RecordingReader::isGrowing() const {
  return _recordings.isWritten(_id);
}

std::uint64_t RecordingReader::size() const {
  struct stat status {};
  if (::fstat(_descriptor, &status) != 0) return 0;
  const auto size = static_cast<std::uint64_t>(status.st_size);
  return size - size % PACKET_SIZE;
}

std::uint64_t RecordingReader::beginning() const {
  return _recordings.beginning(_id);
}

// Entries of a growing one come behind those that are known; an index that is not there, or is of another stream, is
// made here.
void RecordingReader::update() {
  if (_isComplete) return;
  const bool isGrowing = this->isGrowing();  // before the look at what is there
  if (const auto more = readIndex(indexOf(_path), _entries.size())) {
    _entries.insert(_entries.end(), more->begin(), more->end());
  }
  if (isGrowing) return;
  _isComplete = true;
  if (!_entries.empty() && _entries.back().offset == size()) return;
  if (auto fitted = fit(_entries, _path)) _entries = std::move(fitted->entries);
}

std::uint32_t RecordingReader::duration() {
  update();
  // The clock tells when the last picture begins, so that a recording of five seconds measures a little less.
  return _entries.empty()
             ? 0
             : static_cast<std::uint32_t>((_entries.back().milliseconds + MILLISECONDS / 2) / MILLISECONDS);
}

std::uint64_t RecordingReader::offsetOf(std::uint32_t second) {
  update();
  const std::uint64_t wanted = second * MILLISECONDS;
  auto behind = std::upper_bound(_entries.begin(), _entries.end(), wanted,
                                 [](std::uint64_t time, const IndexEntry& entry) { return time < entry.milliseconds; });
  // The end is no place to begin at.
  if (_isComplete && behind == _entries.end() && behind != _entries.begin()) --behind;
  const std::uint64_t offset = behind == _entries.begin() ? 0 : std::prev(behind)->offset;
  if (offset >= beginning()) return offset;
  const auto first =
      std::lower_bound(_entries.begin(), _entries.end(), beginning(),
                       [](const IndexEntry& entry, std::uint64_t place) { return entry.offset < place; });
  return first == _entries.end() ? beginning() : first->offset;
}

std::uint32_t RecordingReader::secondAt(std::uint64_t offset) {
  update();
  const auto behind =
      std::upper_bound(_entries.begin(), _entries.end(), offset,
                       [](std::uint64_t place, const IndexEntry& entry) { return place < entry.offset; });
  if (behind == _entries.begin()) return 0;
  return static_cast<std::uint32_t>(std::prev(behind)->milliseconds / MILLISECONDS);
}

std::size_t RecordingReader::read(std::uint64_t offset, std::span<std::uint8_t> buffer) const {
  const std::uint64_t end = size();
  if (offset >= end) return 0;
  const std::size_t wanted = std::min<std::uint64_t>(buffer.size(), end - offset);
  for (;;) {
    const ssize_t count = ::pread(_descriptor, buffer.data(), wanted, static_cast<off_t>(offset));
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) throw Failure(Code::Failed, "a recording cannot be read: " + std::string(std::strerror(errno)));
  }
}

}  // namespace durix

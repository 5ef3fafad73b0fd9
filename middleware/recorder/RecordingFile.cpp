#include "middleware/recorder/RecordingFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "middleware/recorder/CleanEnd.h"

namespace durix {
namespace {

constexpr mode_t PERMISSIONS = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;

bool isFull(int error) {
  return error == ENOSPC || error == EDQUOT || error == EFBIG;
}

// All bytes, or an error number.
int writeAll(int descriptor, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    if (count == 0) return ENOSPC;
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return 0;
}

int openAt(const std::filesystem::path& path, std::uint64_t size) {
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, PERMISSIONS);
  if (descriptor >= 0 && ::ftruncate(descriptor, static_cast<off_t>(size)) == 0) return descriptor;
  const int error = errno;
  if (descriptor >= 0) ::close(descriptor);
  errno = error;
  return -1;
}

void syncDirectory(const std::filesystem::path& directory) {
  const int descriptor = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  ::fsync(descriptor);
  ::close(descriptor);
}

}  // namespace

RecordingFile::RecordingFile(std::filesystem::path path, IndexEntry end)
    : _path(std::move(path)), _size(end.offset), _meter(end.milliseconds) {
  _stream = openAt(_path, _size);
  if (_stream < 0) fail("cannot be opened");
  const auto index = indexOf(_path);
  _index = ::open(index.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, PERMISSIONS);
  struct stat status {};
  if (_index >= 0 && ::fstat(_index, &status) == 0 && status.st_size == 0) {
    if (const int error = writeAll(_index, indexHead()); error != 0) {
      ::close(_index);
      _index = -1;
      errno = error;
    }
  }
  if (_index < 0) {
    const int error = errno;
    ::close(std::exchange(_stream, -1));
    errno = error;
    fail("has no index");
  }
  syncDirectory(_path.parent_path());
}

RecordingFile::~RecordingFile() {
  if (_stream >= 0) ::close(_stream);
  if (_index >= 0) ::close(_index);
}

void RecordingFile::fail(const char* what) const {
  const int error = errno;
  const auto reason = isFull(error) ? WriteFailure::Reason::Full : WriteFailure::Reason::Gone;
  throw WriteFailure(reason, "recording " + _path.string() + " " + what + ": " + std::strerror(error));
}

void RecordingFile::write(std::span<const std::uint8_t> packets) {
  std::vector<std::uint8_t> entries;
  for (auto rest = packets; rest.size() >= PACKET_SIZE; rest = rest.subspan(PACKET_SIZE)) {
    const auto offset = _size + (packets.size() - rest.size());
    const auto entry = _meter.feed(PacketView(rest.first<PACKET_SIZE>()), offset);
    if (!entry || entry->offset < _lastEntry) continue;  // places only grow; what was cut had some
    _lastEntry = entry->offset;
    appendEntry(entries, *entry);
  }
  if (const int error = writeAll(_stream, packets); error != 0) {
    // Part of it may stand there: cut at the last whole packet.
    struct stat status {};
    if (::fstat(_stream, &status) == 0) {
      _size = static_cast<std::uint64_t>(status.st_size) / PACKET_SIZE * PACKET_SIZE;
      if (::ftruncate(_stream, static_cast<off_t>(_size)) != 0) _size = 0;
    }
    errno = error;
    fail("cannot be written");
  }
  _size += packets.size();
  if (const int error = writeAll(_index, entries); error != 0) {
    errno = error;
    fail("has no room for its index");
  }
}

void RecordingFile::sync() {
  if (::fdatasync(_stream) != 0 || ::fdatasync(_index) != 0) fail("cannot be kept");
}

void RecordingFile::cutUnits() {
  struct stat status {};
  if (isThere() && cutIncompleteUnits(_path) && ::fstat(_stream, &status) == 0) {
    _size = static_cast<std::uint64_t>(status.st_size);
  }
}

void RecordingFile::finish() {
  cutUnits();
  std::vector<std::uint8_t> end;
  appendEntry(end, {_meter.milliseconds(), std::max(_size, _lastEntry)});
  if (const int error = writeAll(_index, end); error != 0) {
    errno = error;
    fail("has no room for the end of its index");
  }
  sync();
}

bool RecordingFile::isThere() const {
  struct stat own {};
  struct stat there {};
  return ::fstat(_stream, &own) == 0 && ::stat(_path.c_str(), &there) == 0 && own.st_ino == there.st_ino &&
         own.st_dev == there.st_dev;
}

bool RecordingFile::forget(std::uint64_t offset) const {
  return ::fallocate(_stream, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(offset)) == 0;
}

}  // namespace durix

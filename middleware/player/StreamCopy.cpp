#include "middleware/player/StreamCopy.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "middleware/api/Failure.h"

namespace durix {

void StreamCopy::begin(const std::filesystem::path& file) {
  std::unique_ptr<std::FILE, Close> opened(std::fopen(file.c_str(), "wbe"));
  if (opened == nullptr) {
    throw Failure(Code::Failed, "cannot write \"" + file.string() + "\": " + std::strerror(errno));
  }
  const std::scoped_lock lock(_mutex);
  _file = std::move(opened);
  _hasFailed = false;
}

void StreamCopy::end() {
  const std::scoped_lock lock(_mutex);
  if (_file == nullptr) return;
  const bool isClosed = std::fclose(_file.release()) == 0;
  if (!isClosed || _hasFailed) throw Failure(Code::Failed, "the copy of the stream could not be written");
}

void StreamCopy::write(std::span<const std::uint8_t> bytes) {
  const std::scoped_lock lock(_mutex);
  if (_file == nullptr || _hasFailed) return;
  _hasFailed = std::fwrite(bytes.data(), 1, bytes.size(), _file.get()) != bytes.size();
}

}  // namespace durix

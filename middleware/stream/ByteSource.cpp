#include "middleware/stream/ByteSource.h"

#include <algorithm>
#include <system_error>

namespace durix {

std::unique_ptr<FileSource> FileSource::open(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error) || error) return nullptr;
  File file(std::fopen(path.c_str(), "rbe"));
  if (!file) return nullptr;
  return std::unique_ptr<FileSource>(new FileSource(std::move(file)));
}

std::size_t FileSource::read(std::span<std::uint8_t> buffer) {
  return std::fread(buffer.data(), 1, buffer.size(), _file.get());
}

bool FileSource::rewind() {
  std::clearerr(_file.get());
  return std::fseek(_file.get(), 0, SEEK_SET) == 0;
}

bool FileSource::hasFailed() const {
  return std::ferror(_file.get()) != 0;
}

std::size_t MemorySource::read(std::span<std::uint8_t> buffer) {
  const std::size_t size = std::min(buffer.size(), _bytes.size() - _position);
  std::copy_n(_bytes.begin() + static_cast<std::ptrdiff_t>(_position), size, buffer.begin());
  _position += size;
  return size;
}

bool MemorySource::rewind() {
  _position = 0;
  return true;
}

}  // namespace durix

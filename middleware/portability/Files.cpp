#include "middleware/portability/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>

#include "durix/ostiv.h"
#include "middleware/portability/HandleTable.h"

namespace durix {
namespace {

constexpr std::string_view TEMPORARY_SUFFIX = ".ostiv-new";

struct DataDirectory {
  std::mutex mutex;
  std::filesystem::path path;
};

DataDirectory& dataDirectory() {
  static auto* const instance = new DataDirectory;  // never destroyed, as all state of this layer
  return *instance;
}

// One open file. A file opened for writing exists under a temporary name until it is closed without a failure.
class OpenFile {
 public:
  OpenFile(int descriptor, std::filesystem::path target, std::filesystem::path temporary)
      : _descriptor(descriptor), _target(std::move(target)), _temporary(std::move(temporary)) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() {
    if (_descriptor >= 0) ::close(_descriptor);
    if (!_temporary.empty()) ::unlink(_temporary.c_str());
  }

  bool isForWriting() const { return !_temporary.empty(); }

  bool read(void* buffer, std::uint32_t size, std::uint32_t& count) {
    const std::scoped_lock lock(_mutex);
    ssize_t result = 0;
    do result = ::read(_descriptor, buffer, size);
    while (result < 0 && errno == EINTR);
    if (result < 0) return false;
    count = static_cast<std::uint32_t>(result);
    return true;
  }

  bool write(const void* data, std::uint32_t length) {
    const std::scoped_lock lock(_mutex);
    const auto* at = static_cast<const char*>(data);
    while (length > 0 && !_hasFailed) {
      const ssize_t written = ::write(_descriptor, at, length);
      if (written < 0 && errno == EINTR) continue;
      _hasFailed = written <= 0;
      if (_hasFailed) break;
      at += written;
      length -= static_cast<std::uint32_t>(written);
    }
    return !_hasFailed;
  }

  /// The new file takes the old one's place, durably; after any failure the old one stays.
  bool commit() {
    const std::scoped_lock lock(_mutex);
    const int descriptor = std::exchange(_descriptor, -1);
    const bool isSynced = !isForWriting() || (!_hasFailed && ::fsync(descriptor) == 0);
    if (::close(descriptor) != 0 || !isSynced) return false;
    if (!isForWriting()) return true;
    if (::rename(_temporary.c_str(), _target.c_str()) != 0) return false;
    _temporary.clear();
    syncDirectory();
    return true;
  }

 private:
  void syncDirectory() const {
    const int directory = ::open(_target.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0) return;
    ::fsync(directory);
    ::close(directory);
  }

  std::mutex _mutex;  // a handle may be copied and used by several threads
  int _descriptor;
  std::filesystem::path _target, _temporary;
  bool _hasFailed = false;
};

// What is left of a directory; read whole at the first call so that names come in order.
struct DirectoryListing {
  std::vector<ostiv_directory_entry> entries;  // the next one last
};

HandleTable<void, OpenFile>& openFiles() {
  static auto* const table = new HandleTable<void, OpenFile>;
  return *table;
}

HandleTable<void, DirectoryListing>& listings() {
  static auto* const table = new HandleTable<void, DirectoryListing>;
  return *table;
}

uint32_t openForReading(ostiv_file& file, const std::filesystem::path& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);  // a fifo must not hang us
  if (descriptor < 0) return 1;
  auto open = std::make_shared<OpenFile>(descriptor, path, std::filesystem::path());
  struct stat status {};
  if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return 1;
  if (status.st_size > std::numeric_limits<std::uint32_t>::max()) return 1;
  file = {openFiles().add(std::move(open)), static_cast<std::uint32_t>(status.st_size)};
  return 0;
}

uint32_t openForWriting(ostiv_file& file, const std::filesystem::path& path) {
  if (path.filename().empty() || std::filesystem::is_directory(path)) return 1;
  std::string temporary = path.parent_path() / ("." + path.filename().string() + ".XXXXXX");
  temporary += TEMPORARY_SUFFIX;
  const int descriptor = ::mkostemps(temporary.data(), static_cast<int>(TEMPORARY_SUFFIX.size()), O_CLOEXEC);
  if (descriptor < 0) return 1;
  auto open = std::make_shared<OpenFile>(descriptor, path, temporary);
  ::fchmod(descriptor, S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
  file = {openFiles().add(std::move(open)), 0};
  return 0;
}

std::shared_ptr<DirectoryListing> list(const std::filesystem::path& directory) {
  auto listing = std::make_shared<DirectoryListing>();
  for (const auto& found : std::filesystem::directory_iterator(directory)) {
    const std::string name = found.path().filename();
    if (name.size() >= OSTIV_PATH_MAX) continue;
    ostiv_directory_entry entry{};
    std::error_code ignored;
    if (found.is_directory(ignored)) {
      entry.type = OSTIV_ENTRY_DIRECTORY;
    } else if (found.is_regular_file(ignored)) {
      entry.type = OSTIV_ENTRY_FILE;
    }
    name.copy(static_cast<char*>(entry.name), name.size());
    listing->entries.push_back(entry);
  }
  std::sort(listing->entries.begin(), listing->entries.end(), [](const auto& a, const auto& b) {
    return std::string_view(static_cast<const char*>(a.name)) > std::string_view(static_cast<const char*>(b.name));
  });
  return listing;
}

bool put(char* out, uint32_t size, std::string_view text) {
  if (text.size() >= size) return false;
  text.copy(out, text.size());
  out[text.size()] = '\0';
  return true;
}

// No exception leaves a call of this layer.
template <typename Call>
uint32_t guarded(Call call) noexcept {
  try {
    return call();
  } catch (...) {
    return 1;
  }
}

}  // namespace

void setDataDirectory(const std::filesystem::path& directory) {
  const std::scoped_lock lock(dataDirectory().mutex);
  dataDirectory().path = directory;
}

std::filesystem::path resolved(const std::filesystem::path& path) {
  const std::scoped_lock lock(dataDirectory().mutex);
  return path.is_absolute() ? path : dataDirectory().path / path;
}

void removeAbandonedFiles(const std::filesystem::path& directory) {
  std::error_code error;
  for (std::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename();
    std::error_code ignored;
    if (name.starts_with('.') && name.ends_with(TEMPORARY_SUFFIX)) std::filesystem::remove(entry->path(), ignored);
  }
}

}  // namespace durix

extern "C" {

uint32_t ostiv_file_open(ostiv_file* file, const char* path, const char* mode) {
  return durix::guarded([&]() -> uint32_t {
    if (file == nullptr) return 1;
    *file = {};
    if (path == nullptr || *path == '\0' || mode == nullptr) return 1;
    if (std::string_view(mode) == "r") return durix::openForReading(*file, durix::resolved(path));
    if (std::string_view(mode) == "w") return durix::openForWriting(*file, durix::resolved(path));
    return 1;
  });
}

uint32_t ostiv_file_read(ostiv_file* file, void* buffer, uint32_t size, uint32_t* bytes_read) {
  return durix::guarded([&]() -> uint32_t {
    if (file == nullptr || bytes_read == nullptr || (buffer == nullptr && size > 0)) return 1;
    const auto open = durix::openFiles().find(file->stream);
    if (open == nullptr || open->isForWriting()) return 1;
    return open->read(buffer, size, *bytes_read) ? 0 : 1;
  });
}

uint32_t ostiv_file_write(ostiv_file* file, const void* data, uint32_t length) {
  return durix::guarded([&]() -> uint32_t {
    if (file == nullptr || (data == nullptr && length > 0)) return 1;
    const auto open = durix::openFiles().find(file->stream);
    if (open == nullptr || !open->isForWriting()) return 1;
    return open->write(data, length) ? 0 : 1;
  });
}

uint32_t ostiv_file_close(ostiv_file* file) {
  return durix::guarded([&]() -> uint32_t {
    if (file == nullptr) return 1;
    const auto open = durix::openFiles().remove(file->stream);
    file->stream = nullptr;
    return open != nullptr && open->commit() ? 0 : 1;
  });
}

uint32_t ostiv_file_directory_read(const char* directory, void** iterator, ostiv_directory_entry* entry) {
  return durix::guarded([&]() -> uint32_t {
    if (iterator == nullptr) return 1;
    if (*iterator == nullptr && directory != nullptr && entry != nullptr) {
      *iterator = durix::listings().add(durix::list(durix::resolved(directory)));
    }
    const auto listing = durix::listings().find(*iterator);
    if (listing == nullptr || entry == nullptr || listing->entries.empty()) {
      durix::listings().remove(*iterator);
      *iterator = nullptr;
      return 1;
    }
    *entry = listing->entries.back();
    listing->entries.pop_back();
    return 0;
  });
}

uint32_t ostiv_file_path_join(char* out, uint32_t size, const char* directory, const char* name) {
  return durix::guarded([&]() -> uint32_t {
    if (out == nullptr || directory == nullptr || name == nullptr) return 1;
    std::string path = directory;
    if (!path.empty() && path.back() != '/') path += '/';
    return durix::put(out, size, path + name) ? 0 : 1;
  });
}

// With a flag the text is a path, which is brought into its shortest form; without, it is a name, in which nothing may
// stand that a path or a terminal would take for something else.
uint32_t ostiv_file_legalize_filename(char* out, uint32_t size, const char* path, uint32_t flag) {
  return durix::guarded([&]() -> uint32_t {
    if (out == nullptr || path == nullptr) return 1;
    if (flag != 0) return durix::put(out, size, std::filesystem::path(path).lexically_normal().string()) ? 0 : 1;
    std::string name = path;
    for (char& character : name) {
      const auto byte = static_cast<unsigned char>(character);
      if (byte < 0x20 || byte == 0x7F || character == '/' || character == '\\') character = '_';
    }
    if (name.empty() || name == "." || name == "..") name.insert(0, 1, '_');
    return durix::put(out, size, name) ? 0 : 1;
  });
}
}

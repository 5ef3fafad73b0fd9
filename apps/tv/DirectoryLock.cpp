#include "DirectoryLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <utility>

#include "Failure.h"

namespace tv {

std::optional<DirectoryLock> DirectoryLock::take(const std::string& directory) {
  const std::string path = directory + "/lock";
  DirectoryLock lock(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (lock._file < 0) throw Failure("cannot open \"" + path + "\": " + std::strerror(errno));
  if (flock(lock._file, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK || errno == EINTR) return std::nullopt;
    throw Failure("cannot lock \"" + path + "\": " + std::strerror(errno));
  }
  const std::string number = std::to_string(getpid()) + "\n";
  // The number is for people only; the lock holds without it.
  if (ftruncate(lock._file, 0) == 0) [[maybe_unused]]
    const auto written = write(lock._file, number.data(), number.size());
  return lock;
}

pid_t DirectoryLock::owner(const std::string& directory) {
  std::ifstream file(directory + "/lock");
  pid_t number = 0;
  return file >> number ? number : 0;
}

DirectoryLock::DirectoryLock(DirectoryLock&& other) noexcept : _file(std::exchange(other._file, -1)) {}

DirectoryLock::~DirectoryLock() {
  if (_file >= 0) close(_file);
}

}  // namespace tv

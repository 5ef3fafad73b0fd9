#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace tv {

/// Ownership of a data directory: the lock on its file `lock`, which holds the owner's process number. It goes with the
/// process, however that ends.
class DirectoryLock {
 public:
  /// Nothing when another process owns the directory. Throws Failure when the file cannot be used.
  static std::optional<DirectoryLock> take(const std::string& directory);
  /// The number in the lock file, 0 when there is none to read.
  static pid_t owner(const std::string& directory);

  DirectoryLock(DirectoryLock&& other) noexcept;
  DirectoryLock& operator=(DirectoryLock&&) = delete;
  ~DirectoryLock();

 private:
  explicit DirectoryLock(int file) : _file(file) {}

  int _file;  // -1 when moved from
};

}  // namespace tv

#pragma once

#include <mutex>

/// The host's mutex. It is recursive: a thread that holds it may take it again.
class VmMutex {
 public:
  VmMutex() = default;
  VmMutex(const VmMutex&) = delete;
  VmMutex& operator=(const VmMutex&) = delete;

  void acquire() { _mutex.lock(); }
  void release() { _mutex.unlock(); }

 private:
  std::recursive_mutex _mutex;
};

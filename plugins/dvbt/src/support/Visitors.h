#pragma once

#include <condition_variable>
#include <map>
#include <mutex>

/// Counts who is using an object that somebody else may want to delete. Its mutex is innermost of all: nothing is
/// called while it is held.
class Visitors {
 public:
  void enter(const void* object);
  void leave(const void* object);

  /// Returns when no other thread is using the object; what the calling thread itself is doing does not count.
  void waitUntilLeft(const void* object);

 private:
  std::mutex _mutex;
  std::condition_variable _left;
  std::map<const void*, int> _inside;  // guarded by _mutex
};

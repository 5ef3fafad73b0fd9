#pragma once

#include <memory>

/// A thread of the host. `start` after the body has returned runs it again; `start` while the body runs asks for one
/// more run. `join` waits for the body, is nothing when none runs, and returns at once on the thread itself.
class VmThread {
 public:
  VmThread();
  VmThread(const VmThread&) = delete;
  VmThread& operator=(const VmThread&) = delete;
  virtual ~VmThread();  // a subclass joins before it dies

  void start();
  void join();

  virtual void run(void* argument) = 0;

 private:
  struct State;
  std::unique_ptr<State> _state;
};

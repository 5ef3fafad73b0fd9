#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace tv {

/// The wish that a command ends. Whoever waits looks at it; any thread may raise it. One that was made from a parent is
/// raised with it.
class Interrupt {
 public:
  explicit Interrupt(const Interrupt* parent = nullptr) : _parent(parent) {}
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  void raise();
  bool raised() const;
  /// Whoever carries a command out for another process ends; the other one does not.
  bool raisedByParent() const;
  /// Throws Interrupted when it has been raised.
  void check() const;
  /// Waits for that long, or until raised; true when it was.
  bool waitFor(std::chrono::milliseconds duration) const;

 private:
  const Interrupt* const _parent;  // not owned; outlives this
  mutable std::mutex _mutex;
  mutable std::condition_variable _changed;
  bool _raised = false;  // guarded by _mutex
};

/// Turns SIGINT, SIGTERM and SIGHUP into `interrupt`. It is made before any other thread, so that all of them leave the
/// signals to it. A process that has not ended some seconds after the first signal is ended hard.
class SignalWatch {
 public:
  explicit SignalWatch(Interrupt& interrupt);
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;
  ~SignalWatch();

 private:
  void run();

  Interrupt& _interrupt;
  Interrupt _done;
  std::thread _thread;
};

}  // namespace tv

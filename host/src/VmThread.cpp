#include "velmora/VmThread.h"

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

#include "host/src/ListenerList.h"
#include "host/src/Log.h"

namespace {
constexpr const char* SOURCE = "host/src/VmThread.cpp";

// Idle -> running (start) -> idle (the body has returned and no further pass was asked for).
struct Shared {
  std::mutex mutex;  // a leaf: the body runs without it
  std::condition_variable finished;
  // guarded by mutex
  VmThread* owner = nullptr;  // null once it is gone: nothing runs from there on
  bool running = false;
  bool again = false;  // a further pass was asked for while one runs
  std::thread thread;
  std::thread::id id;  // of the running body's thread
};

void runPasses(const std::shared_ptr<Shared>& shared) {
  std::unique_lock lock(shared->mutex);
  shared->id = std::this_thread::get_id();
  do {
    shared->again = false;
    VmThread* const owner = shared->owner;
    lock.unlock();
    if (owner) host::callGuarded([&] { owner->run(nullptr); });
    lock.lock();
  } while (shared->again && shared->owner);
  shared->running = false;
  shared->id = {};
  shared->finished.notify_all();
}

}  // namespace

struct VmThread::State {
  std::shared_ptr<Shared> shared = std::make_shared<Shared>();
};

VmThread::VmThread() : _state(std::make_unique<State>()) {
  _state->shared->owner = this;
}

VmThread::~VmThread() {
  join();
  const std::lock_guard lock(_state->shared->mutex);
  _state->shared->owner = nullptr;
  // Here only when the thread deletes itself from its own body.
  if (_state->shared->thread.joinable()) _state->shared->thread.detach();
}

void VmThread::start() {
  const auto& shared = _state->shared;
  const std::lock_guard lock(shared->mutex);
  if (shared->running) {
    shared->again = true;
    return;
  }
  if (shared->thread.joinable()) shared->thread.join();  // its body has returned: it takes no lock any more
  try {
    shared->running = true;
    shared->thread = std::thread([shared] { runPasses(shared); });
  } catch (const std::system_error& error) {
    shared->running = false;
    host::log()._log("ERR", SOURCE, __LINE__, "no thread could be started: %s", error.what());
  }
}

void VmThread::join() {
  const auto& shared = _state->shared;
  std::unique_lock lock(shared->mutex);
  if (shared->id == std::this_thread::get_id()) return;
  shared->finished.wait(lock, [&] { return !shared->running; });
  if (shared->thread.joinable()) shared->thread.join();
}

#include "support/Gate.h"

#include <condition_variable>
#include <mutex>

namespace gate {
namespace {

// Never destroyed: a late callback may still come while the process ends.
struct State {
  std::mutex mutex;
  std::condition_variable left;
  // guarded by mutex
  bool isOpen = false;
  int inside = 0;
};

State& state() {
  static State* const instance = new State;
  return *instance;
}

thread_local int ownPasses = 0;

}  // namespace

void open() {
  const std::lock_guard<std::mutex> lock(state().mutex);
  state().isOpen = true;
}

void shutAndWait() {
  std::unique_lock<std::mutex> lock(state().mutex);
  state().isOpen = false;
  state().left.wait(lock, [] { return state().inside == ownPasses; });
}

Pass::Pass() : _inside(false) {
  const std::lock_guard<std::mutex> lock(state().mutex);
  if (!state().isOpen) return;
  _inside = true;
  ++state().inside;
  ++ownPasses;
}

Pass::~Pass() {
  if (!_inside) return;
  {
    const std::lock_guard<std::mutex> lock(state().mutex);
    --state().inside;
    --ownPasses;
  }
  state().left.notify_all();
}

}  // namespace gate

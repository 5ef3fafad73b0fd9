#include "host/HostClock.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "host/src/ClockWatcher.h"
#include "host/src/ForEver.h"

namespace host {
namespace {

struct State {
  std::mutex mutex;  // a leaf: the clock is called without it
  // guarded by mutex
  std::shared_ptr<const Clock> clock;
  std::vector<std::weak_ptr<ClockWatcher>> watchers;
};

State& state() {
  return forEver<State>();
}

std::vector<std::shared_ptr<ClockWatcher>> watchers() {
  std::vector<std::shared_ptr<ClockWatcher>> alive;
  const std::lock_guard lock(state().mutex);
  for (const auto& known : state().watchers) {
    if (auto watcher = known.lock()) alive.push_back(std::move(watcher));
  }
  return alive;
}

}  // namespace

void setClock(Clock clock) {
  auto next = clock ? std::make_shared<const Clock>(std::move(clock)) : nullptr;
  {
    const std::lock_guard lock(state().mutex);
    state().clock.swap(next);
  }
  clockChanged();
}

std::int64_t now() {
  std::shared_ptr<const Clock> clock;
  {
    const std::lock_guard lock(state().mutex);
    clock = state().clock;
  }
  if (clock) return (*clock)();
  return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()).time_since_epoch().count();
}

void clockChanged() {
  for (const auto& watcher : watchers()) watcher->clockChanged();
}

void settle() {
  clockChanged();
  for (bool again = true; again;) {
    again = false;
    for (const auto& watcher : watchers()) again |= watcher->settle();
  }
}

void watchClock(const std::shared_ptr<ClockWatcher>& watcher) {
  const std::lock_guard lock(state().mutex);
  std::erase_if(state().watchers, [](const auto& known) { return known.expired(); });
  state().watchers.push_back(watcher);
}

}  // namespace host

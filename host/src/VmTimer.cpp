#include "velmora/VmTimer.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

#include "host/HostClock.h"
#include "host/src/ClockWatcher.h"
#include "host/src/ListenerList.h"
#include "host/src/Log.h"

namespace {

constexpr const char* SOURCE = "host/src/VmTimer.cpp";

// A clock that jumps on its own is followed within FAR. The clock gives whole seconds, so that within the last one
// its turn is looked for at the shorter steps of NEAR.
constexpr std::chrono::milliseconds FAR{1000};
constexpr std::chrono::milliseconds NEAR{50};

}  // namespace

/// Shared by the timer and its thread, which may outlive the timer when the timer dies in its own callback.
struct VmTimer::State : host::ClockWatcher {
  explicit State(VmTimer* owner) : timer(owner) {}

  void clockChanged() override;
  bool settle() override;
  void add(const std::shared_ptr<State>& self, std::int64_t time, void* data);
  void remove(void* data);
  void clear(bool forGood);
  void serve();

  // fixed after construction
  VmTimer* const timer;  // not used once stopped
  const std::shared_ptr<host::ListenerList<TimerListener>> listeners = host::ListenerList<TimerListener>::make();

  std::mutex mutex;  // a leaf: neither listeners nor the clock are called while it is held
  std::condition_variable changed;
  // guarded by mutex
  using Key = std::pair<std::int64_t, std::uint64_t>;  // time, number of arrival
  std::map<Key, void*> queue;
  std::set<std::pair<std::uintptr_t, Key>> byData;  // the same timeouts, by user data
  std::uint64_t arrivals = 0;
  std::uint64_t turns = 0;    // callbacks served
  std::uint64_t wakeups = 0;  // reasons for the thread to look again
  bool serving = false;
  bool stopped = false;
  std::thread worker;  // started with the first timeout
  std::thread::id workerId;

 private:
  bool onOwnThread() const { return workerId == std::this_thread::get_id(); }  // mutex is held
  void serveFirst(std::unique_lock<std::mutex>& lock);
  bool isStopped() {
    const std::lock_guard lock(mutex);
    return stopped;
  }
};

void VmTimer::State::clockChanged() {
  {
    const std::lock_guard lock(mutex);
    ++wakeups;
  }
  changed.notify_all();
}

bool VmTimer::State::settle() {
  bool waited = false;
  for (;;) {
    const std::int64_t now = host::now();
    std::unique_lock lock(mutex);
    if (onOwnThread()) return waited;
    const bool due = !stopped && !queue.empty() && queue.begin()->first.first <= now;
    if (!due && !serving) return waited;
    waited = true;
    changed.wait_for(lock, NEAR, [&, turn = turns] { return turns != turn; });
  }
}

void VmTimer::State::add(const std::shared_ptr<State>& self, std::int64_t time, void* data) {
  const std::lock_guard lock(mutex);
  if (stopped) return;
  const Key key{time, arrivals++};
  queue.emplace(key, data);
  byData.emplace(reinterpret_cast<std::uintptr_t>(data), key);
  if (queue.begin()->first == key) {
    ++wakeups;
    changed.notify_all();
  }
  if (worker.joinable()) return;
  try {
    worker = std::thread([self] { host::callGuarded([&] { self->serve(); }); });
    workerId = worker.get_id();
  } catch (const std::system_error& error) {
    host::log()._log("ERR", SOURCE, __LINE__, "no thread for a timer: %s", error.what());
  }
}

void VmTimer::State::remove(void* data) {
  const auto id = reinterpret_cast<std::uintptr_t>(data);
  const std::lock_guard lock(mutex);
  auto known = byData.lower_bound({id, Key{INT64_MIN, 0}});
  while (known != byData.end() && known->first == id) {
    queue.erase(known->second);
    known = byData.erase(known);
  }
}

void VmTimer::State::clear(bool forGood) {
  std::unique_lock lock(mutex);
  queue.clear();
  byData.clear();
  stopped = stopped || forGood;
  ++wakeups;
  changed.notify_all();
  if (onOwnThread()) return;
  changed.wait(lock, [&, turn = turns] { return !serving || turns != turn; });
}

void VmTimer::State::serve() {
  std::unique_lock lock(mutex);
  while (!stopped) {
    const std::uint64_t seen = wakeups;
    const auto woken = [&] { return stopped || wakeups != seen; };
    if (queue.empty()) {
      changed.wait(lock, woken);
      continue;
    }
    lock.unlock();
    const std::int64_t now = host::now();
    lock.lock();
    if (woken() || queue.empty()) continue;
    const std::int64_t time = queue.begin()->first.first;
    if (time > now) {
      changed.wait_for(lock, time - 1 > now ? FAR : NEAR, woken);
    } else {
      serveFirst(lock);
    }
  }
}

void VmTimer::State::serveFirst(std::unique_lock<std::mutex>& lock) {
  const auto first = queue.begin();
  void* const data = first->second;
  byData.erase({reinterpret_cast<std::uintptr_t>(data), first->first});
  queue.erase(first);
  serving = true;
  lock.unlock();
  listeners->tell([&](TimerListener& listener) {
    if (!isStopped()) listener.timerExpired(timer, data);
  });
  lock.lock();
  serving = false;
  ++turns;
  changed.notify_all();
}

TimerListener::~TimerListener() {
  host::ListenerList<TimerListener>::forget(this);
}

VmTimer::VmTimer() : _state(std::make_shared<State>(this)) {
  host::watchClock(_state);
}

VmTimer::~VmTimer() {
  stop();
  std::thread worker;
  {
    const std::lock_guard lock(_state->mutex);
    worker.swap(_state->worker);
  }
  if (worker.get_id() == std::this_thread::get_id()) {
    worker.detach();  // it ends by itself when the callback that it is in returns
  } else if (worker.joinable()) {
    worker.join();
  }
}

void VmTimer::addTimerListener(TimerListener* listener) {
  _state->listeners->add(listener);
}

void VmTimer::addTimeout(std::int64_t time, void* data) {
  _state->add(_state, time, data);
}

void VmTimer::removeTimeout(void* data) {
  _state->remove(data);
}

void VmTimer::clear() {
  _state->clear(false);
}

void VmTimer::stop() {
  _state->clear(true);
}

#include "host/src/ListenerList.h"

#include "host/src/Log.h"

namespace host {
namespace {
constexpr const char* SOURCE = "host/src/ListenerList.cpp";
}

void ListenerSet::add(void* listener) {
  if (!listener) return;
  const std::lock_guard lock(_mutex);
  if (std::find(_listeners.begin(), _listeners.end(), listener) == _listeners.end()) _listeners.push_back(listener);
}

void ListenerSet::remove(void* listener) {
  const auto self = std::this_thread::get_id();
  std::unique_lock lock(_mutex);
  std::erase(_listeners, listener);
  _left.wait(lock, [&] {
    return std::none_of(_inside.begin(), _inside.end(),
                        [&](const Inside& inside) { return inside.listener == listener && inside.thread != self; });
  });
}

std::vector<void*> ListenerSet::snapshot() const {
  const std::lock_guard lock(_mutex);
  return _listeners;
}

ListenerSet::Visit::Visit(ListenerSet& set, void* listener) : _set(set), _listener(listener) {
  const std::lock_guard lock(_set._mutex);
  if (std::find(_set._listeners.begin(), _set._listeners.end(), listener) == _set._listeners.end()) return;
  _set._inside.push_back({listener, std::this_thread::get_id()});
  _entered = true;
}

ListenerSet::Visit::~Visit() {
  if (!_entered) return;
  {
    const std::lock_guard lock(_set._mutex);
    const Inside inside{_listener, std::this_thread::get_id()};
    const auto own = std::find(_set._inside.begin(), _set._inside.end(), inside);
    if (own != _set._inside.end()) _set._inside.erase(own);
  }
  _set._left.notify_all();
}

void logEscaped(const char* what) {
  log()._log("ERR", SOURCE, __LINE__, "an exception was caught at a border: %s", what);
}

}  // namespace host

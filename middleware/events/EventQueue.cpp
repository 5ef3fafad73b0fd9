#include "middleware/events/EventQueue.h"

#include <algorithm>
#include <utility>

#include "middleware/portability/Log.h"

namespace durix {
namespace {
constexpr std::size_t LONG_QUEUE = 1024;
}

std::shared_ptr<EventQueue> EventQueue::create() {
  std::shared_ptr<EventQueue> queue(new EventQueue);
  const std::scoped_lock lock(queue->_mutex);  // the thread starts when it is known who it is
  // The thread keeps the queue: it may outlive everybody else when a handler stops the middleware.
  queue->_thread = std::thread([queue] { queue->run(); });
  queue->_dispatcher = queue->_thread.get_id();
  return queue;
}

EventQueue::~EventQueue() {
  if (_thread.joinable()) _thread.detach();  // only the thread itself can get here before it was joined
}

void EventQueue::add(std::uint32_t event, durix_event_handler handler, void* user, Scope scope) {
  const std::scoped_lock lock(_mutex);
  const auto isSame = [&](const auto& known) {
    return known->event == event && known->handler == handler && known->user == user;
  };
  auto found = std::find_if(_registrations.begin(), _registrations.end(), isSame);
  if (found == _registrations.end()) {
    found = _registrations.insert(found, std::make_shared<Registration>(Registration{event, handler, user}));
  }
  (**found).*(scope == Scope::All ? &Registration::isForAll : &Registration::isForInstance) = true;
}

bool EventQueue::remove(std::uint32_t event, durix_event_handler handler, Scope scope) {
  std::unique_lock lock(_mutex);
  const auto flag = scope == Scope::All ? &Registration::isForAll : &Registration::isForInstance;
  bool isFound = false;
  for (auto& known : _registrations) {
    if (known->event != event || known->handler != handler || !((*known).*flag)) continue;
    (*known).*flag = false;
    isFound = true;
  }
  std::erase_if(_registrations, [](const auto& known) { return !known->isRegistered(); });
  // Also for one that another thread has just dropped: whoever asks may free what the handler works on.
  const auto isInside = [&] {
    return _running != nullptr && _running->event == event && _running->handler == handler && !_running->isRegistered();
  };
  if (!isDispatcher()) _changed.wait(lock, [&] { return !isInside(); });
  return isFound;
}

void EventQueue::post(EventRecord record) {
  {
    const std::scoped_lock lock(_mutex);
    if (_isStopping) return;
    if (record.event() == DURIX_EVENT_RECEIVER_STATISTICS && _events.size() >= LONG_QUEUE) return;
    _events.push_back(std::move(record));
  }
  _changed.notify_all();
}

void EventQueue::forget(const void* subject) {
  {
    const std::scoped_lock lock(_mutex);
    std::erase_if(_events, [&](const auto& waiting) { return waiting.subject() == subject; });
    for (const auto& known : _registrations) {
      if (known->user == subject) known->isForInstance = known->isForAll = false;
    }
    std::erase_if(_registrations, [](const auto& known) { return !known->isRegistered(); });
  }
  _changed.notify_all();
}

bool EventQueue::waitForRoom(const std::stop_token& stop) {
  std::unique_lock lock(_mutex);
  return _changed.wait(lock, stop, [&] { return _events.size() < LONG_QUEUE || _isStopping; }) && !_isStopping;
}

void EventQueue::waitForHandlersOf(std::initializer_list<std::uint32_t> events) {
  std::unique_lock lock(_mutex);
  if (isDispatcher()) return;
  _changed.wait(lock, [&] {
    return _running == nullptr || std::find(events.begin(), events.end(), _running->event) == events.end();
  });
}

void EventQueue::allow() {
  {
    const std::scoped_lock lock(_mutex);
    _isAllowed = true;
  }
  _changed.notify_all();
}

void EventQueue::stop() {
  bool isOwnThread = false;
  {
    const std::scoped_lock lock(_mutex);
    _isStopping = true;
    _events.clear();
    _registrations.clear();
    isOwnThread = isDispatcher();
  }
  _changed.notify_all();
  if (!isOwnThread && _thread.joinable()) _thread.join();
}

void EventQueue::run() {
  std::unique_lock lock(_mutex);
  while (!_isStopping) {
    _changed.wait(lock, [&] { return _isStopping || (_isAllowed && !_events.empty()); });
    if (_isStopping) break;
    EventRecord record = std::move(_events.front());
    _events.pop_front();
    deliver(record, lock);
    _changed.notify_all();  // there is room again
  }
}

void EventQueue::deliver(EventRecord& record, std::unique_lock<std::mutex>& lock) {
  const Registrations known = _registrations;
  for (const auto& one : known) {
    // Looked up anew each time: a handler called before may have taken this registration away.
    if (one->event != record.event() ||
        std::find(_registrations.begin(), _registrations.end(), one) == _registrations.end())
      continue;
    _running = one.get();
    lock.unlock();
    try {
      one->handler(record.data(), one->user);
    } catch (...) {
      logLine("an event handler let an exception through");
    }
    lock.lock();
    _running = nullptr;
    _changed.notify_all();
  }
}

}  // namespace durix

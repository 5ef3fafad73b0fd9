#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

#include "middleware/events/EventRecord.h"

namespace durix {

/// Delivers the middleware's events to the handlers that its user registered.
///
/// Events wait in one queue until updates are allowed; then one thread of the queue's own calls the handlers, one after
/// the other, with no lock held. So nothing is ever delivered from inside a call of the contract, and a handler may
/// make any call, taking registrations away and stopping the middleware included. All operations are for any thread.
class EventQueue : public std::enable_shared_from_this<EventQueue> {
 public:
  static std::shared_ptr<EventQueue> create();
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;
  ~EventQueue();

  /// For whom a registration was made: the user's instance, or all instances.
  enum class Scope : std::uint8_t { Instance, All };

  /// One registration for each (event, handler, user); making it again is no failure.
  void add(std::uint32_t event, durix_event_handler handler, void* user, Scope scope);

  /// Drops what (event, handler) has of that scope; false when there was nothing. None of it runs any more on return,
  /// except the very handler that makes the call.
  bool remove(std::uint32_t event, durix_event_handler handler, Scope scope);

  /// Never waits. Statistics are dropped while the queue is long: the next ones are as good.
  void post(EventRecord record);

  /// Drops what is queued about a subject, and the registrations whose user it is. Never waits: a handler that runs
  /// with either may still do so on return.
  void forget(const void* subject);

  /// Waits until the queue is short enough for somebody who produces events by the thousand; false when asked to stop.
  bool waitForRoom(const std::stop_token& stop);

  /// Returns when no handler of one of these events runs; on the dispatcher's thread at once.
  void waitForHandlersOf(std::initializer_list<std::uint32_t> events);

  /// From here on events are delivered, those that waited first.
  void allow();

  /// Drops what is queued and returns when no handler runs any more, except one that makes this very call.
  void stop();

 private:
  struct Registration {
    std::uint32_t event;
    durix_event_handler handler;
    void* user;
    bool isForInstance = false;
    bool isForAll = false;
    bool isRegistered() const { return isForInstance || isForAll; }
  };
  using Registrations = std::vector<std::shared_ptr<Registration>>;

  EventQueue() = default;
  void run();
  void deliver(EventRecord& record, std::unique_lock<std::mutex>& lock);
  bool isDispatcher() const { return std::this_thread::get_id() == _dispatcher; }

  // fixed after create()
  std::thread _thread;  // joined by stop()
  std::thread::id _dispatcher;

  // guarded by _mutex, a leaf
  std::mutex _mutex;
  std::condition_variable_any _changed;  // anything below
  std::deque<EventRecord> _events;
  Registrations _registrations;
  const Registration* _running = nullptr;  // whose handler is being called
  bool _isAllowed = false;
  bool _isStopping = false;
};

}  // namespace durix

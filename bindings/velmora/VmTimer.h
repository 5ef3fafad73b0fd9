#pragma once

#include <cstdint>
#include <memory>

class VmTimer;

/// Told when a timeout is due, on the timer's own thread and with no lock of the timer held.
class TimerListener {
 public:
  virtual ~TimerListener();  // leaves every timer
  virtual void timerExpired(VmTimer* timer, void* data) = 0;
};

/// Timeouts at absolute times. Each timeout fires once, in the order of time and then of arrival, also when several
/// share their time and data; a time in the past fires at the next turn.
class VmTimer {
 public:
  VmTimer();
  VmTimer(const VmTimer&) = delete;
  VmTimer& operator=(const VmTimer&) = delete;
  ~VmTimer();  // as `stop`

  void addTimerListener(TimerListener* listener);
  void addTimeout(std::int64_t time, void* data);  // seconds since the epoch
  void removeTimeout(void* data);                  // every timeout with this data; does not wait for one being served
  void clear();                                    // every timeout; waits for one being served by another thread
  void stop();                                     // as `clear`, and nothing fires from here on

 private:
  friend class TimerListener;
  struct State;
  std::shared_ptr<State> _state;
};

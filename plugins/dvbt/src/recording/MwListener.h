#pragma once

#include "durix/durix.h"

/// What the middleware reports of timers. Called on its event thread; the gate has let the event in.
class TimerEventHandler {
 public:
  virtual durix_handle* durixHandle() = 0;
  virtual void timerActivating(durix_event_data* data) = 0;
  virtual void timerActive(durix_event_data* data) = 0;
  virtual void timerDeactive(durix_event_data* data) = 0;
  virtual void recorderDeviceFull(durix_event_data* data) = 0;

 protected:
  ~TimerEventHandler() = default;
};

/// Stands between the middleware's four recorder events and the recorder that owns it.
class MwListener {
 public:
  explicit MwListener(TimerEventHandler* owner);
  MwListener(const MwListener&) = delete;
  MwListener& operator=(const MwListener&) = delete;
  ~MwListener();  // unregisters; the middleware and the gate see to it that no event is being handled

  void registerCallbacks();

  static void callback_timer_activating(durix_event_data* data, void* user);
  static void callback_timer_active(durix_event_data* data, void* user);
  static void callback_timer_deactive(durix_event_data* data, void* user);
  static void callback_recorder_device_full(durix_event_data* data, void* user);

 private:
  static TimerEventHandler* ownerOf(void* user);  // null when there is no such listener (any more)
  static void enter(void* user, durix_event_data* data, void (TimerEventHandler::*handle)(durix_event_data*));

  TimerEventHandler* const _owner;
};

#include "recording/MwListener.h"

#include <array>
#include <set>

#include "support/Border.h"
#include "support/Gate.h"
#include "support/Lock.h"
#include "support/Log.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BROADCASTRECORDER"), "plugins/dvbt/src/BroadcastRecorder"};

const std::array<durix_callback_entry, 4> CALLBACKS{{
    {DURIX_EVENT_TIMER_ACTIVATING, &MwListener::callback_timer_activating},
    {DURIX_EVENT_TIMER_ACTIVE, &MwListener::callback_timer_active},
    {DURIX_EVENT_TIMER_DEACTIVE, &MwListener::callback_timer_deactive},
    {DURIX_EVENT_RECORDER_DEVICE_FULL, &MwListener::callback_recorder_device_full},
}};

/// Those that there are: a middleware may still hold one that has gone. Never destroyed, since callbacks may come late.
struct Living {
  RankedMutex mutex{LockRank::Leaf};
  std::set<const void*> listeners BC_GUARDED_BY(mutex);
};

Living& living() {
  static auto* const instance = new Living;
  return *instance;
}

}  // namespace

MwListener::MwListener(TimerEventHandler* owner) : _owner(owner) {
  const Lock lock(living().mutex);
  living().listeners.insert(this);
}

void MwListener::registerCallbacks() {
  for (const durix_callback_entry& entry : CALLBACKS) {
    durix_callback_add(_owner->durixHandle(), entry.event, entry.handler, this);
  }
}

MwListener::~MwListener() {
  // Registered before the handle was known: what is not found under the handle is found without one.
  for (const durix_callback_entry& entry : CALLBACKS) {
    if (durix_callback_remove(_owner->durixHandle(), entry.event, entry.handler) == DURIX_OK) continue;
    durix_callback_remove(nullptr, entry.event, entry.handler);
  }
  const Lock lock(living().mutex);
  living().listeners.erase(this);
}

TimerEventHandler* MwListener::ownerOf(void* user) {
  const Lock lock(living().mutex);
  return living().listeners.contains(user) ? static_cast<MwListener*>(user)->_owner : nullptr;
}

void MwListener::enter(void* user, durix_event_data* data, void (TimerEventHandler::*handle)(durix_event_data*)) {
  const gate::Pass pass;
  if (!pass || data == nullptr) return;
  atBorder(LOG, "recorder event", [&] {
    if (TimerEventHandler* const owner = ownerOf(user)) (owner->*handle)(data);
  });
}

void MwListener::callback_timer_activating(durix_event_data* data, void* user) {
  enter(user, data, &TimerEventHandler::timerActivating);
}

void MwListener::callback_timer_active(durix_event_data* data, void* user) {
  enter(user, data, &TimerEventHandler::timerActive);
}

void MwListener::callback_timer_deactive(durix_event_data* data, void* user) {
  const gate::Pass pass;
  if (!pass) return;
  BC_INFO(LOG, "callback_timer_deactive");
  enter(user, data, &TimerEventHandler::timerDeactive);
}

void MwListener::callback_recorder_device_full(durix_event_data* data, void* user) {
  enter(user, data, &TimerEventHandler::recorderDeviceFull);
}

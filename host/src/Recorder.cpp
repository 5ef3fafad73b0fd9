#include "velmora/Recorder.h"

#include "host/src/ListenerList.h"

struct Recorder::Listeners {
  const std::shared_ptr<host::ListenerList<RecorderListener>> list = host::ListenerList<RecorderListener>::make();
};

RecorderListener::~RecorderListener() {
  host::ListenerList<RecorderListener>::forget(this);
}

// NOLINTBEGIN(performance-unnecessary-value-param): the contract passes these by value
void RecorderListener::notifyScheduledRecordingUpdated(Scheduling*) {}
void RecorderListener::notifyRecordingActive(Scheduling*) {}
void RecorderListener::notifyRecordingActivating(Scheduling*, unsigned, std::vector<Scheduling*>) {}
void RecorderListener::notifyRecordingDeactive(Scheduling*) {}
void RecorderListener::notifyDeviceFull(Scheduling*) {}
void RecorderListener::notifyPlaylistUpdated(Playlist*, std::vector<Clip*>) {}
// NOLINTEND(performance-unnecessary-value-param)

Recorder::Recorder(Plugin* plugin) : _plugin(plugin), _listeners(std::make_unique<Listeners>()) {}
Recorder::~Recorder() = default;

void Recorder::addRecorderListener(RecorderListener* listener) {
  _listeners->list->add(listener);
}

void Recorder::removeRecorderListener(RecorderListener* listener) {
  _listeners->list->remove(listener);
}

void Recorder::sendNotifyScheduledRecordingUpdated(Scheduling* scheduling) {
  const auto listeners = _listeners->list;
  listeners->tell([&](RecorderListener& listener) { listener.notifyScheduledRecordingUpdated(scheduling); });
}

void Recorder::sendNotifyRecordingActive(Scheduling* scheduling) {
  const auto listeners = _listeners->list;
  listeners->tell([&](RecorderListener& listener) { listener.notifyRecordingActive(scheduling); });
}

void Recorder::sendNotifyRecordingActivating(Scheduling* scheduling, unsigned value,
                                             std::vector<Scheduling*> conflicting) {
  const auto listeners = _listeners->list;
  listeners->tell(
      [&](RecorderListener& listener) { listener.notifyRecordingActivating(scheduling, value, conflicting); });
}

void Recorder::sendNotifyRecordingDeactive(Scheduling* scheduling) {
  const auto listeners = _listeners->list;
  listeners->tell([&](RecorderListener& listener) { listener.notifyRecordingDeactive(scheduling); });
}

void Recorder::sendNotifyDeviceFull(Scheduling* scheduling) {
  const auto listeners = _listeners->list;
  listeners->tell([&](RecorderListener& listener) { listener.notifyDeviceFull(scheduling); });
}

void Recorder::sendNotifyPlaylistUpdated(Playlist* playlist, std::vector<Clip*> clips) {
  const auto listeners = _listeners->list;
  listeners->tell([&](RecorderListener& listener) { listener.notifyPlaylistUpdated(playlist, clips); });
}

#include "recording/TimerEvents.h"

#include "durix/ostiv.h"
#include "recording/ClipRegistry.h"
#include "recording/PlaylistShelf.h"
#include "support/EventRecord.h"
#include "support/Log.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BROADCASTRECORDER"), "plugins/dvbt/src/BroadcastRecorder"};

Service* targetServiceOf(const TimedClip* clip) {
  return dynamic_cast<Service*>(clip->getTargetService());
}

void setScheduledForRecording(AvContent* content, bool scheduled) {
  if (auto* const program = dynamic_cast<Program*>(content)) program->setScheduledForRecording(scheduled);
}

}  // namespace

void TimerEvents::timerActivating(const durix_event_data* data) {
  BC_INFO(LOG, "callback_timer_activating");
  const EventRecord event(data);
  Scheduling* const scheduling = _parts.clips.findScheduling(event.word(DURIX_OFFSET_TIMER_ID));
  std::vector<Scheduling*> conflicting;
  const auto* const ids = event.pointer<const std::uint32_t>(DURIX_OFFSET_TIMER_ACTIVATING_IDS);
  const std::uint32_t count = ids == nullptr ? 0 : event.word(DURIX_OFFSET_TIMER_ACTIVATING_COUNT);
  for (std::uint32_t i = 0; i < count; ++i) {
    if (Scheduling* const other = _parts.clips.findScheduling(ids[i])) conflicting.push_back(other);
  }
  _parts.recorder.sendNotifyRecordingActivating(scheduling, event.word(DURIX_OFFSET_TIMER_ACTIVATING_VALUE),
                                                conflicting);
}

void TimerEvents::timerActive(const durix_event_data* data) {
  BC_INFO(LOG, "timerActive");
  Scheduling* const scheduling = _parts.clips.findScheduling(EventRecord(data).word(DURIX_OFFSET_TIMER_ID));
  if (scheduling == nullptr) {
    BC_ERR(LOG, "Found scheduling was NULL!");
    return;
  }
  durix_esg_object* const object = _host.recordingOf(scheduling);
  if (!_parts.clips.contains(scheduling)) return;  // the middleware has ended it while it was asked
  Recording* recording = object == nullptr ? nullptr : _parts.clips.findRecording(object->id);
  if (recording == nullptr && object != nullptr) {
    recording = _host.createRecording(object);
    if (recording != nullptr) _parts.clips.add(recording);
  }
  if (recording == nullptr) {
    BC_ERR(LOG, "Could not create Recording!");
    return;
  }
  activate(scheduling, recording);
  updatePlayableStatus();
  // A listener may have taken the scheduling away meanwhile.
  if (!_parts.clips.contains(scheduling)) return;
  markPrograms(scheduling);
  _parts.playlists.updatePlaylists(recording);
  if (_parts.clips.contains(scheduling)) _parts.recorder.sendNotifyRecordingActive(scheduling);
}

/// Carries the timer's times over and marks both as recording.
void TimerEvents::activate(Scheduling* scheduling, Recording* recording) const {
  if (!scheduling->getStartTime().empty()) recording->setStartTime(scheduling->getStartTime());
  if (scheduling->getStartTimeT() > 0) recording->setStartTimeT(scheduling->getStartTimeT());
  if (scheduling->getEndTimeT() > 0) recording->setEndTimeT(scheduling->getEndTimeT());
  if (!scheduling->getEndTime().empty()) recording->setEndTime(scheduling->getEndTime());
  recording->addTag(_parts.isActiveRecordingTag);
  scheduling->setTargetRecording(recording);
  BC_INFO(LOG, "Activating timer :%s", scheduling->getTitle().c_str());
  scheduling->setActive(true);
  scheduling->addTag(_parts.isActiveRecordingTag);
  recording->setActive(true);
}

void TimerEvents::markPrograms(Scheduling* scheduling) const {
  const std::vector<AvContent*> programs = scheduling->getTargetPrograms();
  BC_INFO(LOG, "programs != NULL, size = %d", static_cast<int>(programs.size()));
  for (AvContent* const program : programs) {
    if (program == nullptr) continue;
    setScheduledForRecording(program, true);
    program->addTag(_parts.recordedTag);
    BC_INFO(LOG, "programs _isActiveRecordingTag name = %s", program->getTitle().c_str());
    program->addTag(_parts.isActiveRecordingTag);
  }
}

void TimerEvents::unmarkPrograms(Scheduling* scheduling, bool activeToo) const {
  for (AvContent* const program : scheduling->getTargetPrograms()) {
    if (program == nullptr) continue;
    setScheduledForRecording(program, false);
    program->removeTag(_parts.recordedTag);
    if (activeToo) program->removeTag(_parts.isActiveRecordingTag);
  }
}

void TimerEvents::updatePlayableStatus() {
  _parts.plugin.setPlayableStatus({});
  std::vector<Service*> services;
  for (const Scheduling* const scheduling : _parts.clips.schedulings()) {
    Service* const service = scheduling->isActive() ? targetServiceOf(scheduling) : nullptr;
    if (service == nullptr) continue;
    service->addTag(_parts.recordedTag);
    services.push_back(service);
  }
  _parts.plugin.setPlayableStatus(services);
}

void TimerEvents::timerDeactive(const durix_event_data* data) {
  BC_INFO(LOG, "timerDeactive");
  Scheduling* const scheduling = _parts.clips.findScheduling(EventRecord(data).word(DURIX_OFFSET_TIMER_ID));
  if (scheduling == nullptr) {
    BC_INFO(LOG, " no scheduling found even though deactive event received. if this was timeshift, all is ok");
    return;
  }
  unmarkPrograms(scheduling, true);
  const durix_esg_object* const object = _host.recordingOf(scheduling);
  if (!_parts.clips.contains(scheduling)) return;  // ended while the middleware was asked
  if (Recording* const recording = object == nullptr ? nullptr : _parts.clips.findRecording(object->id)) {
    recording->setActive(false);
    BC_INFO(LOG, "r->removeTag(_isActiveRecordingTag)");
    recording->removeTag(_parts.isActiveRecordingTag);
  }
  _parts.clips.remove(scheduling);
  if (Service* const service = targetServiceOf(scheduling)) service->removeTag(_parts.recordedTag);
  updateRecordingTagsForServices();
  _parts.clips.sortSchedulings();
  _parts.recorder.sendNotifyRecordingDeactive(scheduling);
  handleSchedulingEnd(scheduling);
  _parts.clips.retire(scheduling);
}

void TimerEvents::handleSchedulingEnd(Scheduling* scheduling) {
  BC_INFO(LOG, "deactivating timer :%s", scheduling->getTitle().c_str());
  scheduling->setActive(false);
  _parts.clips.sortSchedulings();
  unmarkPrograms(scheduling, false);
  updatePlayableStatus();
  updateRecordingTagsForServices();
  // A listener may have deleted the recording meanwhile.
  Recording* const recording = scheduling->getTargetRecording();
  if (_parts.clips.contains(recording)) recording->fillMetadata();
  _parts.playlists.removeScheduling(scheduling);
}

void TimerEvents::deviceFull(const durix_event_data* data) {
  Scheduling* const scheduling = _parts.clips.findScheduling(EventRecord(data).word(DURIX_OFFSET_TIMER_ID));
  if (scheduling == nullptr) return;
  _parts.clips.remove(scheduling);
  handleSchedulingEnd(scheduling);
  // The recording is over: unless it says so, the user could never delete it to make room (docs/adr/0005).
  unmarkPrograms(scheduling, true);
  if (Recording* const recording = scheduling->getTargetRecording()) {
    recording->setActive(false);
    recording->removeTag(_parts.isActiveRecordingTag);
  }
  _parts.recorder.sendNotifyDeviceFull(scheduling);
  _parts.clips.retire(scheduling);
}

void TimerEvents::checkImmediatelyStartingRecordings() {
  BC_INFO(LOG, "Checking if some scheduling starts immediately");
  std::int64_t now = 0;
  ostiv_time_get_system_time(&now);
  std::vector<Scheduling*> running;
  for (Scheduling* const scheduling : _parts.clips.schedulings()) {
    // A listener may have taken it away since the list was copied.
    if (!_parts.clips.contains(scheduling)) continue;
    Service* const service = targetServiceOf(scheduling);
    if (service == nullptr) continue;
    scheduling->setTargetService(service);
    if (scheduling->getStartTimeT() > now || now > scheduling->getEndTimeT()) continue;
    BC_INFO(LOG, "recording %s starts now, calling setPlayableStatus", scheduling->getTitle().c_str());
    running.push_back(scheduling);
    scheduling->setActive(true);
    for (AvContent* const program : scheduling->getTargetPrograms()) setScheduledForRecording(program, true);
    const durix_esg_object* const object = _host.recordingOf(scheduling);
    if (!_parts.clips.contains(scheduling)) continue;
    if (Recording* const recording = object == nullptr ? nullptr : _parts.clips.findRecording(object->id)) {
      scheduling->setTargetRecording(recording);
    }
    _parts.recorder.sendNotifyRecordingActive(scheduling);
  }
  std::vector<Service*> services;
  for (const Scheduling* const scheduling : running) {
    Service* const service = _parts.clips.contains(scheduling) ? targetServiceOf(scheduling) : nullptr;
    if (service != nullptr) services.push_back(service);
  }
  _parts.plugin.setPlayableStatus(services);
}

void TimerEvents::notifyProgramUpdate(Service* service) {
  const std::string name = service->getName();
  for (Scheduling* const scheduling : _parts.clips.schedulings()) {
    if (!_parts.clips.contains(scheduling)) continue;
    Service* const target = targetServiceOf(scheduling);
    if (target == nullptr || target->getName() != name || !scheduling->getTargetPrograms().empty()) continue;
    setIfScheduled(service->getPrograms(false), scheduling);
  }
}

void TimerEvents::setIfScheduled(const std::vector<Program*>& programs, Scheduling* scheduling) {
  if (scheduling == nullptr) return;
  const std::string title = scheduling->getTitle();
  const long start = scheduling->getStartTimeT();
  const long end = scheduling->getEndTimeT();
  BC_INFO(LOG, "Finding recording :%s from %d programs", title.c_str(), static_cast<int>(programs.size()));
  BC_INFO(LOG, "Recording start time: %d end time :%d", static_cast<int>(start), static_cast<int>(end));
  bool found = false;
  for (Program* const program : programs) {
    const long from = program->getStartTimeT();
    const long to = program->getEndTimeT();
    if (from < start || from > end || to < start || to > end) continue;  // one that only overlaps is not recorded whole
    found = true;
    program->setScheduledForRecording(true);
    scheduling->addTargetProgram(program);
    program->addTag(_parts.recordedTag);
    BC_INFO(LOG, "Found recorded program :%s for recording %s", program->getTitle().c_str(), title.c_str());
  }
  if (!found) return;
  if (!_parts.clips.contains(scheduling)) return unmarkPrograms(scheduling, true);  // another thread has ended it
  _parts.recorder.sendNotifyScheduledRecordingUpdated(scheduling);
}

void TimerEvents::updateRecordingTagsForServices() {
  for (Service* const service : _parts.plugin.getServices()) {
    if (service != nullptr) service->removeTag(_parts.recordedTag);
  }
  for (const Scheduling* const scheduling : _parts.clips.schedulings()) {
    Service* const service = scheduling->isActive() ? targetServiceOf(scheduling) : nullptr;
    if (service != nullptr && !service->hasTag(_parts.recordedTag)) service->addTag(_parts.recordedTag);
  }
}

#include "BroadcastRecorder.h"

#include <algorithm>
#include <limits>

#include "ServiceImpl.h"
#include "support/EventRecord.h"
#include "support/Log.h"
#include "support/MwMemory.h"
#include "support/Text.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BROADCASTRECORDER"), "plugins/dvbt/src/BroadcastRecorder"};

constexpr const char* NOT_INITIALIZED = "Recorder not initialized";
constexpr const char* NOT_INITIALIZED_WITH_PROVIDER = "Recorder not initialized with provider!";
constexpr std::size_t NAME_BYTES = 254;
constexpr std::uint32_t RECORDING_VALUE = 30;  // what timer calls pass for recordings; its meaning is the middleware's
constexpr std::uint32_t TIMESHIFT_VALUE = 0;
constexpr std::int64_t SECONDS_A_MINUTE = 60;

std::int64_t systemTime() {
  std::int64_t now = 0;
  ostiv_time_get_system_time(&now);
  return now;
}

std::int32_t narrowed(std::int64_t time) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(time, std::numeric_limits<std::int32_t>::min(),
                                                            std::numeric_limits<std::int32_t>::max()));
}

Tag* tagOf(const char* name) {
  return TagFactory::getInstance()->getTag(name, name, "");
}

}  // namespace

BroadcastRecorder::BroadcastRecorder(BroadcastPlugin& plugin, RecorderHost& host)
    : Recorder(&plugin),
      _broadcast(plugin),
      _recordedTag(tagOf("Recorded")),
      _isActiveRecordingTag(tagOf("IsActiveRecording")),
      _stored(plugin, host, _clips, _durixRecorder),
      _playlists(*this, plugin, _clips, _recordedTag),
      _timerEvents({*this, plugin, _clips, _playlists, _recordedTag, _isActiveRecordingTag}, *this),
      _mwListener(std::make_unique<MwListener>(static_cast<TimerEventHandler*>(this))) {
  _mwListener->registerCallbacks();
  plugin.addListener(this);
  durix_recorder* recorder = nullptr;
  if (durix_recorder_create(&recorder) != DURIX_OK) {
    BC_ERR(LOG, "Error creating Recorder");
    _error.set(ERROR_INIT);
    return;
  }
  _durixRecorder = recorder;
  _created = true;
}

BroadcastRecorder::~BroadcastRecorder() {
  _broadcast.removeListener(this);
  _mwListener.reset();
  if (Recording* const running = _timeshiftRecording) BroadcastRecorder::deleteRecording(running);
  if (durix_recorder* const recorder = _durixRecorder.exchange(nullptr)) durix_recorder_close(recorder);
  delete _timeshiftRecording;
  for (const Recording* const orphan : _orphans) delete orphan;
}

void BroadcastRecorder::init() {
  BC_INFO(LOG, "BroadcastRecorder::init()");
  const Lock lock(_mutex);
  if (!_created || _initialized) return;
  if (!_recordingsLoaded) {
    _stored.loadRecordings();
    _playlists.buildRecordingPlaylists();
    _recordingsLoaded = true;
  }
  _initialized = true;
  if (_favoritePlaylist != nullptr) updateFavoritePlaylist(_favoritePlaylist);
}

void BroadcastRecorder::activate(durix_handle* handle, durix_provider* provider) {
  BC_INFO(LOG, "BroadcastRecorder::activate()");
  if (_activated) return;
  _provider = provider;
  _durixHandle = handle;
  if (durix_recorder_activate(_durixRecorder, provider) != DURIX_OK) {
    BC_ERR(LOG, "Error activating recorder");
    _error.set(ERROR_INIT);
    return;
  }
  const Lock lock(_mutex);
  _stored.loadSchedulings();
  if (!_schedulingPlaylistsBuilt) {
    _schedulingPlaylistsBuilt = true;
    _playlists.buildSchedulingPlaylists();
  }
  updateScheduledPrograms();
  _timerEvents.checkImmediatelyStartingRecordings();
  BC_INFO(LOG, "Recorder initialized ok.");
  if (_favoritePlaylist != nullptr) updateFavoritePlaylist(_favoritePlaylist);
  _activated = true;
}

void BroadcastRecorder::deactivate() {
  if (Recording* const running = _timeshiftRecording) deleteRecording(running);
  if (durix_recorder_deactivate(_durixRecorder, _provider) != DURIX_OK) {
    BC_ERR(LOG, "Error deactivate recorder");
    return;
  }
  const Lock lock(_mutex);
  for (Scheduling* const scheduling : _clips.takeSchedulings()) _clips.retire(scheduling);
  _playlists.dropSchedulingPlaylists();
  _schedulingPlaylistsBuilt = false;
  _activated = false;
}

bool BroadcastRecorder::isReady(const char* notInitialized) {
  if (!_initialized) {
    BC_ERR(LOG, "%s", notInitialized);
  } else if (!_activated || _provider == nullptr) {
    BC_ERR(LOG, "Recorder not activated yet");
  } else {
    return true;
  }
  _error.set(ERROR_INIT);
  return false;
}

Scheduling* BroadcastRecorder::record(Program* program) {
  const Lock lock(_mutex);
  if (!isReady(NOT_INITIALIZED)) return nullptr;
  if (program == nullptr) {
    BC_ERR(LOG, "Cannot record NULL program.");
    return nullptr;
  }
  const std::string name = program->getName();
  BC_INFO(LOG, "BroadcastRecorder::record: adding recording timer for program :%s", name.c_str());
  auto* const service = dynamic_cast<ServiceImpl*>(program->getService());
  if (service == nullptr) {
    BC_ERR(LOG, "Program doesn't have service to record");
    return nullptr;
  }
  const std::int64_t start = program->getStartTimeT();
  std::int64_t end = program->getEndTimeT();
  if (end == 0) end = start + program->getDuration();
  const std::int64_t now = systemTime();
  if (start <= 0 || end <= now) {
    BC_ERR(LOG, "Error adding recording timer");
    _error.set(end < now ? ERROR_INVALID_RECORD_TIME : ERROR_INTERNAL);
    return nullptr;
  }
  Scheduling* const scheduling = addTimer(*service, name, name, narrowed(start), narrowed(end));
  if (scheduling == nullptr) return nullptr;
  program->setScheduledForRecording(true);
  program->addTag(_recordedTag);
  scheduling->setTargetService(service);
  scheduling->addTargetProgram(program);
  _clips.add(scheduling);
  _clips.sortSchedulings();
  _playlists.updatePlaylists(scheduling);
  return scheduling;
}

Scheduling* BroadcastRecorder::record(std::string name, Service* service, int start, int end) {
  const Lock lock(_mutex);
  if (!isReady(NOT_INITIALIZED)) return nullptr;
  const auto* const own = dynamic_cast<ServiceImpl*>(service);
  if (own == nullptr) {
    BC_ERR(LOG, "Cannot record NULL service.");
    return nullptr;
  }
  const std::string title = service->getTitle();
  BC_INFO(LOG, "BroadcastRecorder::record: adding recording timer for service :%s", title.c_str());
  const std::int64_t now = systemTime();
  Scheduling* const scheduling = addTimer(*own, name, title, start <= 0 ? narrowed(now) : start, end);
  if (scheduling == nullptr) return nullptr;
  scheduling->setTargetService(service);
  _clips.add(scheduling);
  _clips.sortSchedulings();
  _playlists.updatePlaylists(scheduling);
  updateScheduledPrograms();
  return scheduling;
}

/// The middleware's recording timer as a new scheduling; null after one line that says why.
Scheduling* BroadcastRecorder::addTimer(const ServiceImpl& service, const std::string& name,
                                        const std::string& shownName, int start, int end) {
  durix_esg_object* timer = nullptr;
  const durix_return_code code =
      durix_recorder_add_timer(_durixRecorder, _provider.load()->protocol, service.getDataPtr(), DURIX_TIMER_RECORDING,
                               start, end, RECORDING_VALUE, cutText(name, NAME_BYTES).c_str(), &timer);
  BC_INFO(LOG, "BroadcastRecorder::record: program :%s start:%u end:%u", shownName.c_str(),
          static_cast<unsigned>(start), static_cast<unsigned>(end));
  if (code != DURIX_OK) {
    _error.set(code);
    BC_ERR(LOG, "Error adding recording timer %u", code);
    return nullptr;
  }
  return _stored.createScheduling(timer);
}

Recording* BroadcastRecorder::timeshift(Service* service, int duration) {
  const Lock lock(_mutex);
  if (!isReady(NOT_INITIALIZED_WITH_PROVIDER)) return nullptr;
  const auto* const own = dynamic_cast<ServiceImpl*>(service);
  if (own == nullptr) {
    BC_ERR(LOG, "Cannot timeshift NULL service.");
    return nullptr;
  }
  if (Recording* const running = _timeshiftRecording) endTimeshift(running);
  BC_INFO(LOG, "BroadcastRecorder::timeshift, adding timer");
  const std::int64_t seconds = duration > 0 ? duration : _broadcast.getTimeshiftDuration() * SECONDS_A_MINUTE;
  const std::int64_t end = seconds == 0 ? 0 : systemTime() + seconds;
  durix_esg_object* timer = nullptr;
  const durix_return_code code =
      durix_recorder_add_timer(_durixRecorder, _provider.load()->protocol, own->getDataPtr(), DURIX_TIMER_TIMESHIFT, 0,
                               narrowed(end), TIMESHIFT_VALUE, cutText(service->getName(), NAME_BYTES).c_str(), &timer);
  if (code != DURIX_OK) {
    _error.set(code);
    BC_ERR(LOG, "Error adding recording timeshift");
    return nullptr;
  }
  Recording* const recording = _stored.createRecording(timer);
  if (recording == nullptr) return nullptr;
  recording->setTargetService(service);
  _timeshiftRecording = recording;
  return recording;
}

void BroadcastRecorder::endTimeshift(Recording* recording) {
  if (!isReady(NOT_INITIALIZED_WITH_PROVIDER)) return;
  durix_esg_object* handle = nullptr;
  {
    const Lock lock(_mutex);
    if (recording == nullptr || !isOwnRecording(recording)) {
      BC_ERR(LOG, "Recording is NULL!");
      _error.set(ERROR_INTERNAL);
      return;
    }
    forgetTimeshift(recording);
    handle = handleOf(recording);
  }
  BC_INFO(LOG, "Removing existing timeshift.");
  // Asked without the lock: the middleware may wait for an event of this timer that is being handled.
  if (durix_recorder_remove_recording(_durixRecorder, handle) != DURIX_OK) {
    BC_ERR(LOG, "Durix recorder failed to remove recording");
    return;
  }
  const Lock lock(_mutex);
  deleteStoredRecording(recording);
}

bool BroadcastRecorder::isOwnRecording(const Recording* recording) {
  return recording == _timeshiftRecording || _clips.contains(recording) ||
         std::find(_orphans.begin(), _orphans.end(), recording) != _orphans.end();
}

/// A timeshift is no longer the running one from here on, even if the middleware then refuses to remove it.
void BroadcastRecorder::forgetTimeshift(const Recording* recording) {
  if (recording != _timeshiftRecording) return;
  _orphans.push_back(_timeshiftRecording);
  _timeshiftRecording = nullptr;
}

/// Once only: another thread, or an event from inside the middleware's call, may have come first.
void BroadcastRecorder::deleteStoredRecording(Recording* recording) {
  if (!isOwnRecording(recording)) return;
  forgetTargetRecording(recording);
  _orphans.erase(std::remove(_orphans.begin(), _orphans.end(), recording), _orphans.end());
  _clips.remove(recording);
  _playlists.removeRecording(recording);
  if (Playlist* const favourites = _favoritePlaylist) favourites->removeClip(recording);
  _clips.retire(recording);
}

bool BroadcastRecorder::deleteRecording(Recording* recording) {
  if (!_initialized) {
    BC_ERR(LOG, "%s", NOT_INITIALIZED_WITH_PROVIDER);
    _error.set(ERROR_INIT);
    return false;
  }
  const Lock lock(_mutex);
  if (recording == nullptr || !isOwnRecording(recording)) {
    BC_ERR(LOG, "Recording is NULL!");
    _error.set(ERROR_INTERNAL);
    return false;
  }
  if (recording->isActive()) {
    BC_ERR(LOG, "Recording is active, remove scheduling first!");
    return false;
  }
  forgetTimeshift(recording);
  if (recording->isFavorite()) recording->setFavorite(false, 0);
  BC_INFO(LOG, "Removing existing stored recording.");
  if (durix_recorder_remove_recording(_durixRecorder, handleOf(recording)) != DURIX_OK) {
    BC_ERR(LOG, "Durix recorder failed to remove recording");
    return false;
  }
  deleteStoredRecording(recording);
  return true;
}

void BroadcastRecorder::forgetTargetRecording(const Recording* recording) {
  for (Scheduling* const scheduling : _clips.schedulings()) {
    if (scheduling->getTargetRecording() == recording) scheduling->setTargetRecording(nullptr);
  }
}

bool BroadcastRecorder::cancelScheduling(Scheduling* scheduling) {
  BC_INFO(LOG, "Removing scheduled recording");
  const Lock lock(_mutex);
  // The host may hold one that has ended meanwhile.
  if (scheduling == nullptr || !_clips.contains(scheduling)) return false;
  for (AvContent* const program : scheduling->getTargetPrograms()) {
    if (program == nullptr || program->getAvType() != AvContent::AV_PROGRAM) continue;
    if (auto* const own = dynamic_cast<Program*>(program)) own->setScheduledForRecording(false);
    program->removeTag(_recordedTag);
    program->removeTag(_isActiveRecordingTag);
  }
  if (durix_recorder_remove_timer(_durixRecorder, handleOf(scheduling)) != DURIX_OK) {
    BC_ERR(LOG, "durix recorder remove timer failed");
    return false;
  }
  // A middleware that reports the timer's end from inside the call has had everything done by now.
  if (!_clips.contains(scheduling)) return true;
  _clips.remove(scheduling);
  _clips.sortSchedulings();
  releaseReceiver(scheduling);
  sendNotifyRecordingDeactive(scheduling);
  _playlists.removeScheduling(scheduling);
  _clips.retire(scheduling);
  return true;
}

void BroadcastRecorder::releaseReceiver(Scheduling* scheduling) {
  _broadcast.setPlayableStatus({});
  std::vector<Service*> services;
  for (Scheduling* const remaining : _clips.schedulings()) {
    if (!remaining->isActive()) {
      remaining->removeTag(_isActiveRecordingTag);
      continue;
    }
    remaining->addTag(_isActiveRecordingTag);
    if (auto* const service = dynamic_cast<Service*>(remaining->getTargetService())) services.push_back(service);
  }
  _broadcast.setPlayableStatus(services);
  Recording* const recording = scheduling->getTargetRecording();
  if (_clips.contains(recording)) {
    recording->fillMetadata();
    recording->setActive(false);
    BC_INFO(LOG, "rec->removeTag(_isActiveRecordingTag");  // without its closing bracket in the contract
    recording->removeTag(_isActiveRecordingTag);
  }
  if (AvContent* const service = scheduling->getTargetService()) service->removeTag(_recordedTag);
  _timerEvents.updateRecordingTagsForServices();
}

bool BroadcastRecorder::modifyScheduling(Scheduling* scheduling, int start, int end, std::string name) {
  if (scheduling == nullptr || !_clips.contains(scheduling)) {
    BC_ERR(LOG, "Given scheduling handle is null, cannot modify scheduling");
    return false;
  }
  BC_INFO(LOG, "modifyScheduling");
  const durix_return_code code = durix_recorder_modify_timer(_durixRecorder, handleOf(scheduling), start, end,
                                                             RECORDING_VALUE, cutText(name, NAME_BYTES).c_str());
  if (code != DURIX_OK) {
    _error.set(code);
    BC_ERR(LOG, "Error modifying the timer %u", code);
    return false;
  }
  const Lock lock(_mutex);
  if (_clips.contains(scheduling)) {  // still: it may have ended meanwhile
    scheduling->fillMetadata();
    _playlists.schedulingChanged(scheduling);
  }
  BC_INFO(LOG, "Timer modified ok");
  return true;
}

Scheduling* BroadcastRecorder::getSchedulingForProgram(Program* program) {
  BC_INFO(LOG, "getSchedulingForProgram");
  if (program == nullptr) return nullptr;
  const Lock lock(_mutex);
  Scheduling* match = nullptr;
  for (Scheduling* const scheduling : _clips.schedulings()) {
    const std::vector<AvContent*> programs = scheduling->getTargetPrograms();
    if (std::find(programs.begin(), programs.end(), program) == programs.end()) continue;
    BC_INFO(LOG, "Found target scheduling for program");
    match = scheduling;
  }
  if (match == nullptr) BC_ERR(LOG, "Didn't find suitable scheduling to cancel program");
  return match;
}

void BroadcastRecorder::updateScheduledPrograms() {
  for (Scheduling* const scheduling : _clips.schedulings()) {
    if (!_clips.contains(scheduling)) continue;  // a listener has cancelled it
    auto* const service = dynamic_cast<Service*>(scheduling->getTargetService());
    if (service != nullptr) _timerEvents.setIfScheduled(service->getPrograms(false), scheduling);
  }
}

void BroadcastRecorder::updateFavoritePlaylist(Playlist* playlist) {
  if (playlist == nullptr) return;
  _favoritePlaylist = playlist;
  if (!_initialized) {
    BC_ERR(LOG, "updateFavoritePlaylist : Recorder not initialized yet!");
    _error.set(ERROR_INIT);
    return;
  }
  const Lock lock(_mutex);
  for (Recording* const recording : _clips.recordings()) {
    if (recording->isFavorite()) playlist->addClip(recording);
  }
}

std::vector<Scheduling*> BroadcastRecorder::getConflicting(Program* /*program*/) {
  BC_ERR(LOG, "Not implemented");
  return {};
}

bool BroadcastRecorder::isRecordingsActive() {
  const std::vector<Scheduling*> schedulings = _clips.schedulings();
  return std::any_of(schedulings.begin(), schedulings.end(), [](const Scheduling* s) { return s->isActive(); });
}

std::vector<Service*> BroadcastRecorder::getActiveSchedulingsServices() {
  std::vector<Service*> services;
  for (const Scheduling* const scheduling : _clips.schedulings()) {
    if (!scheduling->isActive()) continue;
    if (auto* const service = dynamic_cast<Service*>(scheduling->getTargetService())) services.push_back(service);
  }
  return services;
}

void BroadcastRecorder::refresh() {
  const Lock lock(_mutex);
  BC_INFO(LOG, "BroadcastRecorder::refresh");
  _playlists.refresh();
  _timerEvents.checkImmediatelyStartingRecordings();
  BC_INFO(LOG, "BroadcastRecorder::refresh end");
}

bool BroadcastRecorder::setRecordingDirectory(std::string path) {
  return durix_property_set(_durixHandle, DURIX_PROPERTY_RECORDINGS_DIRECTORY, path.c_str()) == DURIX_OK;
}

std::string BroadcastRecorder::getRecordingDirectory() {
  char* path = nullptr;
  if (durix_property_get(_durixHandle, DURIX_PROPERTY_RECORDINGS_DIRECTORY, &path) != DURIX_OK) return {};
  return MwText(path).str();
}

void BroadcastRecorder::timerActivating(durix_event_data* data) {
  BC_INFO(LOG, "timerActivating");
  const Lock lock(_mutex);
  _timerEvents.timerActivating(data);
}

void BroadcastRecorder::timerActive(durix_event_data* data) {
  const Lock lock(_mutex);
  _timerEvents.timerActive(data);
}

void BroadcastRecorder::timerDeactive(durix_event_data* data) {
  const Lock lock(_mutex);
  _timerEvents.timerDeactive(data);
}

void BroadcastRecorder::recorderDeviceFull(durix_event_data* data) {
  const Lock lock(_mutex);
  std::unique_ptr<durix_esg_object> timer;
  if (_stored.findTimer(EventRecord(data).word(DURIX_OFFSET_TIMER_ID), &timer)) _timerEvents.deviceFull(data);
}

void BroadcastRecorder::notifyProgramUpdate(Plugin* /*plugin*/, Service* service, std::vector<Program*>* /*programs*/) {
  if (service != nullptr) _timerEvents.notifyProgramUpdate(service);
}

void BroadcastRecorder::forgetTargets() {
  const Lock lock(_mutex);
  // Those that are over too: the host may still read them.
  for (TimedClip* const clip : _clips.everyOne()) {
    clip->setTargetService(nullptr);
    for (AvContent* const program : clip->getTargetPrograms()) clip->removeTargetProgram(program);
  }
  if (Recording* const running = _timeshiftRecording) running->setTargetService(nullptr);
  for (Recording* const orphan : _orphans) orphan->setTargetService(nullptr);
}

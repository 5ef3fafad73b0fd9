#include "NoticeWatch.h"

#include <utility>

#include "Contents.h"
#include "velmora/Clip.h"
#include "velmora/Playlist.h"
#include "velmora/Program.h"
#include "velmora/Service.h"

namespace tv {
namespace {

const char* stateName(PluginState state) {
  switch (state) {
    case PLUGIN_ERROR:
      return "error";
    case PLUGIN_INACTIVE:
      return "inactive";
    case PLUGIN_ACTIVE:
      return "active";
    case PLUGIN_DISCOVERING:
      return "discovering";
    case PLUGIN_DISCOVER_PENDING:
      return "discover pending";
  }
  return "unknown";
}

Json channelOrNull(Service* service) {
  return service == nullptr ? Json(nullptr) : channelKeyJson(*service);
}

Json contentJson(AvContent* content) {
  if (content == nullptr) return nullptr;
  return {{"id", content->getId()}, {"name", content->getName()}};
}

Json schedulingJson(Scheduling* scheduling) {
  if (scheduling == nullptr) return nullptr;
  return {{"id", scheduling->getId()},
          {"name", scheduling->getName()},
          {"channel", scheduling->getTargetServiceName()},
          {"start", scheduling->getStartTime()},
          {"end", scheduling->getEndTime()},
          {"active", scheduling->isActive()}};
}

}  // namespace

NoticeWatch::NoticeWatch(BroadcastPlugin& plugin) : _plugin(plugin), _recorder(plugin.getRecorder()) {
  _plugin.addListener(this);
  if (_recorder != nullptr) _recorder->addRecorderListener(this);
}

NoticeWatch::~NoticeWatch() {
  if (_recorder != nullptr) _recorder->removeRecorderListener(this);
  _plugin.removeListener(this);
}

std::optional<Json> NoticeWatch::next(std::chrono::milliseconds limit) {
  std::unique_lock lock(_mutex);
  if (!_changed.wait_for(lock, limit, [this] { return !_notices.empty(); })) return std::nullopt;
  Json notice = std::move(_notices.front());
  _notices.pop_front();
  return notice;
}

void NoticeWatch::add(Json notice) {
  const std::lock_guard lock(_mutex);
  _notices.push_back(std::move(notice));
  _changed.notify_all();
}

void NoticeWatch::notifyDiscover(Plugin* /*plugin*/, bool finished, bool success, unsigned progress, unsigned frequency,
                                 unsigned serviceCount, std::vector<std::string> serviceNames) {
  add({{"notice", "discover"},
       {"finished", finished},
       {"success", success},
       {"progress", progress},
       {"frequency", frequency},
       {"services", serviceCount},
       {"names", std::move(serviceNames)}});
}

void NoticeWatch::notifyStatistics(Plugin* /*plugin*/, unsigned frequency, unsigned bandwidth, bool locked,
                                   unsigned char quality, unsigned char battery) {
  add({{"notice", "statistics"},
       {"frequency", frequency},
       {"bandwidth", bandwidth},
       {"locked", locked},
       {"quality", quality},
       {"battery", battery}});
}

void NoticeWatch::notifyPlayer(Plugin* /*plugin*/, bool isStarted, bool hasError) {
  add({{"notice", "player"}, {"started", isStarted}, {"failed", hasError}});
}

void NoticeWatch::pluginStateChanged(Plugin* /*plugin*/, PluginState before, PluginState now) {
  add({{"notice", "state"}, {"before", stateName(before)}, {"now", stateName(now)}});
}

void NoticeWatch::notifyServiceUpdate(Plugin* /*plugin*/, std::vector<Service*>* services) {
  add({{"notice", "services"}, {"count", services == nullptr ? 0 : services->size()}});
}

void NoticeWatch::notifyProgramUpdate(Plugin* /*plugin*/, Service* service, std::vector<Program*>* programs) {
  add({{"notice", "programmes"},
       {"channel", channelOrNull(service)},
       {"count", programs == nullptr ? 0 : programs->size()}});
}

void NoticeWatch::notifyReminder(Plugin* /*plugin*/, AvContent* content) {
  add({{"notice", "reminder"}, {"content", contentJson(content)}});
}

void NoticeWatch::notifySearch(Plugin* /*plugin*/, std::vector<AvContent*> results) {
  add({{"notice", "search"}, {"count", results.size()}});
}

void NoticeWatch::notifyProgramStarted(Plugin* /*plugin*/, Service* service, Program* program) {
  add({{"notice", "programmeStarted"}, {"channel", channelOrNull(service)}, {"programme", programmeJson(program)}});
}

void NoticeWatch::notifyProgramEnded(Plugin* /*plugin*/, Service* service, Program* program) {
  add({{"notice", "programmeEnded"}, {"channel", channelOrNull(service)}, {"programme", programmeJson(program)}});
}

void NoticeWatch::notifyCurrentProgram(Plugin* /*plugin*/, Service* service, Program* program) {
  add({{"notice", "currentProgramme"}, {"channel", channelOrNull(service)}, {"programme", programmeJson(program)}});
}

void NoticeWatch::notifyScheduledRecordingUpdated(Scheduling* scheduling) {
  add({{"notice", "timerUpdated"}, {"timer", schedulingJson(scheduling)}});
}

void NoticeWatch::notifyRecordingActive(Scheduling* scheduling) {
  add({{"notice", "recordingActive"}, {"timer", schedulingJson(scheduling)}});
}

void NoticeWatch::notifyRecordingActivating(Scheduling* scheduling, unsigned value,
                                            std::vector<Scheduling*> conflicting) {
  Json others = Json::array();
  for (Scheduling* other : conflicting) others.push_back(schedulingJson(other));
  add({{"notice", "recordingActivating"},
       {"timer", schedulingJson(scheduling)},
       {"value", value},
       {"conflicting", std::move(others)}});
}

void NoticeWatch::notifyRecordingDeactive(Scheduling* scheduling) {
  add({{"notice", "recordingDeactive"}, {"timer", schedulingJson(scheduling)}});
}

void NoticeWatch::notifyDeviceFull(Scheduling* scheduling) {
  add({{"notice", "deviceFull"}, {"timer", schedulingJson(scheduling)}});
}

void NoticeWatch::notifyPlaylistUpdated(Playlist* playlist, std::vector<Clip*> clips) {
  add({{"notice", "playlist"}, {"playlist", contentJson(playlist)}, {"count", clips.size()}});
}

}  // namespace tv

#include "ProgramChangedNotifier.h"

#include <exception>
#include <string>

#include "ProgramImpl.h"
#include "ServiceImpl.h"
#include "support/Gate.h"
#include "support/Log.h"
#include "velmora/BroadcastPlugin.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/ProgramChangedNotifier"};

/// The plugin of a service, which sends the notices.
BroadcastPlugin* pluginOf(const ServiceImpl& service) {
  return dynamic_cast<BroadcastPlugin*>(service.getPlugin());
}

Program* programAfter(Program* program) {
  const auto* const known = dynamic_cast<ProgramImpl*>(program);
  return known == nullptr ? nullptr : known->getNextProgram();
}

}  // namespace

ProgramChangedNotifier::ProgramChangedNotifier() {
  _timer.addTimerListener(this);
}

ProgramChangedNotifier::~ProgramChangedNotifier() {
  _timer.stop();
}

void ProgramChangedNotifier::clear() {
  _timer.clear();
}

void ProgramChangedNotifier::removeTimer(ServiceImpl* service) {
  const Lock lock(_mutex);
  const auto found = _records.find(service);
  if (found == _records.end()) return;
  _timer.removeTimeout(found->second.get());
  _live.erase(found->second.get());
  _retired.push_back(std::move(found->second));  // an expiry on its way may still name it
  _records.erase(found);
}

void ProgramChangedNotifier::update(ServiceImpl* service) {
  BroadcastPlugin* plugin = nullptr;
  ProgramChangedInfo* record = nullptr;
  ProgramChangedInfo armed{service, nullptr, ProgramChangedInfo::CURRENT_ENDS};
  {
    const Lock lock(_mutex);
    removeTimer(service);
    plugin = pluginOf(*service);
    if (plugin == nullptr || plugin->getState() != PLUGIN_ACTIVE) return;
    armed.program = service->getCurrentProgram();
    if (armed.program == nullptr) {
      armed.program = service->getNextProgram();
      armed.phase = ProgramChangedInfo::NEXT_STARTS;
    }
    if (armed.program == nullptr) {
      BC_ERR(LOG, "ProgramChangedNotifier did not find current or next Program");
      return;
    }
    record = remember(armed);
    if (armed.phase == ProgramChangedInfo::NEXT_STARTS) return await(record);
  }
  plugin->sendNotifyCurrentProgram(plugin, service, armed.program);
  // Awaited only now, so that the host is not told of the programme's end first.
  const Lock lock(_mutex);
  if (isLive(record)) await(record);
}

ProgramChangedInfo* ProgramChangedNotifier::remember(const ProgramChangedInfo& info) {
  auto record = std::make_unique<ProgramChangedInfo>(info);
  ProgramChangedInfo* const address = record.get();
  _live.insert(address);
  _records[info.service] = std::move(record);
  return address;
}

void ProgramChangedNotifier::await(ProgramChangedInfo* record) {
  const bool ends = record->phase == ProgramChangedInfo::CURRENT_ENDS;
  _timer.addTimeout(ends ? record->program->getEndTimeT() : record->program->getStartTimeT(), record);
}

bool ProgramChangedNotifier::isLive(const void* record) const {
  return _live.count(record) != 0;
}

void ProgramChangedNotifier::timerExpired(VmTimer* /*timer*/, void* data) {
  const gate::Pass pass;
  if (!pass) return;
  try {
    expired(data);
  } catch (const std::exception& failure) {
    BC_ERR(LOG, "ProgramChangedNotifier gave up: %s", failure.what());
  }
  // The one timer thread has no other expiry on its way, so nothing names a replaced record any more.
  const Lock lock(_mutex);
  _retired.clear();
}

void ProgramChangedNotifier::expired(void* data) {
  if (data == nullptr) {
    BC_ERR(LOG, "ProgramChangedNotifier Failed to receive userdata!");
    return;
  }
  auto* const record = static_cast<ProgramChangedInfo*>(data);
  ProgramChangedInfo was{};
  {
    const Lock lock(_mutex);
    if (!isLive(record)) return;  // replaced while the expiry was on its way
    was = *record;
  }
  if (was.service == nullptr) {
    BC_ERR(LOG, "Service is NULL");
    return;
  }
  if (was.program == nullptr) {
    BC_ERR(LOG, "Program is NULL");
    return;
  }
  switch (was.phase) {
    case ProgramChangedInfo::CURRENT_ENDS:
      return currentEnded(record, was);
    case ProgramChangedInfo::NEXT_STARTS:
      return nextStarted(record, was);
    default:
      BC_ERR(LOG, "ProgramChangedNotifier Failed to receive correct userdata!");
  }
}

void ProgramChangedNotifier::currentEnded(ProgramChangedInfo* record, const ProgramChangedInfo& was) {
  // Read before the host is told: a listener may end the channel list.
  const std::string service = was.service->getName();
  const std::string title = was.program->getTitle();
  const std::string end = was.program->getEndTime();
  BroadcastPlugin* const plugin = pluginOf(*was.service);
  if (plugin != nullptr) plugin->sendNotifyProgramEnded(plugin, was.service, was.program);
  BC_INFO(LOG, "ProgramChangedNotifier Current PROGRAM ENDED %s:%s at %s", service.c_str(), title.c_str(), end.c_str());

  const Lock lock(_mutex);
  if (!isLive(record)) return;
  record->program = programAfter(was.program);  // none: parked until the service is armed anew
  record->phase = ProgramChangedInfo::NEXT_STARTS;
  if (record->program != nullptr) await(record);
}

void ProgramChangedNotifier::nextStarted(ProgramChangedInfo* record, const ProgramChangedInfo& was) {
  const std::string service = was.service->getName();
  const std::string title = was.program->getTitle();
  const std::string start = was.program->getStartTime();
  BroadcastPlugin* const plugin = pluginOf(*was.service);
  if (plugin != nullptr) plugin->sendNotifyProgramStarted(plugin, was.service, was.program);
  BC_INFO(LOG, "ProgramChangedNotifier Next PROGRAM STARTED %s:%s at %s", service.c_str(), title.c_str(),
          start.c_str());

  const Lock lock(_mutex);
  if (!isLive(record)) return;
  record->phase = ProgramChangedInfo::CURRENT_ENDS;
  await(record);
}

#include "recording/StoredClips.h"

#include "BroadcastRecording.h"
#include "BroadcastScheduling.h"
#include "guide/EsgAttributes.h"
#include "support/Log.h"
#include "support/MwMemory.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BROADCASTRECORDER"), "plugins/dvbt/src/BroadcastRecorder"};

/// An array that a failed call left behind is not ours to free.
bool isListed(durix_return_code code, EsgArray* records) {
  if (code != DURIX_OK) *records->items() = nullptr;
  return code == DURIX_OK;
}

}  // namespace

durix_esg_object* handleOf(Scheduling* scheduling) {
  auto* const own = dynamic_cast<BroadcastScheduling*>(scheduling);
  return own == nullptr ? nullptr : own->getHandle();
}

durix_esg_object* handleOf(Recording* recording) {
  auto* const own = dynamic_cast<BroadcastRecording*>(recording);
  return own == nullptr ? nullptr : own->getHandle();
}

void StoredClips::loadRecordings() {
  EsgArray records;
  if (!isListed(durix_recorder_list_recordings(_durixRecorder, records.items(), records.count()), &records)) return;
  BC_INFO(LOG, "Got %d recordings", static_cast<int>(records.size()));
  for (durix_esg_object& record : records) {
    if (_clips.findRecording(record.id) != nullptr) continue;
    if (Recording* const recording = createRecording(&record)) _clips.add(recording);
  }
}

void StoredClips::loadSchedulings() {
  EsgArray records;
  if (!isListed(durix_recorder_list_timers(_durixRecorder, records.items(), records.count()), &records)) return;
  BC_INFO(LOG, "Got %d scheduled recordings", static_cast<int>(records.size()));
  for (durix_esg_object& record : records) {
    if (_clips.findScheduling(record.id) != nullptr) continue;
    Scheduling* const scheduling = createScheduling(&record);
    if (scheduling == nullptr) continue;
    findTargetService(scheduling, record);
    _clips.add(scheduling);
  }
}

/// A timer names its service by name and original network.
void StoredClips::findTargetService(Scheduling* scheduling, const durix_esg_object& timer) {
  const std::string name = ::getStringAttribute(&timer, DURIX_ATTRIBUTE_SERVICE_ID);
  const auto network = static_cast<unsigned>(::getIntAttribute(&timer, DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID));
  BC_INFO(LOG, "Loaded scheduling:%s, service:%s:%u start:%u end:%u", scheduling->getName().c_str(), name.c_str(),
          network, static_cast<unsigned>(scheduling->getStartTimeT()),
          static_cast<unsigned>(scheduling->getEndTimeT()));
  Service* const service = _host.getService(name, network);
  if (service == nullptr) return;
  BC_INFO(LOG, "Found service ok.");
  scheduling->setTargetService(service);
  scheduling->setTargetServiceName(name);
  scheduling->setTargetServiceNetworkId(network);
}

Recording* StoredClips::createRecording(durix_esg_object* object) {
  if (object == nullptr) {
    BC_ERR(LOG, "Given recording handle is null, cannot create recording");
    return nullptr;
  }
  auto* const recording = new BroadcastRecording(object, &_plugin);
  recording->fillMetadata();
  return recording;
}

Scheduling* StoredClips::createScheduling(durix_esg_object* object) {
  if (object == nullptr) {
    BC_ERR(LOG, "Given scheduling handle is null, cannot create scheduling");
    return nullptr;
  }
  auto* const scheduling = new BroadcastScheduling(object, &_plugin);
  scheduling->fillMetadata();
  return scheduling;
}

bool StoredClips::findTimer(unsigned id, std::unique_ptr<durix_esg_object>* out) {
  out->reset();
  EsgArray timers;
  if (!isListed(durix_recorder_list_timers(_durixRecorder, timers.items(), timers.count()), &timers)) return false;
  for (const durix_esg_object& timer : timers) {
    if (timer.id == id) *out = std::make_unique<durix_esg_object>(timer);
  }
  return *out != nullptr;
}

durix_esg_object* StoredClips::recordingOf(Scheduling* scheduling) {
  durix_esg_object* recording = nullptr;
  if (durix_recorder_get_recording(_durixRecorder, handleOf(scheduling), &recording) != DURIX_OK) return nullptr;
  return recording;
}

#include "BroadcastScheduling.h"

#include "recording/TimedClipMetadata.h"
#include "velmora/Logger.h"

namespace {

// The contract names a logger for this file; nothing is written to it.
[[maybe_unused]] Logger* const LOGGER = Logger::loggerFactory("BROADCASTSCHEDULING");

}  // namespace

BroadcastScheduling::BroadcastScheduling(durix_esg_object* object, Plugin* plugin)
    : Scheduling(plugin, object->id, AvContent::AV_SCHEDULING), _handle(*object) {
  _avType = AV_SCHEDULING;
}

void BroadcastScheduling::fillMetadata() {
  fillTimedClip(*this, _handle);
  fillFriendlyUri(*this, "::bcastscheduling::");
}

durix_esg_object* BroadcastScheduling::getHandle() {
  return &_handle;
}

#include "BroadcastRecording.h"

#include "guide/EsgAttributes.h"
#include "recording/TimedClipMetadata.h"
#include "support/MwMemory.h"
#include "support/Text.h"
#include "velmora/Logger.h"

namespace {

// The contract names a logger for this file; nothing is written to it.
[[maybe_unused]] Logger* const LOGGER = Logger::loggerFactory("BROADCASTRECORDING");

}  // namespace

BroadcastRecording::BroadcastRecording(durix_esg_object* object, Plugin* plugin)
    : Recording(plugin, object->id, AvContent::AV_RECORDING),
      _handle(*object),
      _scheduled(object->kind == DURIX_OBJECT_TIMER) {
  _avType = AV_RECORDING;
}

BroadcastRecording::~BroadcastRecording() {
  delete _parentalRating;
  _parentalRating = nullptr;
}

bool BroadcastRecording::isScheduled() {
  return _scheduled;
}
void BroadcastRecording::setScheduled(bool scheduled) {
  _scheduled = scheduled;
}

void BroadcastRecording::fillMetadata() {
  fillTimedClip(*this, _handle);
  const int rating = decimalValue(getStringAttribute(&_handle, DURIX_ATTRIBUTE_PARENTAL_RATING));
  if (_parentalRating != nullptr) {
    _parentalRating->setValue(rating);
  } else {
    _parentalRating = new ParentalRating(ParentalRating::RATING_SYSTEM_AGE, rating);
  }
  fillFriendlyUri(*this, "::bcastrecording::");
}

std::vector<durix_esg_object> BroadcastRecording::getFeeds() {
  EsgArray feeds;
  if (durix_esg_object_feeds_get(&_handle, feeds.items(), feeds.count()) != DURIX_OK) {
    *feeds.items() = nullptr;  // what a failed call left behind is not ours to free
    return {};
  }
  return {feeds.begin(), feeds.end()};
}

durix_esg_object* BroadcastRecording::getHandle() {
  return &_handle;
}

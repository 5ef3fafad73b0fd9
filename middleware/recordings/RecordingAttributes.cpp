#include "middleware/recordings/RecordingAttributes.h"

#include <string>

#include "middleware/api/EventAttributes.h"
#include "middleware/api/Failure.h"

namespace durix {
namespace {

// Of a timer or a recording. What nothing is known of is empty: a viewer's list is no place for errors.
template <typename Stored>
AttributeValue storedAttribute(const std::optional<Stored>& stored, durix_attribute attribute) {
  if (!stored) throw Failure(Code::UnknownObject);
  switch (attribute) {
    case DURIX_ATTRIBUTE_NAME:
      return stored->texts.name;
    case DURIX_ATTRIBUTE_DESCRIPTION:
      return stored->texts.description;
    case DURIX_ATTRIBUTE_PARENTAL_RATING:
      return std::to_string(stored->texts.age);
    case DURIX_ATTRIBUTE_SERVICE_ID:
      return stored->service.name;
    case DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID:
      return static_cast<std::int32_t>(stored->service.originalNetworkId);
    case DURIX_ATTRIBUTE_START_TIME:
      return static_cast<std::int32_t>(stored->start);
    case DURIX_ATTRIBUTE_END_TIME:
      return static_cast<std::int32_t>(stored->end);
    case DURIX_ATTRIBUTE_START_TIME_STR:
      return timeText(stored->start);
    case DURIX_ATTRIBUTE_END_TIME_STR:
      return timeText(stored->end);
    default:
      return {};
  }
}

}  // namespace

AttributeValue recordedAttribute(Recordings& recordings, const durix_esg_object& object, durix_attribute attribute) {
  const auto id = recordingOf(object);
  if (!id) return {};
  switch (static_cast<ObjectKind>(object.kind)) {
    case ObjectKind::Timer:
      return storedAttribute(recordings.timer(*id), attribute);
    case ObjectKind::Recording:
      return storedAttribute(recordings.recording(*id), attribute);
    default:
      break;
  }
  const auto feed = recordedFeed(recordings, object);
  if (!feed) throw Failure(Code::UnknownObject);
  if (attribute != DURIX_ATTRIBUTE_URI) return componentAttribute(*feed, attribute);
  return "recording:" + std::to_string(*id) + "#pid=" + std::to_string(feed->pid);
}

}  // namespace durix

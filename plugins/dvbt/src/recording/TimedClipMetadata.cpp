#include "recording/TimedClipMetadata.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "guide/EsgAttributes.h"

void fillTimedClip(TimedClip& clip, const durix_esg_object& object) {
  clip.setName(getStringAttribute(&object, DURIX_ATTRIBUTE_NAME));
  clip.setDescription(getStringAttribute(&object, DURIX_ATTRIBUTE_DESCRIPTION));
  const std::int64_t start = getIntAttribute(&object, DURIX_ATTRIBUTE_START_TIME);
  clip.setStartTimeT(start);
  const std::int64_t end = getIntAttribute(&object, DURIX_ATTRIBUTE_END_TIME);
  clip.setEndTimeT(end);
  clip.setStartTime(getStringAttribute(&object, DURIX_ATTRIBUTE_START_TIME_STR) + "Z");
  clip.setEndTime(getStringAttribute(&object, DURIX_ATTRIBUTE_END_TIME_STR) + "Z");
  clip.setIntProperty("duration",
                      static_cast<int>(std::clamp<std::int64_t>(end - start, std::numeric_limits<std::int32_t>::min(),
                                                                std::numeric_limits<std::int32_t>::max())));
  clip.setTargetServiceName(getStringAttribute(&object, DURIX_ATTRIBUTE_SERVICE_ID));
  clip.setTargetServiceNetworkId(static_cast<unsigned>(getIntAttribute(&object, DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID)));
}

void fillFriendlyUri(TimedClip& clip, const char* prefix) {
  clip.propertyAdd("uri:friendly", prefix + clip.getName() + "::" + std::to_string(clip.getStartTimeT()) +
                                       "::" + std::to_string(clip.getEndTimeT()));
}

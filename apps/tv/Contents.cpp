#include "Contents.h"

#include "velmora/Program.h"
#include "velmora/Service.h"

namespace tv {
std::string channelType(Service& service) {
  return service.getStreamType() == AvContent::STREAM_RADIO ? "radio" : "tv";
}

Json channelJson(Service& service) {
  return {{"id", service.getId()},
          {"number", service.getChannelNumber()},
          {"name", service.getName()},
          {"type", channelType(service)},
          {"network", service.getOriginalNetwork()},
          {"source", service.getSourceID()},
          {"quality", service.getQuality()},
          {"protected", service.isProtected()},
          {"playable", service.isPlayable()},
          {"recorded", service.hasTag("Recorded")},
          {"logo", service.getLogoUri()}};
}

Json channelKeyJson(Service& service) {
  return {{"id", service.getId()}, {"number", service.getChannelNumber()}, {"name", service.getName()}};
}

Json programmeJson(Program* program) {
  if (program == nullptr) return nullptr;
  Service* service = program->getService();
  const ParentalRating* rating = program->getParentalRating();
  return {{"id", program->getId()},
          {"service", service == nullptr ? Json(nullptr) : Json(service->getId())},
          {"title", program->getTitle()},
          {"description", program->getDescription()},
          {"start", program->getStartTime()},
          {"end", program->getEndTime()},
          {"startTime", program->getStartTimeT()},
          {"endTime", program->getEndTimeT()},
          {"rating", rating == nullptr ? 0 : rating->getValue()},
          {"scheduled", program->isScheduledForRecording()}};
}

}  // namespace tv

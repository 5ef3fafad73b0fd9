#include "middleware/api/EventAttributes.h"

#include <array>
#include <ctime>
#include <string>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/guide/Genres.h"

namespace durix {

std::string timeText(std::int64_t moment) {
  const auto seconds = static_cast<std::time_t>(moment);
  std::tm parts{};
  if (::gmtime_r(&seconds, &parts) == nullptr) return {};
  std::array<char, 32> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
  return {text.data(), length};
}

bool isEvent(const durix_esg_object& object) {
  return object.kind == static_cast<std::uint32_t>(ObjectKind::Event);
}

std::vector<durix_esg_object> recordsOf(const ServiceGuide& guide, std::uint32_t service) {
  std::vector<durix_esg_object> records;
  records.reserve(guide.events().size());
  for (const auto& event : guide.events()) {
    records.push_back({static_cast<std::uint32_t>(ObjectKind::Event), event->id, service});
  }
  return records;
}

GuideEventPtr eventOf(Guide& guide, const Catalogue& catalogue, const durix_esg_object& object) {
  if (!isEvent(object) || catalogue.service(object.opaque) == nullptr) throw Failure(Code::UnknownObject);
  auto service = guide.of(object.opaque);  // a programme's record names its service there
  const auto* const event = service->find(object.id);
  if (event == nullptr) throw Failure(Code::UnknownObject);
  return {std::move(service), event};
}

AttributeValue eventAttribute(const GuideEvent& event, const std::string& language, durix_attribute attribute) {
  switch (attribute) {
    case DURIX_ATTRIBUTE_NAME:
      return std::string(event.texts.title(language));
    case DURIX_ATTRIBUTE_DESCRIPTION:
      return std::string(event.texts.description(language));
    case DURIX_ATTRIBUTE_GENRE:
      return std::string(genreText(event.content));
    case DURIX_ATTRIBUTE_PARENTAL_RATING:
      return std::to_string(event.age);
    case DURIX_ATTRIBUTE_START_TIME:
      return static_cast<std::int32_t>(event.start);
    case DURIX_ATTRIBUTE_END_TIME:
      return static_cast<std::int32_t>(event.end);
    case DURIX_ATTRIBUTE_START_TIME_STR:
      return timeText(event.start);
    case DURIX_ATTRIBUTE_END_TIME_STR:
      return timeText(event.end);
    default:
      return {};
  }
}

}  // namespace durix

#include "middleware/api/Attributes.h"

#include "middleware/api/Failure.h"
#include "middleware/store/Feeds.h"

namespace durix {
namespace {

bool isKind(const durix_esg_object& object, ObjectKind kind) {
  return object.kind == static_cast<std::uint32_t>(kind);
}

// Texts that a broadcast does not carry are empty, not missing: a viewer's list is no place for errors.
AttributeValue serviceAttribute(const StoredService& service, durix_attribute attribute) {
  switch (attribute) {
    case DURIX_ATTRIBUTE_NAME:
      return service.name;
    case DURIX_ATTRIBUTE_SERVICE_ID:
      return std::to_string(service.serviceId);
    case DURIX_ATTRIBUTE_LOGO_URI:
    case DURIX_ATTRIBUTE_PARENTAL_RATING:
      return std::string();
    case DURIX_ATTRIBUTE_PROTECTED:
      return service.isProtected;
    case DURIX_ATTRIBUTE_STREAM_TYPES:
      return std::vector{static_cast<std::int32_t>(service.kind)};
    case DURIX_ATTRIBUTE_SOURCE_ID:
      return static_cast<std::int32_t>(service.multiplex);
    case DURIX_ATTRIBUTE_CHANNEL_NUMBER:
      return service.channelNumber;
    case DURIX_ATTRIBUTE_QUALITY:
      return service.quality;
    case DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID:
      return static_cast<std::int32_t>(service.originalNetworkId);
    default:
      return {};
  }
}

AttributeValue feedAttribute(const FoundFeed& found, durix_attribute attribute) {
  const Feed& feed = *found.feed;
  switch (attribute) {
    case DURIX_ATTRIBUTE_URI:
      return uriOf(*found.service, feed);
    case DURIX_ATTRIBUTE_CHANNEL_NUMBER:
      if (feed.type != FEED_GUIDE_DATA) return {};
      return static_cast<std::int32_t>(found.service->multiplex);
    default:
      return componentAttribute(feed, attribute);
  }
}

}  // namespace

const StoredService* findService(const Catalogue& catalogue, const durix_esg_object& object) {
  if (!isKind(object, ObjectKind::Service) || object.opaque != 0) return nullptr;
  return catalogue.service(object.id);
}

std::optional<FoundFeed> findFeed(const Catalogue& catalogue, const durix_esg_object& object) {
  if (!isKind(object, ObjectKind::Feed)) return std::nullopt;
  const auto* const feed = catalogue.feed(object.id);
  const auto* const service = catalogue.service(object.opaque);  // a feed's record names its service there
  if (feed == nullptr || service == nullptr || catalogue.serviceOfFeed.at(feed->id) != service->id) return std::nullopt;
  return FoundFeed{service, feed};
}

AttributeValue componentAttribute(const Feed& feed, durix_attribute attribute) {
  const bool isSound = feed.type == DURIX_FEED_AUDIO || feed.type == DURIX_FEED_AUDIO_SECOND;
  switch (attribute) {
    case DURIX_ATTRIBUTE_FEED_TYPE:
      return feed.type;
    case DURIX_ATTRIBUTE_FEED_CONTENT_TYPE:
      return feed.contentType;
    case DURIX_ATTRIBUTE_LANGUAGE:
      return feed.language;
    case DURIX_ATTRIBUTE_AUDIO_LANGUAGE:
      return isSound ? feed.language : std::string();
    default:
      return {};
  }
}

AttributeValue attributeOf(const Catalogue& catalogue, const durix_esg_object& object, durix_attribute attribute) {
  if (const auto* const service = findService(catalogue, object)) return serviceAttribute(*service, attribute);
  if (const auto feed = findFeed(catalogue, object)) return feedAttribute(*feed, attribute);
  throw Failure(Code::UnknownObject);
}

}  // namespace durix

// Calls of durix.h: guide objects and their attributes.

#include <optional>
#include <string>
#include <vector>

#include "middleware/api/Attributes.h"
#include "middleware/api/EventAttributes.h"
#include "middleware/api/Guard.h"
#include "middleware/api/Instance.h"
#include "middleware/portability/Memory.h"
#include "middleware/recordings/RecordingAttributes.h"

using durix::Code;
using durix::Failure;
using durix::guarded;
using durix::Instance;
using durix::need;
using durix::ObjectKind;

namespace {

durix::AttributeValue valueOf(Instance& instance, const durix_esg_object& object, durix_attribute number) {
  if (durix::recordingOf(object)) return durix::recordedAttribute(instance.recordings(), object, number);
  const auto catalogue = instance.store().catalogue();
  if (!durix::isEvent(object)) return durix::attributeOf(*catalogue, object, number);
  auto& guide = instance.guide();
  return durix::eventAttribute(*durix::eventOf(guide, *catalogue, object), guide.language(), number);
}

// The feeds of a timer or a recording, which may have none.
std::vector<durix_esg_object> recordedFeeds(durix::Recordings& recordings, const durix_esg_object& object) {
  const bool isTimer = object.kind == DURIX_OBJECT_TIMER;
  if (isTimer ? !recordings.timer(object.id) : !recordings.recording(object.id)) throw Failure(Code::UnknownObject);
  return durix::feedRecords(object.id, recordings.feeds(object.id));
}

// Reads one attribute as T; an object that is gone and an attribute of another type are failures.
template <typename T>
T attribute(const durix_esg_object* object, durix_attribute number) {
  const auto instance = Instance::current();
  need(object);
  const auto value = valueOf(*instance, *object, number);
  if (!std::holds_alternative<T>(value)) throw Failure(Code::WrongAttribute);
  return std::get<T>(value);
}

const durix::StoredService& serviceOf(const durix::Catalogue& catalogue, const durix_esg_object* object) {
  need(object);
  const auto* const service = durix::findService(catalogue, *object);
  if (service == nullptr) throw Failure(Code::UnknownObject);
  return *service;
}

// The service whose feeds are an object's: a programme's are those of its service.
const durix::StoredService& carrierOf(Instance& instance, const durix::Catalogue& catalogue,
                                      const durix_esg_object& object) {
  if (!durix::isEvent(object)) return serviceOf(catalogue, &object);
  durix::eventOf(instance.guide(), catalogue, object);  // it is there, and its service is
  return *catalogue.service(object.opaque);
}

// The multiplex whose guide data a feed is.
std::uint32_t guideMultiplex(const durix::Catalogue& catalogue, const durix_esg_object& feed) {
  const auto found = durix::findFeed(catalogue, feed);
  if (!found) throw Failure(Code::UnknownObject);
  if (found->feed->type != durix::FEED_GUIDE_DATA) throw Failure(Code::WrongAttribute);
  return found->service->multiplex;
}

}  // namespace

extern "C" {

durix_return_code durix_attribute_get_str(const durix_esg_object* object, durix_attribute attribute, char** value) {
  return guarded([&] {
    need(value);
    *value = durix::copyForCaller(::attribute<std::string>(object, attribute));
  });
}

durix_return_code durix_attribute_get_int(const durix_esg_object* object, durix_attribute attribute, int32_t* value) {
  return guarded([&] {
    need(value);
    *value = ::attribute<std::int32_t>(object, attribute);
  });
}

durix_return_code durix_attribute_get_bool(const durix_esg_object* object, durix_attribute attribute, uint8_t* value) {
  return guarded([&] {
    need(value);
    *value = ::attribute<bool>(object, attribute) ? 1 : 0;
  });
}

durix_return_code durix_attribute_get_array_int(const durix_esg_object* object, durix_attribute attribute,
                                                int32_t** values, uint32_t* count) {
  return guarded([&] {
    need(values, count);
    const auto numbers = ::attribute<std::vector<std::int32_t>>(object, attribute);
    *values = durix::copyForCaller(std::span<const std::int32_t>(numbers));
    *count = static_cast<std::uint32_t>(numbers.size());
  });
}

durix_return_code durix_program_events_get(const durix_esg_object* service, durix_esg_object** events,
                                           uint32_t* count) {
  return guarded([&]() -> durix_return_code {
    const auto instance = Instance::current();
    need(events, count);
    const auto catalogue = instance->store().catalogue();
    const auto id = serviceOf(*catalogue, service).id;
    const auto records = durix::recordsOf(*instance->guide().read(id), id);
    if (records.empty()) return DURIX_NO_PROGRAMS;
    *events = durix::copyForCaller(std::span<const durix_esg_object>(records));
    *count = static_cast<std::uint32_t>(records.size());
    return DURIX_OK;
  });
}

durix_return_code durix_esg_object_feeds_get(const durix_esg_object* object, durix_esg_object** feeds,
                                             uint32_t* count) {
  return guarded([&] {
    const auto instance = Instance::current();
    need(object, feeds, count);
    const auto catalogue = instance->store().catalogue();
    std::vector<durix_esg_object> objects;
    if (durix::recordingOf(*object) && object->kind != static_cast<std::uint32_t>(ObjectKind::Feed)) {
      objects = recordedFeeds(instance->recordings(), *object);
    } else {
      const auto& service = carrierOf(*instance, *catalogue, *object);
      for (const auto& feed : service.feeds) {
        objects.push_back({static_cast<std::uint32_t>(ObjectKind::Feed), feed.id, service.id});
      }
    }
    *feeds = durix::copyForCaller(std::span<const durix_esg_object>(objects));
    *count = static_cast<std::uint32_t>(objects.size());
  });
}

durix_return_code durix_feed_open(const durix_esg_object* feed, uint32_t) {
  return guarded([&] {
    const auto instance = Instance::current();
    need(feed);
    instance->guideFeeds().open(guideMultiplex(*instance->store().catalogue(), *feed));
  });
}

durix_return_code durix_feeds_close(const durix_esg_object* feeds, uint32_t count, uint32_t) {
  return guarded([&] {
    const auto instance = Instance::current();
    need(feeds);
    const auto catalogue = instance->store().catalogue();
    if (count > catalogue->serviceOfFeed.size()) throw Failure(Code::InvalidArgument);  // more than there are
    bool areClosed = count > 0;
    for (const auto& feed : std::span(feeds, count)) {
      areClosed = instance->guideFeeds().close(guideMultiplex(*catalogue, feed)) && areClosed;
    }
    if (!areClosed) throw Failure(Code::UnknownObject);
  });
}
}

#include "middleware/guide/ServiceGuide.h"

#include <algorithm>

namespace durix {
namespace {
constexpr std::chrono::minutes AFTERLIFE(1);
}

ServiceGuide::ServiceGuide(std::vector<GuideEventPtr> events) : _events(std::move(events)) {
  buildIndex();
}

ServiceGuide::ServiceGuide(std::vector<GuideEventPtr> events, const ServiceGuide& before,
                           std::span<const GuideEventPtr> removed)
    : _events(std::move(events)) {
  const auto now = Clock::now();
  for (const auto& entry : before._removed) {
    if (now - entry.first < AFTERLIFE) _removed.push_back(entry);
  }
  for (const auto& event : removed) _removed.emplace_back(now, event);
  buildIndex();
}

void ServiceGuide::buildIndex() {
  _byId.reserve(_events.size() + _removed.size());
  for (const auto& event : _events) _byId.emplace_back(event->id, event.get());
  for (const auto& [time, event] : _removed) _byId.emplace_back(event->id, event.get());
  std::sort(_byId.begin(), _byId.end());
}

const GuideEvent* ServiceGuide::find(std::uint32_t id) const {
  const auto place = std::lower_bound(_byId.begin(), _byId.end(), id,
                                      [](const auto& entry, std::uint32_t key) { return entry.first < key; });
  return place != _byId.end() && place->first == id ? place->second : nullptr;
}

bool ServiceGuide::contains(std::uint32_t id) const {
  const auto* const event = find(id);
  return event != nullptr &&
         std::none_of(_removed.begin(), _removed.end(), [&](const auto& entry) { return entry.second.get() == event; });
}

}  // namespace durix

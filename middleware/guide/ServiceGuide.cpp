#include "middleware/guide/ServiceGuide.h"

#include <algorithm>

namespace durix {
namespace {
constexpr std::chrono::minutes AFTERLIFE(1);
constexpr std::size_t MOST_REMOVED = 1U << 17;  // a stream may change everything all the time
}  // namespace

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
  if (_removed.size() > MOST_REMOVED) {
    _removed.erase(_removed.begin(), _removed.end() - static_cast<std::ptrdiff_t>(MOST_REMOVED));
  }
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
  if (event == nullptr) return false;
  const auto place = std::lower_bound(_events.begin(), _events.end(), event->start,
                                      [](const auto& each, std::int64_t start) { return each->start < start; });
  return place != _events.end() && place->get() == event;
}

}  // namespace durix

#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "middleware/guide/GuideEvent.h"

namespace durix {

/// The programmes of one service at one moment, as they are handed out. Never changes: news make another one.
class ServiceGuide {
 public:
  ServiceGuide() = default;
  explicit ServiceGuide(std::vector<GuideEventPtr> events);

  /// The next one. Programmes that are not in it any more can be found for a while: who has just been given their
  /// identifiers may still be reading.
  ServiceGuide(std::vector<GuideEventPtr> events, const ServiceGuide& before, std::span<const GuideEventPtr> removed);

  const std::vector<GuideEventPtr>& events() const { return _events; }  // by start, without overlaps

  /// Null when the service has, and lately had, no programme with this identifier.
  const GuideEvent* find(std::uint32_t id) const;

  /// Whether it has one with this identifier now.
  bool contains(std::uint32_t id) const;

 private:
  using Clock = std::chrono::steady_clock;

  void buildIndex();

  std::vector<GuideEventPtr> _events;
  std::vector<std::pair<std::uint32_t, const GuideEvent*>> _byId;
  std::vector<std::pair<Clock::time_point, GuideEventPtr>> _removed;  // and when
};

}  // namespace durix

#pragma once

#include <compare>
#include <cstdint>
#include <memory>

#include "middleware/guide/EventTexts.h"

namespace durix {

/// Where an event was told: the section of a table on a multiplex.
struct GuideOrigin {
  std::uint32_t multiplex = 0;
  std::uint8_t table = 0;  // 0: told once and over, no table has it any more
  std::uint8_t section = 0;

  // NOLINTNEXTLINE(modernize-use-nullptr): means the zero that the compiler writes
  auto operator<=>(const GuideOrigin&) const = default;
};

/// A programme of a service as the guide keeps it. Times are seconds since the epoch as viewers see them.
struct GuideEvent {
  std::uint32_t id = 0;  // 0 until the guide has taken it
  std::uint16_t eventId = 0;
  std::uint8_t age = 0;      // of the parental rating; 0: none
  std::uint8_t content = 0;  // EN 300 468, 6.2.9
  std::int64_t start = 0;
  std::int64_t end = 0;
  GuideOrigin origin{};
  EventTexts texts{};
};

using GuideEventPtr = std::shared_ptr<const GuideEvent>;

}  // namespace durix

#pragma once

#include <optional>

#include "middleware/si/DvbText.h"
#include "middleware/si/Event.h"
#include "middleware/si/Section.h"

namespace durix {

inline constexpr std::uint16_t EIT_PID = 0x12;

inline constexpr std::uint8_t EIT_PRESENT_ACTUAL_TABLE = 0x4E;
inline constexpr std::uint8_t EIT_PRESENT_OTHER_TABLE = 0x4F;
inline constexpr std::uint8_t EIT_SCHEDULE_ACTUAL_TABLE = 0x50;  // to 0x5F
inline constexpr std::uint8_t EIT_SCHEDULE_OTHER_TABLE = 0x60;   // to 0x6F
inline constexpr std::uint8_t EIT_LAST_TABLE = 0x6F;

inline bool isEit(std::uint8_t table) {
  return table >= EIT_PRESENT_ACTUAL_TABLE && table <= EIT_LAST_TABLE;
}

/// Reads one section of an event information table; nothing when it is too short to say whose events it holds. Events
/// that are cut off give what is whole of them.
std::optional<EventSection> readEit(const Section& section, DefaultTable table = DefaultTable::Iso6937);

}  // namespace durix

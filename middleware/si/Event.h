#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace durix {

/// What a broadcast says of an event in one language. The code is ISO 639-2 in lower case.
struct EventText {
  std::string language{};
  std::string title{};
  std::string description{};  // the short text, a new line, the extended text with its items
};

/// An entry of an event information table (EN 300 468, 5.2.4). Times are UTC seconds as broadcast; texts are UTF-8.
struct BroadcastEvent {
  std::uint16_t id = 0;
  std::int64_t start = 0;
  std::int64_t end = 0;            // behind the start
  std::uint8_t age = 0;            // of the parental rating, 4 to 18; 0: none
  std::uint8_t content = 0;        // both nibbles of the first content entry (6.2.9); 0: not defined
  std::vector<EventText> texts{};  // as sent, one for each language
};

/// One section of an event information table.
struct EventSection {
  std::uint16_t originalNetworkId = 0;
  std::uint16_t transportStreamId = 0;
  std::uint16_t serviceId = 0;
  std::uint8_t segmentLastNumber = 0;
  std::uint8_t lastTable = 0;
  std::vector<BroadcastEvent> events{};
  std::uint32_t dropped = 0;  // events without a moment, a length or a text
};

}  // namespace durix

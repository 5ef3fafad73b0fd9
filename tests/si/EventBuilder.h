#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "StreamBuilder.h"

namespace durix::test {

/// An event of a table, as one wants it; with a title it has a short event descriptor in English.
struct TestEvent {
  std::uint16_t id = 0;
  std::int64_t start = 0;  // UTC seconds since the epoch
  std::int64_t length = 3600;
  std::string_view title{};
  std::string_view text{};
  Bytes more{};  // further descriptors
};

/// Whose events a section holds, and what its table says of itself.
struct EventHead {
  std::uint16_t service = 1;
  std::uint8_t table = 0x50;
  std::uint8_t version = 0;
  std::uint8_t number = 0;
  std::uint8_t last = 0;
  std::uint16_t transportStream = 1;
  std::uint16_t originalNetwork = 0x20FA;
  int segmentLast = -1;  // -1: the last of all
  int lastTable = -1;    // -1: this one
};

Bytes eitSection(const EventHead& head, const std::vector<TestEvent>& events);

/// The five bytes of EN 300 468, annex C, and three of a length.
Bytes momentBytes(std::int64_t utc);
Bytes lengthBytes(std::int64_t seconds);

Bytes shortEvent(std::string_view language, std::string_view title, std::string_view text);
Bytes extendedEvent(unsigned number, unsigned last, std::string_view language, std::string_view text,
                    const std::vector<std::pair<std::string_view, std::string_view>>& items = {});

}  // namespace durix::test

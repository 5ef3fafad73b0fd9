#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "middleware/stream/PacketView.h"

namespace durix::test {

/// Writes teletext packets (EN 300 706) into PES packets (EN 300 472) into transport packets, a page at a time.
class Carousel {
 public:
  using Packets = std::vector<std::array<std::uint8_t, PACKET_SIZE>>;

  explicit Carousel(std::uint16_t pid) : _pid(pid) {}

  /// The digits are as they are written: 0x100 to 0x8FF, 0 to 0x3F7F. The text stands in line 1; a clock of eight
  /// characters in the header. The page is whole for a receiver when the next one begins.
  Packets page(unsigned page, unsigned subpage, const std::string& text, const std::string& clock = "12:00:00");

 private:
  std::uint16_t _pid;
  std::uint8_t _continuity = 0;
};

}  // namespace durix::test

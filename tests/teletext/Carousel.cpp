#include "tests/teletext/Carousel.h"

#include <bit>

namespace durix::test {
namespace {

using Line = std::array<std::uint8_t, 42>;

/// EN 300 706, 8.2: data bits in every other place, protection bits between.
std::uint8_t hamming84(unsigned value) {
  const auto bit = [value](unsigned n) { return value >> n & 1U; };
  const unsigned p1 = 1 ^ bit(0) ^ bit(2) ^ bit(3);
  const unsigned p2 = 1 ^ bit(0) ^ bit(1) ^ bit(3);
  const unsigned p3 = 1 ^ bit(0) ^ bit(1) ^ bit(2);
  const unsigned low = p1 | bit(0) << 1 | p2 << 2 | bit(1) << 3 | p3 << 4 | bit(2) << 5 | bit(3) << 7;
  const unsigned parity = 1U ^ (static_cast<unsigned>(std::popcount(low)) & 1U);
  return static_cast<std::uint8_t>(low | parity << 6);
}

std::uint8_t oddParity(char letter) {
  const auto code = static_cast<unsigned>(letter) & 0x7FU;
  return static_cast<std::uint8_t>(code | (std::popcount(code) % 2 == 0 ? 0x80U : 0U));
}

Line lineOf(unsigned magazine, unsigned number) {
  Line line;
  line.fill(oddParity(' '));
  line[0] = hamming84((magazine & 7U) | (number & 1U) << 3);
  line[1] = hamming84(number >> 1);
  return line;
}

Line headerOf(unsigned page, unsigned subpage, const std::string& clock) {
  constexpr unsigned ERASE = 8;  // C4
  Line line = lineOf(page >> 8, 0);
  line[2] = hamming84(page & 0xF);
  line[3] = hamming84(page >> 4 & 0xF);
  line[4] = hamming84(subpage & 0xF);
  line[5] = hamming84((subpage >> 4 & 0x7) | ERASE);
  line[6] = hamming84(subpage >> 8 & 0xF);
  line[7] = hamming84(subpage >> 12 & 0x3);
  line[8] = hamming84(0);
  line[9] = hamming84(1);  // C11: pages follow each other
  for (std::size_t i = 0; i < 3; ++i) line[11 + i] = oddParity("0123456789ABCDEF"[page >> (8 - 4 * i) & 0xF]);
  for (std::size_t i = 0; i < clock.size(); ++i) line[34 + i] = oddParity(clock[i]);
  return line;
}

}  // namespace

Carousel::Packets Carousel::page(unsigned page, unsigned subpage, const std::string& text, const std::string& clock) {
  std::array<std::uint8_t, 184> pes;
  pes.fill(0xFF);
  constexpr std::uint8_t HEADER[] = {0, 0, 1, 0xBD, 0, 178, 0x84, 0, 0x24};
  std::copy(std::begin(HEADER), std::end(HEADER), pes.begin());
  std::size_t at = 45;
  pes[at++] = 0x10;
  Line body = lineOf(page >> 8, 1);
  for (std::size_t i = 0; i < text.size(); ++i) body[2 + i] = oddParity(text[i]);
  for (const Line& line : {headerOf(page, subpage, clock), body}) {
    for (const int byte : {0x02, 0x2C, 0xE7, 0xE4}) pes[at++] = static_cast<std::uint8_t>(byte);
    for (const std::uint8_t byte : line) {
      std::uint8_t turned = 0;
      for (int bit = 0; bit < 8; ++bit) turned = static_cast<std::uint8_t>(turned << 1 | (byte >> bit & 1));
      pes[at++] = turned;
    }
  }
  pes[at] = 0xFF;  // stuffing up to the end
  pes[at + 1] = static_cast<std::uint8_t>(pes.size() - at - 2);
  std::array<std::uint8_t, PACKET_SIZE> packet{SYNC_BYTE, static_cast<std::uint8_t>(0x40 | _pid >> 8),
                                               static_cast<std::uint8_t>(_pid),
                                               static_cast<std::uint8_t>(0x10 | _continuity)};
  std::copy(pes.begin(), pes.end(), packet.begin() + 4);
  _continuity = (_continuity + 1) & 0xF;
  return {packet};
}

}  // namespace durix::test

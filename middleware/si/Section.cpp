#include "middleware/si/Section.h"

#include <array>

namespace durix {

namespace {
constexpr std::uint32_t POLYNOMIAL = 0x04C11DB7;

constexpr std::array<std::uint32_t, 256> makeTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    std::uint32_t value = i << 24;
    for (int bit = 0; bit < 8; ++bit) value = (value << 1) ^ ((value & 0x80000000U) != 0 ? POLYNOMIAL : 0);
    table[i] = value;
  }
  return table;
}

constexpr auto TABLE = makeTable();
}  // namespace

std::uint32_t sectionChecksum(std::span<const std::uint8_t> bytes) {
  std::uint32_t checksum = 0xFFFFFFFF;
  for (const std::uint8_t byte : bytes) checksum = checksum << 8 ^ TABLE[checksum >> 24 ^ byte];
  return checksum;
}

}  // namespace durix

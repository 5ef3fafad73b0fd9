#include "middleware/stream/PacketView.h"

namespace durix {

namespace {
constexpr std::size_t HEADER_SIZE = 4;
constexpr std::uint8_t DISCONTINUITY_FLAG = 0x80;
constexpr std::uint8_t PCR_FLAG = 0x10;
constexpr std::size_t FLAGS_AND_PCR_SIZE = 7;
}  // namespace

std::uint8_t PacketView::adaptationFlags() const {
  return hasAdaptation() && _bytes[HEADER_SIZE] > 0 ? _bytes[HEADER_SIZE + 1] : 0;
}

bool PacketView::isDiscontinuity() const {
  return (adaptationFlags() & DISCONTINUITY_FLAG) != 0;
}

std::span<const std::uint8_t> PacketView::payload() const {
  if (!hasPayload()) return {};
  std::size_t start = HEADER_SIZE;
  if (hasAdaptation()) start += 1U + _bytes[HEADER_SIZE];
  if (start >= PACKET_SIZE) return {};
  return _bytes.subspan(start);
}

std::optional<std::uint64_t> PacketView::pcr() const {
  if ((adaptationFlags() & PCR_FLAG) == 0 || _bytes[HEADER_SIZE] < FLAGS_AND_PCR_SIZE) return std::nullopt;
  const auto at = [this](std::size_t i) { return static_cast<std::uint64_t>(_bytes[HEADER_SIZE + 2 + i]); };
  const std::uint64_t base = at(0) << 25 | at(1) << 17 | at(2) << 9 | at(3) << 1 | at(4) >> 7;
  const std::uint64_t extension = (at(4) & 1) << 8 | at(5);
  return base * 300 + extension;
}

}  // namespace durix

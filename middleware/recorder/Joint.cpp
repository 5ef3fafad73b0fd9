#include "middleware/recorder/Joint.h"

namespace durix {
namespace {
constexpr std::uint8_t ADAPTATION_ONLY = 0x20;
constexpr std::uint8_t DISCONTINUITY = 0x80;
constexpr std::uint8_t COUNTER_MASK = 0x0F;
}  // namespace

void Joint::begin() {
  _isThere = true;
  _joined.clear();
  _due.clear();
}

std::optional<Joint::Packet> Joint::before(const PacketView& packet) {
  const bool isDue = _due.erase(packet.pid()) > 0;
  const bool isFirst = _isThere && _joined.insert(packet.pid()).second;
  if (!isDue && !isFirst) return std::nullopt;
  const int step = packet.hasPayload() ? 1 : 0;  // a packet without payload does not count
  Packet mark{};
  mark.fill(0xFF);
  mark[0] = SYNC_BYTE;
  mark[1] = static_cast<std::uint8_t>(packet.pid() >> 8U);
  mark[2] = static_cast<std::uint8_t>(packet.pid());
  mark[3] = static_cast<std::uint8_t>(ADAPTATION_ONLY | ((packet.continuity() - step) & COUNTER_MASK));
  mark[4] = PACKET_SIZE - 5;
  mark[5] = DISCONTINUITY;
  return mark;
}

}  // namespace durix

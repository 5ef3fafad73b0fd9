#include "middleware/stream/Reception.h"

#include <algorithm>

namespace durix {

double Reception::lostShare() const {
  const std::uint64_t sent = packets + damagedPackets;
  if (packets == 0) return 1.0;
  return std::min(1.0, static_cast<double>(std::max(continuityErrors, damagedPackets)) / static_cast<double>(sent));
}

// ISO/IEC 13818-1, 2.4.3.3: the counter stands still without payload and in a packet that is sent twice.
void ReceptionMeter::feed(const PacketView& packet) {
  ++_reception.packets;
  if (packet.pid() == NULL_PID || !packet.hasPayload()) return;
  auto& last = _continuity[packet.pid()];
  const std::uint8_t counter = packet.continuity();
  const bool isExpected = last == NO_COUNTER || counter == last || counter == ((last + 1) & 0x0F);
  if (!isExpected && !packet.isDiscontinuity()) ++_reception.continuityErrors;
  last = counter;
}

}  // namespace durix

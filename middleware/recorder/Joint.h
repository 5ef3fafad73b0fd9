#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <set>

#include "middleware/stream/PacketView.h"

namespace durix {

/// Where one reception continues what another one has left: in front of the first packet of each PID stands one without
/// payload that says so (ISO/IEC 13818-1, 2.4.3.5), since counters and clocks jump there. Used by one thread.
class Joint {
 public:
  /// A joint is here: of everything, or of one PID.
  void begin();
  void begin(std::uint16_t pid) { _due.insert(pid); }

  /// What comes before this packet.
  using Packet = std::array<std::uint8_t, PACKET_SIZE>;
  std::optional<Packet> before(const PacketView& packet);

 private:
  bool _isThere = false;
  std::set<std::uint16_t> _joined;
  std::set<std::uint16_t> _due;  // for joints of their own
};

}  // namespace durix

#pragma once

#include <array>
#include <cstdint>

#include "middleware/stream/PacketView.h"

namespace durix {

/// How well a multiplex was received, as its packets show it.
struct Reception {
  std::uint64_t packets = 0;           // good ones, stuffing included
  std::uint64_t damagedPackets = 0;    // dropped: they said so themselves, or their sync byte was hit
  std::uint64_t continuityErrors = 0;  // gaps in the counters of PIDs: at least one packet each is missing
  std::uint64_t damagedSections = 0;   // wrong checksum

  /// The share of packets that were surely lost or damaged, 0 to 1; 1 without any packet. A damaged packet leaves a gap
  /// behind in its PID, which is not counted again.
  double lostShare() const;
};

/// Counts the good packets of a multiplex and what is missing between them. Used by one thread.
class ReceptionMeter {
 public:
  ReceptionMeter() { _continuity.fill(NO_COUNTER); }

  void feed(const PacketView& packet);

  /// `packets` and `continuityErrors`.
  const Reception& reception() const { return _reception; }

 private:
  static constexpr std::uint8_t NO_COUNTER = 0xFF;

  std::array<std::uint8_t, PID_COUNT> _continuity{};  // the last counter of each PID, or none
  Reception _reception;
};

}  // namespace durix

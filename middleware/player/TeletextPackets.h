#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "middleware/stream/PacketView.h"

namespace durix {

/// Takes the teletext packets out of the PES packets of one PID (EN 300 472). Used by one thread.
class TeletextPackets {
 public:
  /// A teletext packet without clock run-in and framing code, the bits in the order of EN 300 706.
  using Packet = std::array<std::uint8_t, 42>;

  /// Gets the packets of one PES packet; `afterLoss` when others before them did not arrive.
  using Sink = std::function<void(std::span<const Packet> packets, bool afterLoss)>;

  explicit TeletextPackets(Sink sink) : _sink(std::move(sink)) {}

  /// A transport packet of the PID.
  void feed(const PacketView& packet);

  /// What is in progress is not continued; nor is anything before it.
  void drop();

 private:
  void finishWhole();
  void takeUnits(std::span<const std::uint8_t> units);

  const Sink _sink;
  std::vector<std::uint8_t> _pes;  // what has come of it; empty while none is in progress
  std::vector<Packet> _packets;
  bool _isLossy = false;
  bool _hasLast = false;
  std::uint8_t _lastContinuity = 0;
};

}  // namespace durix

#pragma once

#include <cstdint>

#include "middleware/stream/PacketView.h"

namespace durix {

/// Looks on while multiplexes are received, whoever they are received for. Called on the receiving threads; must never
/// wait for anything.
class StreamTap {
 public:
  StreamTap() = default;
  StreamTap(const StreamTap&) = delete;
  StreamTap& operator=(const StreamTap&) = delete;
  virtual ~StreamTap() = default;

  /// `loop` counts how often the stream has begun again since it is received.
  virtual void see(std::uint32_t multiplex, std::uint64_t loop, const PacketView& packet) = 0;
};

}  // namespace durix

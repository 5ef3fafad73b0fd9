#pragma once

#include <chrono>
#include <cstdint>

#include "middleware/stream/PacketView.h"

namespace durix {

/// How much broadcast time the packets of a stream have covered, by the clock references of one programme. Jumps of the
/// clock count as no time; when the programme falls silent, another one's clock is taken. Used by one thread.
class StreamClock {
 public:
  void feed(const PacketView& packet);

  /// Time since the first clock reference; zero as long as the stream has shown none.
  std::chrono::milliseconds elapsed() const { return std::chrono::milliseconds(_ticks / 27000); }

 private:
  std::uint16_t _pid = NULL_PID;  // whose clock is followed
  std::uint64_t _last = 0;        // its last reference
  std::uint64_t _ticks = 0;       // of 27 MHz
  std::uint32_t _silence = 0;     // packets since
};

}  // namespace durix

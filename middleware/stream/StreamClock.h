#pragma once

#include <chrono>
#include <cstdint>
#include <map>

#include "middleware/stream/PacketView.h"

namespace durix {

/// How much broadcast time the packets of a stream have covered, by the clock references of one programme. Jumps of the
/// clock count as no time. When the programme's clock falls silent, moves to another PID or ends, another one's is
/// taken, and what that has covered meanwhile counts, right but for one interval of references. Used by one thread.
class StreamClock {
 public:
  void feed(const PacketView& packet);

  /// Time since the first clock reference; zero as long as the stream has shown none.
  std::chrono::milliseconds elapsed() const { return std::chrono::milliseconds(_ticks / 27000); }

 private:
  struct Clock {
    std::uint64_t last = 0;    // its last reference; ticks of 27 MHz, as the next
    std::uint64_t ahead = 0;   // what it has covered since the last reference that counted
    bool isMeasuring = false;  // there is a reference of its own since then, to measure from
  };

  std::map<std::uint16_t, Clock> _clocks;  // by PID
  std::uint16_t _pid = NULL_PID;           // whose clock is followed
  std::uint64_t _ticks = 0;                // of 27 MHz
};

}  // namespace durix

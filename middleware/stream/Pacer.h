#pragma once

#include <chrono>
#include <cstdint>

#include "middleware/stream/StreamClock.h"

namespace durix {

/// How long a packet takes while a stream shows no clock: as if it had 8 Mbit/s. In ticks of 27 MHz.
inline constexpr std::uint64_t UNCLOCKED_TICKS_PER_PACKET = PACKET_SIZE * 8 * 27 / 8;

/// Says when the packets of a stream are due, so that they come as a broadcast does. Used by one thread.
class Pacer {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// The moment at which the packet is to be handed on. A packet that is not due yet may be handed on now when that is
  /// less than a burst away; what comes too late moves everything behind it.
  Time due(const PacketView& packet, Time now);

  static constexpr std::chrono::milliseconds BURST{40};

 private:
  StreamClock _clock;
  std::chrono::milliseconds _told{0};  // by the clock, so far
  std::uint64_t _silence = 0;          // packets since it told something
  std::uint64_t _unclocked = 0;        // ticks that are counted for these
  Time _start;                         // when the packets of time 0 were due
};

}  // namespace durix

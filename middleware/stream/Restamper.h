#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <map>

#include "middleware/stream/PacketView.h"

namespace durix {

/// Makes one stream of the loops of a stream: behind the first loop, which stays as it is, clock references, time
/// stamps and continuity counters go on where the loop before has ended. All times of a loop are moved by the same, so
/// that they keep fitting together; gaps in the counters inside a loop stay. Used by one thread.
class Restamper {
 public:
  Restamper();

  /// The packet as it is to go out, valid until the next call.
  PacketView stamp(const PacketView& packet);

  /// The next packet is the stream's first again.
  void beginLoop();

 private:
  /// The clock of a programme in the present loop, as it came.
  struct Clock {
    std::uint64_t first = 0, last = 0;
    std::uint64_t elapsed = 0;  // jumps left out
    std::uint64_t references = 0;
    bool hasJumped = false;
  };

  void follow(std::uint16_t pid, std::uint64_t pcr, bool isDiscontinuity);
  std::uint64_t duration() const;
  std::uint8_t continuityOf(const PacketView& packet);
  void moveTimes(const PacketView& packet);
  void moveTimeStamp(std::size_t position);

  // of the present loop
  std::map<std::uint16_t, Clock> _clocks;  // by PID
  std::uint64_t _packets = 0;
  std::bitset<PID_COUNT> _hasBegun;

  // of all loops
  std::uint64_t _shift = 0;  // in ticks of 27 MHz, whole ones of 90 kHz
  bool _isFirstLoop = true;
  std::array<std::uint8_t, PID_COUNT> _lastCounter{};  // that went out, or none
  std::array<std::uint8_t, PID_COUNT> _counterShift{};

  std::array<std::uint8_t, PACKET_SIZE> _packet{};  // that is stamped
};

}  // namespace durix

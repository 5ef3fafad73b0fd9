#pragma once

#include <cstdint>

#include "middleware/stream/PacketView.h"

namespace durix {

/// What a receiver is used for; who comes later may take it from who comes before. A scan, which the viewer waits for,
/// takes it from the guide and from what plays.
enum class ReceiverUse : std::uint8_t { Guide, Live, Scan, Recording };

/// Somebody who takes the packets of a multiplex, in their order and in real time. Called on the receiving thread, one
/// call at a time; must never wait for anything.
class PacketTaker {
 public:
  enum class End : std::uint8_t {
    Taken,  // the receiver was needed for something more important
    Lost,   // there is no signal any more
    Closed  // the middleware ends
  };

  PacketTaker() = default;
  PacketTaker(const PacketTaker&) = delete;
  PacketTaker& operator=(const PacketTaker&) = delete;
  virtual ~PacketTaker() = default;

  virtual void take(const PacketView& packet) = 0;

  /// A file begins again with the next packet, which does not continue what was in progress. Clocks and counters do not
  /// show it.
  virtual void beginAgain() {}

  /// The last call.
  virtual void end(End reason) = 0;
};

}  // namespace durix

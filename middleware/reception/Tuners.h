#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "middleware/reception/PacketTaker.h"
#include "middleware/store/Catalogue.h"

namespace durix {

class EventQueue;
class ReceiverPool;
class StreamTap;

/// A share in a receiver: while it lives, its taker gets packets. When it is gone, nobody is inside the taker, except
/// when the taker itself lets it go.
class TunedShare {
 public:
  TunedShare() = default;
  TunedShare(const TunedShare&) = delete;
  TunedShare& operator=(const TunedShare&) = delete;
  virtual ~TunedShare() = default;
};

/// Who uses which receiver. Users of one multiplex share one. Owned by the instance; any thread.
class Tuners {
 public:
  /// All outlive this. The tap, if there is one, sees every multiplex that is received.
  Tuners(EventQueue& events, const ReceiverPool& receivers, StreamTap* tap = nullptr);
  Tuners(const Tuners&) = delete;
  Tuners& operator=(const Tuners&) = delete;
  ~Tuners();

  /// The receiver that is on the multiplex, a free one, or one that is used for something less important, whose takers
  /// are then ended. Packets come from now on, even before this returns, at the pace of the broadcast's clock, until
  /// the share is gone; a file begins again at its end, and its clocks, time stamps and counters go on. Throws Failure:
  /// Busy without a receiver to be had, NoSignal where nothing is sent, Failed when it cannot be read. NoInstance once
  /// it is stopped.
  std::unique_ptr<TunedShare> open(const StoredMultiplex& multiplex, ReceiverUse use, PacketTaker& taker);

  /// A receiver for somebody who reads by himself, a scan or the guide: null when none is to be had. `end` of the taker
  /// says that it is to be given back at once, on the thread of who takes it; `take` is never called. Throws NoInstance
  /// as above.
  std::unique_ptr<TunedShare> reserve(ReceiverUse use, PacketTaker& taker);

  /// How many there are, and which multiplexes are received for a use or a more important one.
  std::uint32_t count() const;
  std::vector<std::uint32_t> multiplexes(ReceiverUse atLeast) const;

  /// What each receiver that is not free does.
  struct Occupation {
    std::optional<StoredMultiplex> multiplex;  // none: whoever has it reads by himself
    ReceiverUse use = ReceiverUse::Guide;      // the most important one
    std::uint32_t users = 0;
  };
  std::vector<Occupation> occupations() const;

  /// Ends every taker and waits for the last of their calls; shares may outlive it. Later calls of open() fail.
  void stop();

 private:
  class Share;
  class Table;
  const std::shared_ptr<Table> _table;  // the shares' too
};

}  // namespace durix

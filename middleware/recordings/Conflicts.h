#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "middleware/recordings/Recording.h"

namespace durix {

/// What a timer needs of the receivers: one that is on its multiplex, from `start` to before `end`.
struct Demand {
  std::uint32_t timer = 0;
  std::uint32_t multiplex = 0;
  std::int64_t start = 0;
  std::int64_t end = 0;
};

/// Those of the others that stand in the way of a demand, in their order: at some moment of it there are more
/// multiplexes to be received than receivers. Demands of one multiplex share a receiver.
std::vector<std::uint32_t> conflictsOf(const Demand& wanted, std::span<const Demand> others, std::uint32_t receivers);

/// What the recording timers of a receiver type need; time shifts give way.
std::vector<Demand> demandsOf(std::span<const Timer> timers, const Catalogue& catalogue, ReceiverType receiver,
                              std::uint32_t exceptTimer = 0);

}  // namespace durix

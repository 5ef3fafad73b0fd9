#include "middleware/recordings/Conflicts.h"

#include <algorithm>
#include <set>

namespace durix {
namespace {

bool covers(const Demand& demand, std::int64_t moment) {
  return demand.start <= moment && moment < demand.end;
}

}  // namespace

// The number of multiplexes grows only where a demand begins: these are the moments to look at.
std::vector<std::uint32_t> conflictsOf(const Demand& wanted, std::span<const Demand> others, std::uint32_t receivers) {
  std::set<std::int64_t> moments{wanted.start};
  for (const Demand& other : others) {
    if (covers(wanted, other.start)) moments.insert(other.start);
  }
  std::set<std::uint32_t> inTheWay;
  for (const std::int64_t moment : moments) {
    std::set<std::uint32_t> multiplexes{wanted.multiplex};
    for (const Demand& other : others) {
      if (covers(other, moment)) multiplexes.insert(other.multiplex);
    }
    if (multiplexes.size() <= receivers) continue;
    for (const Demand& other : others) {
      if (covers(other, moment) && other.multiplex != wanted.multiplex) inTheWay.insert(other.timer);
    }
  }
  std::vector<std::uint32_t> timers;
  for (const Demand& other : others) {
    if (inTheWay.contains(other.timer)) timers.push_back(other.timer);
  }
  return timers;
}

std::vector<Demand> demandsOf(std::span<const Timer> timers, const Catalogue& catalogue, ReceiverType receiver,
                              std::uint32_t exceptTimer) {
  std::vector<Demand> demands;
  for (const Timer& timer : timers) {
    if (timer.type != TimerType::Recording || timer.service.receiver != receiver || timer.id == exceptTimer) continue;
    const auto* const service = catalogue.service(timer.service.id);
    if (service != nullptr) demands.push_back({timer.id, service->multiplex, timer.start, timer.end});
  }
  return demands;
}

}  // namespace durix

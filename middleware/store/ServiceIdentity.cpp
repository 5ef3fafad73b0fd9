#include "middleware/store/ServiceIdentity.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace durix {
namespace {

using Triplet = std::tuple<std::uint16_t, std::uint16_t, std::uint16_t>;

template <typename Service>
Triplet tripletOf(const Service& service) {
  return {service.originalNetworkId, service.transportStreamId, service.serviceId};
}

bool agreeButForStream(const StoredService& known, const ScannedService& found) {
  return known.originalNetworkId == found.originalNetworkId && known.serviceId == found.serviceId &&
         known.name == found.name;
}

// Of several receptions of a service the best one stays, of equal ones that on the multiplex it was on, or the first.
std::vector<bool> findDuplicates(std::span<const FoundService> found, const std::map<Triplet, std::uint32_t>& homes) {
  std::vector<bool> isDuplicate(found.size());
  std::map<Triplet, std::size_t> best;
  for (std::size_t i = 0; i < found.size(); ++i) {
    const auto key = tripletOf(found[i].service);
    const auto [place, isFirst] = best.emplace(key, i);
    if (isFirst) continue;
    const auto home = homes.find(key);
    const auto rank = [&](std::size_t index) {
      return std::pair(found[index].quality, home != homes.end() && home->second == found[index].multiplex);
    };
    const bool isBetter = rank(i) > rank(place->second);
    isDuplicate[isBetter ? std::exchange(place->second, i) : i] = true;
  }
  return isDuplicate;
}

}  // namespace

Identities identify(std::span<const StoredService* const> known, std::span<const FoundService> found,
                    const std::set<std::uint32_t>& received) {
  std::map<Triplet, std::uint32_t> homes;  // the multiplex of each known service
  std::map<Triplet, const StoredService*> byTriplet;
  for (const auto* service : known) {
    homes.emplace(tripletOf(*service), service->multiplex);
    byTriplet.emplace(tripletOf(*service), service);
  }
  Identities result{.known = std::vector<std::optional<std::uint32_t>>(found.size()),
                    .isDuplicate = findDuplicates(found, homes),
                    .gone = {}};

  std::set<std::uint32_t> taken;
  for (std::size_t i = 0; i < found.size(); ++i) {
    const auto same = byTriplet.find(tripletOf(found[i].service));
    if (result.isDuplicate[i] || same == byTriplet.end()) continue;
    result.known[i] = same->second->id;
    taken.insert(same->second->id);
  }

  const auto isGone = [&](const StoredService& service) {
    return !taken.contains(service.id) && (service.isHidden || received.contains(service.multiplex));
  };
  for (std::size_t i = 0; i < found.size(); ++i) {
    if (result.isDuplicate[i] || result.known[i]) continue;
    const auto moved = std::find_if(known.begin(), known.end(), [&](const StoredService* service) {
      return isGone(*service) && agreeButForStream(*service, found[i].service);
    });
    if (moved == known.end()) continue;
    result.known[i] = (*moved)->id;
    taken.insert((*moved)->id);
  }

  for (const auto* service : known) {
    if (!service->isHidden && isGone(*service)) result.gone.push_back(service->id);
  }
  return result;
}

}  // namespace durix

#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <vector>

#include "middleware/store/Catalogue.h"

namespace durix {

/// A service that a scan found on a multiplex of the store.
struct FoundService {
  std::uint32_t multiplex = 0;
  ScannedService service;
  std::int32_t quality = 0;
};

/// Which found service is which known one.
struct Identities {
  /// For each found service, in their order, the identifier of the known one that it is; nothing for a new one. A
  /// service that was found twice is dropped but for its best reception, see `isDuplicate`.
  std::vector<std::optional<std::uint32_t>> known;
  std::vector<bool> isDuplicate;
  /// Known ones that are gone.
  std::vector<std::uint32_t> gone;
};

/// The identity of services over scans:
/// - network, transport stream and service name a service; on another frequency it has moved;
/// - on another transport stream it is the same when network, service and name agree and the old one is gone;
/// - it is gone when its multiplex was received whole and it was not found anywhere; where there was no signal, or not
///   all of it, nothing is gone.
/// `known` are the services of one receiver type in the order of their identifiers, `received` the multiplexes whose
/// list of services is whole.
Identities identify(std::span<const StoredService* const> known, std::span<const FoundService> found,
                    const std::set<std::uint32_t>& received);

}  // namespace durix

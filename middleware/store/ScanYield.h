#pragma once

#include <vector>

#include "durix/durix.h"
#include "middleware/receivers/ReceiverSettings.h"
#include "middleware/si/ScannedService.h"

namespace durix {

/// What a scan brought, for the store.
struct ScanYield {
  /// A frequency with tables; those without signal are not among them.
  struct Multiplex {
    durix_scan_frequency tuning{};
    Reception reception;
    bool isDescribed = false;  // by an SDT: names and networks are the broadcaster's own
    bool isWhole = false;      // nothing of the list of services is missing
    std::vector<ScannedService> services;
  };

  ReceiverType receiver = ReceiverType::Any;
  std::vector<Multiplex> multiplexes;
};

}  // namespace durix

#pragma once

#include <string>
#include <vector>

#include "support/Lock.h"
#include "velmora/Service.h"

/// The user's channel order, "service_order.dat": one line "%d.%d\n" for each service, its content identifier and its
/// original network, in display order. The portability layer says where the file lies. Any thread may use it.
class ServiceOrderFile {
 public:
  std::string read();  // the whole text; empty when the file cannot be opened
  void write(const std::vector<Service*>& services);

 private:
  RankedMutex _mutex{LockRank::OrderFile};  // so that nobody reads half a file
};

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/Lock.h"
#include "velmora/Service.h"

/// The user's channel order, "service_order.dat": one line "%d.%d\n" for each service, its content identifier and its
/// original network, in display order. The portability layer says where the file lies.
class ServiceOrderFile {
 public:
  struct Line {
    std::int32_t id;
    std::int32_t network;
  };

  /// The lines in order; none when the file cannot be opened.
  std::vector<Line> read();
  void write(const std::vector<Service*>& services);

  /// The lines of a file's text. One with another number of fields than two is left out, any other text counts as 0.
  static std::vector<Line> parse(const std::string& text);

 private:
  RankedMutex _mutex{LockRank::OrderFile};  // so that nobody reads half a file
};

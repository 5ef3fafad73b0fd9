#pragma once

#include <string>
#include <vector>

#include "velmora/BroadcastPlugin.h"

namespace tv {

/// A place that can be scanned.
struct Location {
  std::string name;
  std::string icon;
};

/// The places that the plugin offers, in its order, each name once.
std::vector<Location> knownLocations(BroadcastPlugin& plugin);

/// The name of the place to scan: `wanted`, else the location option's value, else "Full Scan". Throws Failure with
/// near names when the plugin has no such place.
std::string chooseLocation(const std::string& wanted, BroadcastPlugin& plugin);

}  // namespace tv

#pragma once

#include <string>

namespace tv {

/// Where things lie when neither an option nor the environment says so.
struct Places {
  std::string data;     // the user's data directory for tv
  std::string library;  // holds locations/ and scan_conf.txt
  std::string plugin;   // the plugin's shared library
};

/// A built tree has bin/, lib/ and share/ side by side; an installed one has share/tv. Empty when nothing is found.
Places defaultPlaces();

/// The directory made absolute, and made when it is missing, for its owner alone. Throws Failure.
std::string prepareDataDirectory(const std::string& directory);

/// The directory made absolute. Throws Failure when it is none.
std::string requireLibraryDirectory(const std::string& directory);

}  // namespace tv

#pragma once

#include <string>

namespace tv {

/// Looks at every locations file under `libraryDirectory` before it is relied on: well-formed XML, a `locations` root
/// with a location, numbers that are numbers, ranges of a sensible length. Throws Failure that names the first file
/// with a fault and the fault.
void checkLocationFiles(const std::string& libraryDirectory);

/// As above for one file; gives the fault, empty when there is none.
std::string locationFileFault(const std::string& path);

}  // namespace tv

#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "BCLocation.h"
#include "LocationsXmlParser.h"
#include "support/Lock.h"
#include "velmora/Types.h"

/// The places that can be scanned: read from the locations files at start-up, offered to the user by name, filtered by
/// the receiver in use. Called by host threads and the event thread. A location lives until `clear`.
class LocationCatalogue {
 public:
  LocationCatalogue() = default;
  LocationCatalogue(const LocationCatalogue&) = delete;
  LocationCatalogue& operator=(const LocationCatalogue&) = delete;
  ~LocationCatalogue() { clear(); }

  /// Full paths of the files in "locations" under the library directory, those of a full scan first.
  std::vector<std::string> loadLocationFileNames();

  /// Adds the locations of one file.
  void loadLocationFromXml(const std::string& path);

  /// Start-up: reads all files aside, so that nobody sees half of them, puts them in place of what was there, and
  /// returns the sorted names.
  std::vector<std::string> loadAll();

  /// The offered names, sorted.
  std::vector<std::string> locationNames();
  /// Name to icon of what is offered.
  std::map<std::string, std::string> getCountriesAndFlags();

  /// From here on offers what suits this receiver: locations of its type or of type 0. Returns the sorted names; two
  /// suitable locations of one name are both in the list.
  std::vector<std::string> filterForReceiver(ReceiverType type);

  bool empty();

  // Of all locations, offered or not, in load order.
  BCLocation* findNamed(const std::string& name, ReceiverType type);  // the first; type 0 on either side suits
  BCLocation* findSuitable(ReceiverType type);                        // the first of this type or of type 0
  void forEachNamed(const std::string& name, const std::function<void(BCLocation*)>& visit);  // no lock is held

  /// True when the location has its frequencies, parsed now or earlier.
  bool loadScanConfigurationFromXml(BCLocation* location);

  /// Releases every location with its scan configuration.
  void clear();

  /// "Full Scan" goes first, the rest by letters without regard to A-Z case, bytes above ASCII last.
  static bool locationSorter(const std::string& a, const std::string& b);

 private:
  struct Tables {
    std::vector<std::unique_ptr<BCLocation>> _locationMap;  // in load order; the key to find one by is its name
    std::map<std::string, std::string> _locationIcons;
    std::vector<std::string> _locations;
  };
  using Locations = std::vector<std::unique_ptr<BCLocation>>;

  Locations readFile(const std::string& path);
  static std::vector<std::string> add(Tables& tables, Locations locations);
  static void release(const Locations& locations);

  // guarded by _parserMutex
  RankedMutex _parserMutex{LockRank::Parser};
  LocationsXmlParser _locationsParser BC_GUARDED_BY(_parserMutex);

  // guarded by _containers, a leaf
  RankedMutex _containers{LockRank::Leaf};
  Tables _tables BC_GUARDED_BY(_containers);
};

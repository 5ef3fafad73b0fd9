#include "tuning/LocationCatalogue.h"

#include <algorithm>
#include <array>
#include <utility>

#include "durix/ostiv.h"
#include "support/Log.h"
#include "support/Text.h"
#include "velmora/Velmora.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

const std::string FULL_SCAN = "Full Scan";

bool isLocationFile(const ostiv_directory_entry& entry, const std::string& name) {
  return entry.type == OSTIV_ENTRY_FILE && name.size() >= 4 && name.ends_with(".xml");
}

bool suits(const BCLocation& location, ReceiverType type) {
  return location.type == RECEIVER_NONE || location.type == type;
}

/// The normalised path of a directory's entry; empty when it is longer than a path may be.
std::string fullPath(const std::string& directory, const std::string& name) {
  std::array<char, OSTIV_PATH_MAX> joined{};
  std::array<char, OSTIV_PATH_MAX> legal{};
  if (ostiv_file_path_join(joined.data(), OSTIV_PATH_MAX, directory.c_str(), name.c_str()) != 0 ||
      ostiv_file_legalize_filename(legal.data(), OSTIV_PATH_MAX, joined.data(), 1) != 0) {
    return {};
  }
  return fixedText(legal.data(), legal.size());
}

}  // namespace

std::vector<std::string> LocationCatalogue::loadLocationFileNames() {
  const std::string directory = Velmora::getInstance()->getProperty("system.library_directory") + "/locations/";
  BC_INFO(LOG, "loadLocationFileNames %s", directory.c_str());
  std::vector<std::string> paths;
  void* iterator = nullptr;
  ostiv_directory_entry entry{};
  while (ostiv_file_directory_read(directory.c_str(), &iterator, &entry) == 0) {
    const std::string name = fixedText(entry.name, sizeof entry.name);
    if (!isLocationFile(entry, name)) continue;
    const std::string path = fullPath(directory, name);
    if (path.empty()) continue;
    if (name.starts_with("fullscan")) {
      BC_INFO(LOG, "LOCATION_FULL_SCAN found");
      paths.insert(paths.begin(), path);
    } else {
      paths.push_back(path);
    }
  }
  return paths;
}

void LocationCatalogue::loadLocationFromXml(const std::string& path) {
  Locations locations = readFile(path);
  std::vector<std::string> newNames;
  {
    const Lock lock(_containers);
    newNames = add(_tables, std::move(locations));
  }
  for (const std::string& name : newNames) BC_INFO(LOG, "_locations push = %s", name.c_str());
}

std::vector<std::string> LocationCatalogue::loadAll() {
  Tables loaded;
  for (const std::string& path : loadLocationFileNames()) {
    for (const std::string& name : add(loaded, readFile(path))) BC_INFO(LOG, "_locations push = %s", name.c_str());
  }
  std::sort(loaded._locations.begin(), loaded._locations.end(), locationSorter);
  std::vector<std::string> names = loaded._locations;
  {
    const Lock lock(_containers);
    std::swap(_tables, loaded);
  }
  release(loaded._locationMap);
  return names;
}

std::vector<std::string> LocationCatalogue::locationNames() {
  std::vector<std::string> names;
  {
    const Lock lock(_containers);
    names = _tables._locations;
  }
  std::sort(names.begin(), names.end(), locationSorter);
  return names;
}

std::map<std::string, std::string> LocationCatalogue::getCountriesAndFlags() {
  const Lock lock(_containers);
  return _tables._locationIcons;
}

std::vector<std::string> LocationCatalogue::filterForReceiver(ReceiverType type) {
  const Lock lock(_containers);
  std::map<std::string, std::string> icons;
  std::vector<std::string> names;
  for (const auto& location : _tables._locationMap) {
    if (!suits(*location, type)) continue;
    names.push_back(location->name);
    icons.emplace(location->name, location->icon);  // the first of a name gives its icon
  }
  std::sort(names.begin(), names.end(), locationSorter);
  _tables._locationIcons = std::move(icons);
  _tables._locations = names;
  return names;
}

bool LocationCatalogue::empty() {
  const Lock lock(_containers);
  return _tables._locationMap.empty();
}

BCLocation* LocationCatalogue::findNamed(const std::string& name, ReceiverType type) {
  const Lock lock(_containers);
  for (const auto& location : _tables._locationMap) {
    if (location->name == name && (type == RECEIVER_NONE || suits(*location, type))) return location.get();
  }
  return nullptr;
}

BCLocation* LocationCatalogue::findSuitable(ReceiverType type) {
  const Lock lock(_containers);
  for (const auto& location : _tables._locationMap) {
    if (suits(*location, type)) return location.get();
  }
  return nullptr;
}

void LocationCatalogue::forEachNamed(const std::string& name, const std::function<void(BCLocation*)>& visit) {
  std::vector<BCLocation*> named;
  {
    const Lock lock(_containers);
    for (const auto& location : _tables._locationMap) {
      if (location->name == name) named.push_back(location.get());
    }
  }
  for (BCLocation* location : named) visit(location);
}

bool LocationCatalogue::loadScanConfigurationFromXml(BCLocation* location) {
  // Held over the question and the answer, or two threads would both parse and attach.
  const Lock lock(_parserMutex);
  if (location != nullptr && location->scanConfiguration != nullptr) return true;
  return _locationsParser.parseBCLocationData(location);
}

void LocationCatalogue::clear() {
  Tables old;
  {
    const Lock lock(_containers);
    std::swap(_tables, old);
  }
  release(old._locationMap);
}

bool LocationCatalogue::locationSorter(const std::string& a, const std::string& b) {
  if (a == FULL_SCAN && b != FULL_SCAN) return true;
  if (b == FULL_SCAN) return false;
  return asciiLower(a) < asciiLower(b);
}

LocationCatalogue::Locations LocationCatalogue::readFile(const std::string& path) {
  const Lock lock(_parserMutex);
  Locations locations;
  for (BCLocation* location : _locationsParser.createBCLocations(path)) locations.emplace_back(location);
  return locations;
}

/// Returns the names that were not known before.
std::vector<std::string> LocationCatalogue::add(Tables& tables, Locations locations) {
  std::vector<std::string> newNames;
  for (auto& location : locations) {
    if (tables._locationIcons.emplace(location->name, location->icon).second) {
      newNames.push_back(location->name);
      tables._locations.push_back(location->name);
    }
    tables._locationMap.push_back(std::move(location));
  }
  return newNames;
}

void LocationCatalogue::release(const Locations& locations) {
  for (const auto& location : locations) location->releaseScanConfiguration();
}

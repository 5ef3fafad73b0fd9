#include "LocationChoice.h"

#include <algorithm>
#include <map>
#include <set>

#include "Failure.h"
#include "OptionValues.h"
#include "Text.h"

namespace tv {
namespace {

Option* locationOption(BroadcastPlugin& plugin) {
  const std::vector<Option*> options = allOptions(*plugin.getOptions());
  const auto found =
      std::ranges::find_if(options, [](const Option* option) { return option->getType() == OPTION_LOCATION_LIST; });
  return found == options.end() ? nullptr : *found;
}

}  // namespace

std::vector<Location> knownLocations(BroadcastPlugin& plugin) {
  const std::map<std::string, std::string> icons = plugin.getCountriesAndFlags();
  std::vector<Location> places;
  std::set<std::string> seen;
  const auto add = [&](const std::string& name, const std::string& icon) {
    if (seen.insert(name).second) places.push_back({name, icon});
  };
  if (const Option* option = locationOption(plugin)) {  // it has them in the order for people
    for (const std::string& name : option->getPossibleStringValuesList()) {
      const auto icon = icons.find(name);
      if (icon != icons.end()) add(name, icon->second);
    }
  }
  for (const auto& [name, icon] : icons) add(name, icon);
  return places;
}

std::string chooseLocation(const std::string& wanted, BroadcastPlugin& plugin) {
  std::string name = wanted;
  if (const Option* option = locationOption(plugin); name.empty() && option != nullptr) name = option->getStringValue();
  if (name.empty()) name = "Full Scan";
  std::vector<std::string> names;
  for (const Location& place : knownLocations(plugin)) names.push_back(place.name);
  if (std::ranges::find(names, name) != names.end()) return name;
  const std::vector<std::string> near = nearNames(name, names);
  throw Failure("there is no location \"" + name + "\" for this receiver; " +
                (near.empty() ? "\"tv locations\" lists what there is" : "is it " + quotedList(near) + "?"));
}

}  // namespace tv

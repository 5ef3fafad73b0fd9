#include "host/src/HostOptions.h"

#include <mutex>

#include "host/src/ForEver.h"
#include "velmora/Option.h"

namespace host {
namespace {

constexpr const char* OWNER = "velmora";

// The ages that a broadcast can state (EN 300 468, parental_rating_descriptor): 4 to 18.
constexpr int YOUNGEST = 4;
constexpr int OLDEST = 18;
constexpr int DEFAULT_AGE = 12;

/// A top-level group that holds the group of parental control, whose listeners hear of every change inside it.
struct HostOptions {
  HostOptions();

  OptionGroup* const top = new OptionGroup;  // like its members, for ever
  Option* const enabled = new Option;
  Option* const age = new Option;

  std::mutex mutex;                  // a leaf
  std::vector<OptionGroup*> groups;  // guarded by mutex
};

HostOptions::HostOptions() {
  top->init(OWNER, "velmora.option.host.id", "velmora.option.host.description");
  auto* const parental = new OptionGroup;
  parental->init(OWNER, "velmora.option.parentalcontrol.id", "velmora.option.parentalcontrol.description");
  top->addOption(parental);

  enabled->init(OPTION_BOOL, OPTION_CATEGORY_PLAYBACK, OWNER, "velmora.option.parentalcontrol.enabled.id",
                "velmora.option.parentalcontrol.enabled.description", false);
  parental->addOption(enabled);

  age->init(OPTION_INTEGER, OPTION_CATEGORY_PLAYBACK, OWNER, "velmora.option.parentalcontrol.age.id",
            "velmora.option.parentalcontrol.age.description", false);
  std::vector<int> ages;
  for (int possible = YOUNGEST; possible <= OLDEST; ++possible) ages.push_back(possible);
  age->setPossibleIntValuesList(ages);
  age->setValue(DEFAULT_AGE);
  parental->addOption(age);
  groups.push_back(top);
}

}  // namespace

std::optional<int> parentalLimit() {
  const auto& options = forEver<HostOptions>();
  if (!options.enabled->getBooleanValue()) return std::nullopt;
  return options.age->getIntegerValue();
}

std::vector<OptionGroup*> hostOptionGroups() {
  auto& options = forEver<HostOptions>();
  const std::lock_guard lock(options.mutex);
  return options.groups;
}

void keepOptionGroup(OptionGroup* group) {
  auto& options = forEver<HostOptions>();
  const std::lock_guard lock(options.mutex);
  options.groups.push_back(group);
}

}  // namespace host

#pragma once

#include <optional>
#include <vector>

class OptionGroup;

namespace host {

/// The viewer's age while parental control is on: content whose rating is above it is blocked. Nothing while it is off.
std::optional<int> parentalLimit();

/// The host's own option groups; the first holds parental control.
std::vector<OptionGroup*> hostOptionGroups();

void keepOptionGroup(OptionGroup* group);

}  // namespace host

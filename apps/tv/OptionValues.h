#pragma once

#include <string>
#include <vector>

#include "velmora/Option.h"

namespace tv {

/// The type's name in the output of `settings`.
std::string optionTypeName(OptionType type);

/// What the option's value can be, as texts; empty when anything of its type goes.
std::vector<std::string> possibleValues(const Option& option);

/// Why the option cannot have the value; empty when it can.
std::string valueFault(const Option& option, const std::string& value);

/// Gives the option a value that `valueFault` found nothing wrong with.
void setOptionValue(Option& option, const std::string& value);

/// The options of the groups, in order, without groups.
std::vector<Option*> allOptions(const std::vector<OptionGroup*>& groups);

}  // namespace tv

#pragma once

#include "CommandLine.h"

namespace tv {

/// Tells people how many channels the hide options leave out of the list, and how to see them.
void tellHidden(const Context& context);

}  // namespace tv

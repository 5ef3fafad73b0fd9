#pragma once

#include <cstdint>
#include <string>

#include "middleware/recordings/Recording.h"

namespace durix {

class Instance;

/// A timer for a service as it is now, with what the guide says of the time. Throws Failure UnknownObject.
Timer newTimer(Instance& instance, std::uint32_t service);

/// What the guide has on for a timer, by its name, else for most of its time.
void describeByGuide(Instance& instance, Timer& timer);

/// Throws Failure with the code of the contract, in this order: time, conflict, room; a directory that is not there is
/// a failure of its own. A timer that is known already does not stand in its own way.
void checkTimer(Instance& instance, const Timer& timer);

}  // namespace durix

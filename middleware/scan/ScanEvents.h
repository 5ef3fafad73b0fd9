#pragma once

#include <span>
#include <string>

#include "middleware/events/EventRecord.h"

namespace durix {

/// Names are cut to 31 bytes between two characters. `percent` is 0 to 100.
EventRecord discoverProgress(std::uint32_t percent, std::int32_t frequency, bool isValid,
                             std::span<const std::string> names);
EventRecord discoverFinished(std::span<const std::string> names);

}  // namespace durix

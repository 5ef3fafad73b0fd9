#pragma once

#include <filesystem>

namespace host {

/// Per cent of the first system battery below a directory that is laid out as Linux's /sys/class/power_supply; 100
/// where there is none.
unsigned char batteryLevel(const std::filesystem::path& supplies);

}  // namespace host

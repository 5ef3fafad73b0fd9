#pragma once

#include <cstdint>

/// Seconds since the epoch by the platform's one clock, which the host's times and timers follow too.
std::int64_t currentTime();

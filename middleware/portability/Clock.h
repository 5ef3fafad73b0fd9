#pragma once

#include <cstdint>

/// The one clock of the platform, in seconds since the epoch; ostiv_time_get_system_time shows it. It runs in real
/// time: the system's, or on from where a broadcast or a test has set it, and then it never goes back. Any thread.
namespace durix::clock {

std::int64_t now();

/// Shows `seconds` at this moment and runs on from there.
void set(std::int64_t seconds);

/// Shows the system's time again.
void reset();

using Source = std::int64_t (*)(void* user);

/// Another clock altogether; null for this one again. The old one is not called any more when this returns.
void replace(Source source, void* user);

}  // namespace durix::clock

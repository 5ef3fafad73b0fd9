#pragma once

#include <cstdint>
#include <functional>

/// The host's one clock: the times that the host gives, and every VmTimer, follow it. Any thread may call.
namespace host {

/// Gives seconds since the epoch. Called from any thread with no lock of the host held; it must not throw.
using Clock = std::function<std::int64_t()>;

/// Replaces the clock; an empty one brings back the system's. Every timer looks at the new clock at once.
/// The one before may still be in a call when this returns.
void setClock(Clock clock);

/// Seconds since the epoch by the clock in use.
std::int64_t now();

/// Tells that the clock has jumped. Timers notice it on their own within a second; this makes it at once.
void clockChanged();

/// Returns when every timeout that is due has been served, those included that were armed meanwhile. On a timer's own
/// thread that timer is left out.
void settle();

}  // namespace host

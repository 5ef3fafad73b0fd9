#pragma once

#include <cstdint>
#include <string>

namespace tv {

/// A moment as typed: HH:MM (the next time it is that late), YYYY-MM-DDTHH:MM, both local time, or seconds since the
/// epoch, which is also what it gives. `now` is in seconds since the epoch. Throws UsageError.
std::int64_t readMoment(const std::string& text, std::int64_t now);

/// Hours and minutes of a moment in local time, with the date when that is not today's.
std::string momentText(std::int64_t time, std::int64_t now);

}  // namespace tv

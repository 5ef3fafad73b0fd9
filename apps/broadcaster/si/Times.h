#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "apps/broadcaster/ts/Bytes.h"

namespace broadcaster {

using Moment = std::chrono::sys_seconds;

/// Moments at which a broadcast may begin. The modified Julian date has 16 bits, which end on 2038-04-22 (EN 300 468
/// annex C); a week of guide comes after the last one.
constexpr Moment FIRST_MOMENT = std::chrono::sys_days(std::chrono::year(1970) / 1 / 1);
constexpr Moment LAST_MOMENT = std::chrono::sys_days(std::chrono::year(2038) / 4 / 14);

/// UTC as 40 bits: modified Julian date, then six decimal digits (EN 300 468 annex C and 5.2.5).
void writeUtc(ByteWriter& writer, Moment moment);

/// A duration of less than 100 hours as six decimal digits hhmmss (EN 300 468, 5.2.4).
void writeDuration(ByteWriter& writer, std::chrono::seconds duration);

/// Two decimal digits in a byte.
std::uint64_t decimalDigits(std::int64_t value);

/// Chooses the time zone of the process: a name of the zone database, "UTC", or a POSIX rule such as
/// "CET-1CEST,M3.5.0,M10.5.0/3". Throws std::invalid_argument for anything else. Call before threads start.
void useZone(const std::string& zone);

/// Local time minus UTC at a moment.
std::chrono::minutes localOffset(Moment moment);

/// The next moment within about a year at which localOffset() changes.
std::optional<Moment> nextOffsetChange(Moment after);

/// The local time of day, "20:15:03".
std::string clockOf(Moment moment);

/// Reads "YYYY-MM-DDTHH:MM[:SS]" in local time, the same with "Z" in UTC, or seconds since the epoch. Throws
/// std::invalid_argument for anything else and for moments that the tables cannot say.
Moment readMoment(const std::string& text);

}  // namespace broadcaster

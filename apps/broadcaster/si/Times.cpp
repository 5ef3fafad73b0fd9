#include "apps/broadcaster/si/Times.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace broadcaster {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr std::int64_t EPOCH_AS_JULIAN_DATE = 40587;  // 1970-01-01

/// The number of the digits that begin at `at`.
int number(std::string_view text, std::size_t at, std::size_t digits) {
  int value = 0;
  std::from_chars(text.data() + at, text.data() + at + digits, value);
  return value;
}

/// Whether `text` is `shape`, in which 0 stands for any digit.
bool hasShape(std::string_view text, std::string_view shape) {
  return std::ranges::equal(text, shape,
                            [](char is, char wanted) { return wanted == '0' ? is >= '0' && is <= '9' : is == wanted; });
}

/// Nothing when the text has another form; std::invalid_argument when it has, but there is no such time.
std::optional<Moment> readIso(std::string text) {
  const bool utc = text.ends_with('Z');
  if (utc) text.pop_back();
  if (hasShape(text, "0000-00-00T00:00")) text += ":00";
  if (!hasShape(text, "0000-00-00T00:00:00")) return std::nullopt;
  std::tm parts{};
  parts.tm_year = number(text, 0, 4) - 1900;
  parts.tm_mon = number(text, 5, 2) - 1;
  parts.tm_mday = number(text, 8, 2);
  parts.tm_hour = number(text, 11, 2);
  parts.tm_min = number(text, 14, 2);
  parts.tm_sec = number(text, 17, 2);
  parts.tm_isdst = -1;
  const std::chrono::year_month_day date{std::chrono::year(parts.tm_year + 1900),
                                         std::chrono::month(static_cast<unsigned>(parts.tm_mon + 1)),
                                         std::chrono::day(static_cast<unsigned>(parts.tm_mday))};
  if (!date.ok() || parts.tm_hour > 23 || parts.tm_min > 59 || parts.tm_sec > 59) {
    throw std::invalid_argument("there is no such time");
  }
  return Moment(seconds(utc ? timegm(&parts) : std::mktime(&parts)));
}

bool isLetter(char letter) {
  return (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z');
}
bool isDigit(char letter) {
  return letter >= '0' && letter <= '9';
}

bool isInDatabase(std::string_view zone) {
  const auto isNamePart = [](char letter) {
    return isLetter(letter) || isDigit(letter) || std::string_view("/_+-").find(letter) != std::string_view::npos;
  };
  std::error_code ignored;
  return !zone.empty() && isLetter(zone.front()) && std::ranges::all_of(zone, isNamePart) &&
         std::filesystem::is_regular_file(std::filesystem::path("/usr/share/zoneinfo") / zone, ignored);
}

/// Whether it begins as a POSIX rule does: a name of three letters or more, or anything in angle brackets, then hours.
bool isRule(std::string_view zone) {
  const auto name = zone.starts_with('<')
                        ? zone.find('>') + 1
                        : static_cast<std::size_t>(std::ranges::find_if_not(zone, isLetter) - zone.begin());
  std::string_view hoursPart = name < 3 ? std::string_view() : zone.substr(name);
  if (hoursPart.starts_with('+') || hoursPart.starts_with('-')) hoursPart.remove_prefix(1);
  return !hoursPart.empty() && isDigit(hoursPart.front());
}

}  // namespace

std::uint64_t decimalDigits(std::int64_t value) {
  return static_cast<std::uint64_t>(value / 10 % 10 * 16 + value % 10);
}

void writeUtc(ByteWriter& writer, Moment moment) {
  const auto day = floor<days>(moment);
  writer.u16(static_cast<std::uint64_t>(day.time_since_epoch().count() + EPOCH_AS_JULIAN_DATE));
  writeDuration(writer, moment - day);
}

void writeDuration(ByteWriter& writer, seconds duration) {
  const std::chrono::hh_mm_ss time(duration);
  writer.u8(decimalDigits(time.hours().count()));
  writer.u8(decimalDigits(time.minutes().count()));
  writer.u8(decimalDigits(time.seconds().count()));
}

void useZone(const std::string& zone) {
  if (!isInDatabase(zone) && zone != "UTC" && !isRule(zone)) {
    throw std::invalid_argument("there is no time zone \"" + zone + "\"");
  }
  setenv("TZ", zone.c_str(), 1);
  tzset();
}

minutes localOffset(Moment moment) {
  const std::time_t time = moment.time_since_epoch().count();
  std::tm local{};
  localtime_r(&time, &local);
  return floor<minutes>(seconds(local.tm_gmtoff));
}

std::optional<Moment> nextOffsetChange(Moment after) {
  const minutes before = localOffset(after);
  for (Moment moment = floor<hours>(after) + hours(1); moment < after + days(370); moment += hours(1)) {
    if (localOffset(moment) == before) continue;
    Moment change = moment - hours(1);
    while (localOffset(change) == before) change += minutes(1);
    return change;
  }
  return std::nullopt;
}

std::string clockOf(Moment moment) {
  const Moment local = moment + localOffset(moment);
  const std::chrono::hh_mm_ss time(local - std::chrono::floor<std::chrono::days>(local));
  char text[16];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d", static_cast<int>(time.hours().count()),
                static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
  return text;
}

Moment readMoment(const std::string& text) {
  std::optional<Moment> read = readIso(text);
  if (!read) {
    std::int64_t epoch = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), epoch);
    if (error != std::errc() || end != text.data() + text.size()) {
      throw std::invalid_argument("a time is YYYY-MM-DDTHH:MM[:SS], with Z for UTC, or seconds since the epoch");
    }
    read = Moment(seconds(epoch));
  }
  if (*read < FIRST_MOMENT || *read > LAST_MOMENT) {
    throw std::invalid_argument("the tables of a broadcast can say times from 1970-01-01 to 2038-04-14 only");
  }
  return *read;
}

}  // namespace broadcaster

#include "apps/broadcaster/si/Times.h"

#include <charconv>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <regex>
#include <stdexcept>

namespace broadcaster {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr std::int64_t EPOCH_AS_JULIAN_DATE = 40587;  // 1970-01-01

int number(const std::ssub_match& digits) {
  return digits.matched ? std::stoi(digits.str()) : 0;
}

Moment readIso(const std::smatch& parts) {
  const std::chrono::year_month_day date{std::chrono::year(number(parts[1])),
                                         std::chrono::month(static_cast<unsigned>(number(parts[2]))),
                                         std::chrono::day(static_cast<unsigned>(number(parts[3])))};
  const int hour = number(parts[4]);
  const int minute = number(parts[5]);
  const int second = number(parts[6]);
  if (!date.ok() || hour > 23 || minute > 59 || second > 59) throw std::invalid_argument("there is no such time");
  if (parts[7].matched) return std::chrono::sys_days(date) + hours(hour) + minutes(minute) + seconds(second);
  std::tm local{};
  local.tm_year = number(parts[1]) - 1900;
  local.tm_mon = number(parts[2]) - 1;
  local.tm_mday = number(parts[3]);
  local.tm_hour = hour;
  local.tm_min = minute;
  local.tm_sec = second;
  local.tm_isdst = -1;
  return Moment(seconds(std::mktime(&local)));
}

bool isInDatabase(const std::string& zone) {
  static const std::regex name("[A-Za-z][A-Za-z0-9_+-]*(/[A-Za-z0-9_+-]+)*");
  std::error_code ignored;
  return std::regex_match(zone, name) &&
         std::filesystem::is_regular_file(std::filesystem::path("/usr/share/zoneinfo") / zone, ignored);
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
  static const std::regex rule("([A-Za-z]{3,}|<[A-Za-z0-9+-]{3,}>)[+-]?[0-9].*");
  if (!isInDatabase(zone) && zone != "UTC" && !std::regex_match(zone, rule)) {
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

Moment readMoment(const std::string& text) {
  static const std::regex iso(R"((\d{4})-(\d\d)-(\d\d)T(\d\d):(\d\d)(?::(\d\d))?(Z)?)");
  std::smatch parts;
  Moment moment;
  if (std::regex_match(text, parts, iso)) {
    moment = readIso(parts);
  } else {
    std::int64_t epoch = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), epoch);
    if (error != std::errc() || end != text.data() + text.size()) {
      throw std::invalid_argument("a time is YYYY-MM-DDTHH:MM[:SS], with Z for UTC, or seconds since the epoch");
    }
    moment = Moment(seconds(epoch));
  }
  if (moment < FIRST_MOMENT || moment > LAST_MOMENT) {
    throw std::invalid_argument("the tables of a broadcast can say times from 1970-01-01 to 2038-04-14 only");
  }
  return moment;
}

}  // namespace broadcaster

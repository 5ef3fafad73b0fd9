#include "Moment.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <optional>

#include "Failure.h"

namespace tv {
namespace {

constexpr int YEAR_BASE = 1900;

std::tm localFields(std::int64_t time) {
  const auto seconds = static_cast<std::time_t>(time);
  std::tm fields{};
  localtime_r(&seconds, &fields);
  return fields;
}

/// The moment with these local fields; nothing when the calendar has no such one.
std::optional<std::int64_t> moment(std::tm fields) {
  fields.tm_isdst = -1;
  fields.tm_sec = 0;
  std::tm normal = fields;
  const std::time_t time = std::mktime(&normal);
  const bool same =
      normal.tm_year == fields.tm_year && normal.tm_mon == fields.tm_mon && normal.tm_mday == fields.tm_mday;
  return same && time != -1 ? std::optional<std::int64_t>(time) : std::nullopt;
}

/// The text with its digits made '0': tells its form.
std::string form(std::string text) {
  std::ranges::replace_if(
      text, [](char c) { return c >= '0' && c <= '9'; }, '0');
  return text;
}

int number(const std::string& text, std::size_t start, std::size_t length) {
  int value = 0;
  std::from_chars(text.data() + start, text.data() + start + length, value);
  return value;
}

std::optional<std::int64_t> timeOfDay(int hour, int minute, std::int64_t now) {
  std::tm fields = localFields(now);
  fields.tm_hour = hour;
  fields.tm_min = minute;
  const std::optional<std::int64_t> today = moment(fields);
  if (today && *today > now) return today;
  std::tm noon = localFields(now);
  noon.tm_hour = 12;
  noon.tm_mday += 1;
  noon.tm_isdst = -1;
  std::tm tomorrow = localFields(std::mktime(&noon));  // by the calendar: not every day has 24 hours
  tomorrow.tm_hour = hour;
  tomorrow.tm_min = minute;
  return moment(tomorrow);
}

std::optional<std::int64_t> read(const std::string& text, std::int64_t now) {
  constexpr int HOURS = 24;
  constexpr int MINUTES = 60;
  const std::string shape = form(text);
  if (shape == "00:00" || shape == "0:00") {
    const std::size_t colon = text.find(':');
    const int hour = number(text, 0, colon);
    const int minute = number(text, colon + 1, 2);
    if (hour >= HOURS || minute >= MINUTES) return std::nullopt;
    return timeOfDay(hour, minute, now);
  }
  if (shape == "0000-00-00T00:00") {
    std::tm fields{};
    fields.tm_year = number(text, 0, 4) - YEAR_BASE;
    fields.tm_mon = number(text, 5, 2) - 1;
    fields.tm_mday = number(text, 8, 2);
    fields.tm_hour = number(text, 11, 2);
    fields.tm_min = number(text, 14, 2);
    if (fields.tm_hour >= HOURS || fields.tm_min >= MINUTES) return std::nullopt;
    return moment(fields);
  }
  std::int64_t seconds = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error != std::errc() || stop != text.data() + text.size() || seconds < 0) return std::nullopt;
  return seconds;
}

}  // namespace

std::int64_t readMoment(const std::string& text, std::int64_t now) {
  if (const std::optional<std::int64_t> time = read(text, now)) return *time;
  throw UsageError("\"" + text + "\" is no time: it is HH:MM, YYYY-MM-DDTHH:MM or seconds since the epoch");
}

std::string momentText(std::int64_t time, std::int64_t now) {
  const std::tm then = localFields(time);
  const std::tm today = localFields(now);
  const bool sameDay = then.tm_yday == today.tm_yday && then.tm_year == today.tm_year;
  std::array<char, 64> text{};
  std::strftime(text.data(), text.size(), sameDay ? "%H:%M" : "%Y-%m-%d %H:%M", &then);
  return text.data();
}

}  // namespace tv

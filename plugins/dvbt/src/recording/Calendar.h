#pragma once

#include <cstdint>
#include <string>

/// Date arithmetic in local time. "now" is given, so that one list is built from one moment. Weeks start on Sunday.
/// A day is 86,400 and a week 604,800 seconds in every offset, also across a daylight-saving change; the starts of day,
/// week and month are found by calendar fields, so that they are right at every moment of the year.
namespace calendar {

constexpr std::int64_t DAY = 86400;
constexpr std::int64_t WEEK = 604800;

/// A span of a list with its message key. Seconds since the epoch.
struct Window {
  std::int64_t start;
  std::int64_t end;
  std::string name;
};

std::int64_t startOfDay(std::int64_t now);
std::int64_t startOfWeek(std::int64_t now);
std::int64_t startOfMonth(std::int64_t now);
int weekday(std::int64_t time);  // 0 = Sunday

/// Length of a month; months outside 0 to 11 count on from the year (since 1900).
std::int64_t secondsInMonth(int month, int year);

/// For count >= 0 the months from `month` to `month` + count, for count < 0 the -count months before `month`.
std::int64_t secondsInMonths(int month, int count, int year);

/// 2 on the days 1 to 7 of a month, 3 on 8 to 14, ... 6 on 29 to 31.
int weeksThisMonth(std::int64_t now);

/// Message key of the list of a weekday's timers.
const std::string& dayName(int weekday);

Window dayWindow(std::int64_t now, int dayOffset, int days);
Window weekWindow(std::int64_t now, int weekOffset, int weeks);
Window monthWindow(std::int64_t now, int monthOffset, int months);

}  // namespace calendar

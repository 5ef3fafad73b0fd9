#include "recording/Calendar.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "durix/ostiv.h"

namespace calendar {
namespace {

const std::array<std::string, 7> scheduling_playlist_names_day = {
    "schedulings.playlist.sunday",    "schedulings.playlist.monday",   "schedulings.playlist.tuesday",
    "schedulings.playlist.wednesday", "schedulings.playlist.thursday", "schedulings.playlist.friday",
    "schedulings.playlist.saturday"};

const std::array<std::string, 6> recording_playlist_names_week = {
    "recordings.playlist.weeks.this",  "recordings.playlist.weeks.one",  "recordings.playlist.weeks.two",
    "recordings.playlist.weeks.three", "recordings.playlist.weeks.four", "recordings.playlist.weeks.five"};

const std::array<std::string, 12> recording_playlist_names_month = {
    "recordings.playlist.month.january", "recordings.playlist.month.february", "recordings.playlist.month.march",
    "recordings.playlist.month.april",   "recordings.playlist.month.may",      "recordings.playlist.month.june",
    "recordings.playlist.month.july",    "recordings.playlist.month.august",   "recordings.playlist.month.september",
    "recordings.playlist.month.october", "recordings.playlist.month.november", "recordings.playlist.month.december"};

template <std::size_t N>
const std::string& nameOf(const std::array<std::string, N>& names, int index) {
  return names[static_cast<std::size_t>(std::clamp(index, 0, static_cast<int>(N) - 1))];
}

ostiv_tm fieldsOf(std::int64_t time) {
  ostiv_tm fields{};
  ostiv_localtime_s(time, &fields);
  return fields;
}

/// Midnight of the calendar day in `fields`; the library decides about daylight-saving time. On a day that has two,
/// since the clock goes back to midnight, the library may give either, now this one, now that: the first one counts.
std::int64_t midnight(ostiv_tm fields) {
  constexpr std::int64_t HOUR = 3600;
  fields.hour = fields.minute = fields.second = 0;
  fields.daylight = -1;
  const std::int64_t time = ostiv_mktime(&fields);
  return fieldsOf(time - HOUR).day == fieldsOf(time).day ? time - HOUR : time;
}

std::int64_t firstOfMonth(int month, int year) {
  ostiv_tm fields{};
  fields.day = 1;
  fields.month = month;
  fields.year = year;
  return midnight(fields);
}

}  // namespace

std::int64_t startOfDay(std::int64_t now) {
  return midnight(fieldsOf(now));
}

std::int64_t startOfWeek(std::int64_t now) {
  ostiv_tm fields = fieldsOf(now);
  fields.day -= fields.weekday;
  return midnight(fields);
}

std::int64_t startOfMonth(std::int64_t now) {
  ostiv_tm fields = fieldsOf(now);
  fields.day = 1;
  return midnight(fields);
}

int weekday(std::int64_t time) {
  return fieldsOf(time).weekday;
}

std::int64_t secondsInMonth(int month, int year) {
  return firstOfMonth(month + 1, year) - firstOfMonth(month, year);
}

std::int64_t secondsInMonths(int month, int count, int year) {
  const int first = count < 0 ? month + count : month;
  const int last = count < 0 ? month - 1 : month + count;
  std::int64_t seconds = 0;
  for (int m = first; m <= last; ++m) seconds += secondsInMonth(m, year);
  return seconds;
}

int weeksThisMonth(std::int64_t now) {
  return static_cast<int>(std::ceil(fieldsOf(now).day / 7.0)) + 1;
}

const std::string& dayName(int weekday) {
  return nameOf(scheduling_playlist_names_day, weekday);
}

Window dayWindow(std::int64_t now, int dayOffset, int days) {
  const std::int64_t start = startOfDay(now) + dayOffset * DAY;
  return {start, start + days * DAY, dayName(weekday(start))};
}

Window weekWindow(std::int64_t now, int weekOffset, int weeks) {
  const std::int64_t start = startOfWeek(now) + weekOffset * WEEK;
  return {start, start + weeks * WEEK, nameOf(recording_playlist_names_week, std::abs(weekOffset))};
}

Window monthWindow(std::int64_t now, int monthOffset, int months) {
  const std::int64_t thisMonth = startOfMonth(now);
  const ostiv_tm from = fieldsOf(thisMonth);
  const std::int64_t distance = secondsInMonths(from.month, monthOffset, from.year);
  const std::int64_t start = monthOffset > 0 ? thisMonth + distance : thisMonth - distance;
  const ostiv_tm first = fieldsOf(start);
  return {start, start + secondsInMonths(first.month, months - 1, first.year),
          nameOf(recording_playlist_names_month, first.month)};
}

}  // namespace calendar

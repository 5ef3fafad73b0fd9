#include <gtest/gtest.h>
#include <stdlib.h>

#include <ctime>

#include "recording/Calendar.h"
#include "tests/support/ScriptedMiddleware.h"

namespace {

/// A moment as "2023-03-28 00:05" of the zone in force, both ways.
std::int64_t at(const std::string& local) {
  std::tm fields{};
  if (strptime(local.c_str(), "%Y-%m-%d %H:%M", &fields) == nullptr) throw std::invalid_argument(local);
  fields.tm_isdst = -1;
  return std::mktime(&fields);
}

std::string local(std::int64_t time) {
  const std::time_t seconds = time;
  std::tm fields{};
  localtime_r(&seconds, &fields);
  char text[32];
  std::strftime(text, sizeof text, "%a %Y-%m-%d %H:%M", &fields);
  return text;
}

class Calendars : public testing::Test {
 protected:
  static void in(const char* zone) {
    ::setenv("TZ", zone, 1);
    ::tzset();
  }
  ScriptedMiddleware middleware;
};

/// Starts of day, week and month; the months' lists are named by where they start.
TEST_F(Calendars, FindStartsByCalendarFields) {
  struct Row {
    const char* zone;
    const char* now;
    const char* day;
    const char* week;
    const char* month;
    int weeks;
  };
  for (const Row& row : {
           Row{"UTC", "2023-01-01 00:00", "Sun 2023-01-01 00:00", "Sun 2023-01-01 00:00", "Sun 2023-01-01 00:00", 2},
           Row{"UTC", "2023-12-31 23:59", "Sun 2023-12-31 00:00", "Sun 2023-12-31 00:00", "Fri 2023-12-01 00:00", 6},
           Row{"UTC", "2024-03-01 12:00", "Fri 2024-03-01 00:00", "Sun 2024-02-25 00:00", "Fri 2024-03-01 00:00", 2},
           Row{"UTC", "2024-02-29 12:00", "Thu 2024-02-29 00:00", "Sun 2024-02-25 00:00", "Thu 2024-02-01 00:00", 6},
           // the first hour after the change in spring, the last one after that in autumn, and the days of the change
           Row{"Europe/Berlin", "2023-03-26 12:00", "Sun 2023-03-26 00:00", "Sun 2023-03-26 00:00",
               "Wed 2023-03-01 00:00", 5},
           Row{"Europe/Berlin", "2023-03-28 00:05", "Tue 2023-03-28 00:00", "Sun 2023-03-26 00:00",
               "Wed 2023-03-01 00:00", 5},
           Row{"Europe/Berlin", "2023-10-29 12:00", "Sun 2023-10-29 00:00", "Sun 2023-10-29 00:00",
               "Sun 2023-10-01 00:00", 6},
           Row{"Europe/Berlin", "2023-10-30 23:30", "Mon 2023-10-30 00:00", "Sun 2023-10-29 00:00",
               "Sun 2023-10-01 00:00", 6},
           Row{"America/New_York", "2024-03-31 00:10", "Sun 2024-03-31 00:00", "Sun 2024-03-31 00:00",
               "Fri 2024-03-01 00:00", 6},
           Row{"America/New_York", "2025-11-10 23:30", "Mon 2025-11-10 00:00", "Sun 2025-11-09 00:00",
               "Sat 2025-11-01 00:00", 3},
           Row{"Australia/Sydney", "2023-10-07 00:30", "Sat 2023-10-07 00:00", "Sun 2023-10-01 00:00",
               "Sun 2023-10-01 00:00", 2},
           Row{"Asia/Kathmandu", "2023-07-08 00:01", "Sat 2023-07-08 00:00", "Sun 2023-07-02 00:00",
               "Sat 2023-07-01 00:00", 3},
           // there is no midnight on the day of the change
           Row{"America/Santiago", "2023-09-03 12:00", "Sun 2023-09-03 01:00", "Sun 2023-09-03 01:00",
               "Fri 2023-09-01 00:00", 2},
           Row{"Africa/Cairo", "2023-04-28 12:00", "Fri 2023-04-28 01:00", "Sun 2023-04-23 00:00",
               "Sat 2023-04-01 00:00", 5},
       }) {
    in(row.zone);
    const std::int64_t now = at(row.now);
    EXPECT_EQ(local(calendar::startOfDay(now)), row.day) << row.zone << " " << row.now;
    EXPECT_EQ(local(calendar::startOfWeek(now)), row.week) << row.zone << " " << row.now;
    EXPECT_EQ(local(calendar::startOfMonth(now)), row.month) << row.zone << " " << row.now;
    EXPECT_EQ(calendar::weeksThisMonth(now), row.weeks) << row.zone << " " << row.now;
  }
}

/// Which of two midnights the library gives depends on the season that it was asked about before.
TEST_F(Calendars, BeginDaysAtTheFirstOfTwoMidnights) {
  in("CET-1CEST,M3.5.0,M11.1.0/1");  // goes back to midnight on the 1st of November 2026
  constexpr std::int64_t FIRST = 1793484000;
  for (const char* const season : {"2026-01-05 00:00", "2026-07-05 00:00"}) {
    at(season);
    EXPECT_EQ(calendar::startOfDay(FIRST + 7200), FIRST) << season;
    at(season);
    EXPECT_EQ(calendar::monthWindow(FIRST + 40 * 86400, -1, 1).start, FIRST) << season;
    at(season);
    EXPECT_EQ(calendar::monthWindow(FIRST + 40 * 86400, -2, 1).end, FIRST) << season;
  }
}

TEST_F(Calendars, CountTheWeeksOfAMonth) {
  in("Europe/Berlin");
  std::string weeks;
  for (int day = 1; day <= 31; ++day) {
    weeks += std::to_string(calendar::weeksThisMonth(at("2023-03-" + std::to_string(day) + " 12:00")));
  }
  EXPECT_EQ(weeks, "2222222333333344444445555555666");
}

/// Offsets are of 86,400 and 604,800 seconds, so that across a change the spans are an hour off, without a gap.
TEST_F(Calendars, OffsetDaysAndWeeksInSeconds) {
  struct Row {
    const char* zone;
    const char* now;
    int offset;
    const char* start;
    const char* name;
  };
  for (const Row& row : {
           Row{"Europe/Berlin", "2023-10-28 10:00", 0, "Sat 2023-10-28 00:00", "schedulings.playlist.saturday"},
           Row{"Europe/Berlin", "2023-10-28 10:00", 1, "Sun 2023-10-29 00:00", "schedulings.playlist.sunday"},
           Row{"Europe/Berlin", "2023-10-28 10:00", 2, "Sun 2023-10-29 23:00", "schedulings.playlist.sunday"},
           Row{"Europe/Berlin", "2023-10-28 10:00", 6, "Thu 2023-11-02 23:00", "schedulings.playlist.thursday"},
           Row{"Europe/Berlin", "2023-03-25 10:00", 2, "Mon 2023-03-27 01:00", "schedulings.playlist.monday"},
           Row{"UTC", "2023-12-31 23:59", 1, "Mon 2024-01-01 00:00", "schedulings.playlist.monday"},
       }) {
    in(row.zone);
    const calendar::Window window = calendar::dayWindow(at(row.now), row.offset, 1);
    EXPECT_EQ(local(window.start), row.start) << row.zone << " " << row.now << " " << row.offset;
    EXPECT_EQ(window.end, window.start + 86400);
    EXPECT_EQ(window.name, row.name) << row.zone << " " << row.now << " " << row.offset;
  }
  for (const Row& row : {
           Row{"Europe/Berlin", "2023-04-05 10:00", 0, "Sun 2023-04-02 00:00", "recordings.playlist.weeks.this"},
           Row{"Europe/Berlin", "2023-04-05 10:00", -1, "Sat 2023-03-25 23:00", "recordings.playlist.weeks.one"},
           Row{"Europe/Berlin", "2023-04-05 10:00", -2, "Sat 2023-03-18 23:00", "recordings.playlist.weeks.two"},
           Row{"Europe/Berlin", "2023-11-08 10:00", -2, "Sun 2023-10-22 01:00", "recordings.playlist.weeks.two"},
           Row{"UTC", "2024-01-31 10:00", -5, "Sun 2023-12-24 00:00", "recordings.playlist.weeks.five"},
       }) {
    in(row.zone);
    const calendar::Window window = calendar::weekWindow(at(row.now), row.offset, 1);
    EXPECT_EQ(local(window.start), row.start) << row.zone << " " << row.now << " " << row.offset;
    EXPECT_EQ(window.end, window.start + 604800);
    EXPECT_EQ(window.name, row.name) << row.zone << " " << row.now << " " << row.offset;
  }
}

/// Every one of the eleven months runs from its first midnight to the next one's, whatever lies between.
TEST_F(Calendars, GoFromTheFirstOfAMonthToTheFirstOfTheNext) {
  const std::vector<std::string> names = {"january", "february", "march",     "april",   "may",      "june",
                                          "july",    "august",   "september", "october", "november", "december"};
  for (const char* const zone : {"UTC", "Europe/Berlin", "America/New_York", "Australia/Sydney", "Asia/Kathmandu",
                                 "America/Santiago", "Pacific/Chatham"}) {
    in(zone);
    for (const auto& [year, month] : {std::pair{2023, 3}, {2023, 10}, {2024, 1}, {2024, 2}, {2024, 3}, {2025, 12}}) {
      const auto first = [&](int offset) {
        const int months = year * 12 + month - 1 + offset;
        return at(std::to_string(months / 12) + "-" + std::to_string(months % 12 + 1) + "-1 00:00");
      };
      for (const char* const time : {"-1 00:00", "-15 12:00", "-28 23:30"}) {
        const std::int64_t now = at(std::to_string(year) + "-" + std::to_string(month) + time);
        for (int back = 1; back <= 11; ++back) {
          const calendar::Window window = calendar::monthWindow(now, -back, 1);
          const std::string row = std::string(zone) + " " + local(now) + " -" + std::to_string(back);
          EXPECT_EQ(local(window.start), local(first(-back))) << row;
          EXPECT_EQ(local(window.end), local(first(1 - back))) << row;
          EXPECT_EQ(window.name, "recordings.playlist.month." +
                                     names.at(static_cast<std::size_t>((year * 12 + month - 1 - back) % 12)))
              << row;
        }
      }
    }
  }
}

TEST_F(Calendars, MeasureMonths) {
  in("Europe/Berlin");
  constexpr int DAY = 86400;
  constexpr int HOUR = 3600;
  EXPECT_EQ(calendar::secondsInMonth(1, 124), 29 * DAY);
  EXPECT_EQ(calendar::secondsInMonth(2, 123), 31 * DAY - HOUR);
  EXPECT_EQ(calendar::secondsInMonth(9, 123), 31 * DAY + HOUR);
  EXPECT_EQ(calendar::secondsInMonth(-1, 124), 31 * DAY) << "December of the year before";
  EXPECT_EQ(calendar::secondsInMonths(0, 1, 123), (31 + 28) * DAY) << "two months";
  EXPECT_EQ(calendar::secondsInMonths(0, 0, 123), 31 * DAY) << "one";
  EXPECT_EQ(calendar::secondsInMonths(2, -2, 123), (31 + 28) * DAY) << "the two before";
}

}  // namespace

#include "host/DailyRefresh.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "host/HostClock.h"

namespace host {
namespace {

constexpr std::int64_t HOUR = 3600;
constexpr std::int64_t LOOK_INTERVAL = HOUR;  // for clocks that jump

std::tm localFields(std::int64_t time) {
  const auto seconds = static_cast<std::time_t>(time);
  std::tm fields{};
  localtime_r(&seconds, &fields);
  return fields;
}

// A number for each local day.
std::int64_t dayOf(std::int64_t time) {
  const std::tm fields = localFields(time);
  constexpr int MOST_DAYS = 400;
  return static_cast<std::int64_t>(fields.tm_year) * MOST_DAYS + fields.tm_yday;
}

// Where a day begins at one o'clock, since midnight is left out, it is that; where midnight comes twice, the first.
std::int64_t nextMidnight(std::int64_t time) {
  std::tm fields = localFields(time);
  fields.tm_mday += 1;
  fields.tm_hour = fields.tm_min = fields.tm_sec = 0;
  fields.tm_isdst = -1;
  const std::int64_t midnight = std::mktime(&fields);
  return dayOf(midnight - 1) == dayOf(midnight) ? midnight - HOUR : midnight;
}

}  // namespace

DailyRefresh::DailyRefresh(std::function<void()> refresh) : _refresh(std::move(refresh)) {
  const std::int64_t time = now();
  _day = dayOf(time);
  _timer.addTimerListener(this);
  arm(time);
}

DailyRefresh::~DailyRefresh() {
  _timer.stop();
}

void DailyRefresh::timerExpired(VmTimer*, void*) {
  const std::int64_t time = now();
  const bool isAnotherDay = dayOf(time) != std::exchange(_day, dayOf(time));
  if (isAnotherDay) _refresh();
  arm(time);
}

void DailyRefresh::arm(std::int64_t time) {
  _timer.addTimeout(std::min(nextMidnight(time), time + LOOK_INTERVAL), nullptr);
}

}  // namespace host

#include "middleware/portability/Clock.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <thread>

#include "durix/ostiv.h"

namespace durix::clock {
namespace {

// A clock that was set runs on by itself: a correction of the system's time neither stops it nor turns it back.
struct SetClock {
  std::int64_t seconds;
  std::chrono::steady_clock::time_point at;

  std::int64_t now() const {
    using std::chrono::duration_cast;
    return seconds + duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - at).count();
  }
};

struct State {
  std::shared_mutex mutex;
  Source source = nullptr;
  void* user = nullptr;
  std::optional<SetClock> set;  // nothing while it shows the system's time
};

// Never destroyed: threads of others may ask while the process ends.
State& state() {
  static auto* const instance = new State;
  return *instance;
}

std::int64_t systemSeconds() {
  using std::chrono::duration_cast;
  return duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace

std::int64_t now() {
  State& clock = state();
  const std::shared_lock lock(clock.mutex);
  if (clock.source != nullptr) return clock.source(clock.user);
  return clock.set ? clock.set->now() : systemSeconds();
}

void set(std::int64_t seconds) {
  State& clock = state();
  const std::scoped_lock lock(clock.mutex);
  clock.set = SetClock{seconds, std::chrono::steady_clock::now()};
}

void reset() {
  State& clock = state();
  const std::scoped_lock lock(clock.mutex);
  clock.set.reset();
}

void replace(Source source, void* user) {
  State& clock = state();
  const std::scoped_lock lock(clock.mutex);
  clock.source = source;
  clock.user = user;
}

}  // namespace durix::clock

namespace {

std::tm toSystem(const ostiv_tm& time) {
  std::tm result{};
  result.tm_sec = time.second;
  result.tm_min = time.minute;
  result.tm_hour = time.hour;
  result.tm_mday = time.day;
  result.tm_mon = time.month;
  result.tm_year = time.year;
  result.tm_isdst = time.daylight;
  return result;
}

ostiv_tm fromSystem(const std::tm& time) {
  return {time.tm_sec,  time.tm_min,  time.tm_hour, time.tm_mday, time.tm_mon,
          time.tm_year, time.tm_wday, time.tm_yday, time.tm_isdst};
}

}  // namespace

extern "C" {

uint32_t ostiv_time_get_system_time(int64_t* seconds) {
  if (seconds == nullptr) return 1;
  *seconds = durix::clock::now();
  return 0;
}

void ostiv_time_sleep(uint32_t duration) {
  std::this_thread::sleep_for(std::chrono::milliseconds(duration));
}

uint32_t ostiv_localtime_s(int64_t seconds, ostiv_tm* local) {
  if (local == nullptr) return 1;
  const std::time_t time = seconds;
  std::tm result{};
  if (localtime_r(&time, &result) == nullptr) return 1;
  *local = fromSystem(result);
  return 0;
}

int64_t ostiv_mktime(ostiv_tm* local) {
  if (local == nullptr) return -1;
  std::tm time = toSystem(*local);
  time.tm_wday = -1;  // set by mktime on success only: the one way to tell -1 the failure from -1 the second
  const std::time_t seconds = std::mktime(&time);
  if (seconds == -1 && time.tm_wday == -1) return -1;
  *local = fromSystem(time);
  return seconds;
}
}

#include "host/DailyRefresh.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <ctime>

#include "tests/host/Support.h"

namespace {

/// The process's time zone for a while.
class Zone {
 public:
  explicit Zone(const std::string& name) {
    if (const char* const before = std::getenv("TZ")) _before = before;
    set(name);
  }
  Zone(const Zone&) = delete;
  Zone& operator=(const Zone&) = delete;
  ~Zone() { set(_before); }

 private:
  static void set(const std::string& name) {
    if (name.empty()) {
      unsetenv("TZ");
    } else {
      setenv("TZ", name.c_str(), 1);
    }
    tzset();
  }
  std::string _before;
};

TEST(DailyRefresh, ComesOnceAtEachLocalMidnight) {
  struct Row {
    const char* why;
    const char* zone;
    std::int64_t midnight;  // the first one
    std::int64_t next;      // the one after it
  };
  const Row rows[] = {
      {"an ordinary day", "UTC", 1'795'392'000, 1'795'478'400},
      {"west of Greenwich", "<-05>5", 1'795'410'000, 1'795'496'400},
      {"a day of 23 hours", "CET-1CEST,M3.5.0,M10.5.0/3", 1'774'738'800, 1'774'821'600},
      {"a day of 25 hours", "CET-1CEST,M3.5.0,M10.5.0/3", 1'792'879'200, 1'792'969'200},
      {"a midnight that comes twice", "<-01>1<+00>,M3.5.0/0,M10.5.0/1", 1'792'886'400, 1'792'976'400},
      {"a day that begins at one", "<-04>4<-03>,M9.1.6/24,M4.1.6/24", 1'788'667'200, 1'788'750'000},
  };
  for (const Row& row : rows) {
    const Zone zone(row.zone);
    ManualClock clock(row.midnight - 5000);
    std::atomic<int> calls = 0;
    const host::DailyRefresh refresh([&] { ++calls; });
    const auto callsAt = [&](std::int64_t time) {
      clock.set(time);
      return calls.load();
    };
    EXPECT_EQ(callsAt(row.midnight - 1), 0) << row.why;
    EXPECT_EQ(callsAt(row.midnight), 1) << row.why;
    EXPECT_EQ(callsAt(row.midnight + 4000), 1) << row.why;
    EXPECT_EQ(callsAt(row.next - 1), 1) << row.why;
    EXPECT_EQ(callsAt(row.next), 2) << row.why;
    EXPECT_EQ(callsAt(row.next + 86400 * 5), 3) << row.why << ": a jump over several is one";
  }
}

TEST(DailyRefresh, EndsWithItsObject) {
  ManualClock clock(1'795'392'000 - 10);
  std::atomic<int> calls = 0;
  {
    const host::DailyRefresh refresh([&] { ++calls; });
  }
  clock.set(1'795'392'000 + 10);
  EXPECT_EQ(calls, 0);
}

}  // namespace

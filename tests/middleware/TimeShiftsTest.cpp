// When recorded streams are on air.
#include <gtest/gtest.h>

#include <chrono>
#include <utility>

#include "Support.h"
#include "middleware/durix_tools.h"
#include "middleware/store/TimeShifts.h"

namespace durix::test {
namespace {

constexpr std::int64_t FIRST_MOMENT = 1'600'000'000;
constexpr std::int64_t START = 1'900'000'000;  // what the clock shows at first

class TimeShiftsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    record("a");
    durix_tools_clock_replace([](void* now) { return *static_cast<std::int64_t*>(now); }, &_now);
  }
  void TearDown() override { durix_tools_clock_replace(nullptr, nullptr); }

  // Another recording each time its text is another one.
  void record(const std::string& text) const { write(_file, {text.begin(), text.end()}); }

  // A new process each time.
  template <typename Work>
  auto with(Work work) {
    Store store(_data.path());
    TimeShifts shifts(store, [this](const auto&) {
      ++_reads;
      return _told;
    });
    return work(shifts);
  }
  void see() {
    with([this](TimeShifts& shifts) { shifts.see(_file); });
  }
  std::int64_t shift() {
    return with([this](TimeShifts& shifts) { return shifts.of(_file); });
  }
  void tellLastEnd(std::int64_t end) {
    with([&](TimeShifts& shifts) { shifts.tellLastEnd(_file, end); });
  }

  const TemporaryDirectory _data, _air;
  const std::filesystem::path _file = _air / "474000000.ts";
  std::int64_t _now = START;
  std::optional<std::int64_t> _told = FIRST_MOMENT;
  int _reads = 0;
};

TEST_F(TimeShiftsTest, PutTheFirstMomentWhereTheFileWasFirstSeen) {
  see();
  _now += 100;
  see();
  EXPECT_EQ(shift(), START - FIRST_MOMENT) << "not when somebody asks";
  _now += 100'000;
  EXPECT_EQ(shift(), START - FIRST_MOMENT) << "and there it stays";
  EXPECT_EQ(_reads, 1) << "the file is read once";
}

TEST_F(TimeShiftsTest, PutTheFileOnAirAnewWhenItsLastEventIsOver) {
  EXPECT_EQ(shift(), START - FIRST_MOMENT) << "asking is seeing";
  tellLastEnd(FIRST_MOMENT + 3600);
  tellLastEnd(FIRST_MOMENT + 1800);  // an earlier one is not the last
  _now = START + 3599;
  EXPECT_EQ(shift(), START - FIRST_MOMENT);
  _now = START + 3600;
  EXPECT_EQ(shift(), START + 3600 - FIRST_MOMENT);
  _now = START + 7199;
  EXPECT_EQ(shift(), START + 3600 - FIRST_MOMENT) << "until they are over again";
  _now = START + 7200;
  EXPECT_EQ(shift(), START + 7200 - FIRST_MOMENT);
}

TEST_F(TimeShiftsTest, StandStillForEventsThatWereOverBeforeTheFileBegan) {
  EXPECT_EQ(shift(), START - FIRST_MOMENT);
  tellLastEnd(FIRST_MOMENT - 1);
  _now += 10;
  EXPECT_EQ(shift(), START - FIRST_MOMENT);
}

TEST_F(TimeShiftsTest, TellARecordingFromAnother) {
  shift();
  tellLastEnd(FIRST_MOMENT + 3600);
  _now += 10;
  record("longer");
  EXPECT_EQ(shift(), START - FIRST_MOMENT) << "it has grown, but begins as before";
  record("the next recording");
  _told = FIRST_MOMENT + 86'400;
  EXPECT_EQ(shift(), START + 10 - *_told);
  _now += 1'000'000;
  EXPECT_EQ(shift(), START + 10 - *_told) << "the events of the old one have gone with it";
}

TEST_F(TimeShiftsTest, TakeTheLastEndOfWhatTheFileIsNow) {
  shift();
  tellLastEnd(FIRST_MOMENT + 360'000);
  record("shorter");
  shift();
  tellLastEnd(FIRST_MOMENT + 3600);
  _now = START + 3600;
  EXPECT_EQ(shift(), START + 3600 - FIRST_MOMENT);
}

TEST_F(TimeShiftsTest, StandStillWhileTheFileIsAway) {
  shift();
  const auto away = _air / "away";
  std::filesystem::rename(_file, away);
  _now += 100;
  const auto told = std::exchange(_told, std::nullopt);
  shift();
  std::filesystem::rename(away, _file);
  _told = told;
  EXPECT_EQ(shift(), START - FIRST_MOMENT);
}

TEST_F(TimeShiftsTest, AreNoneForAFileThatTellsNoTime) {
  _told.reset();
  EXPECT_EQ(shift(), 0);
  std::filesystem::remove(_file);
  EXPECT_EQ(shift(), 0);
}

TEST(TimeShifts, BeginWithTheScanThatFindsTheFile) {
  const auto shiftAfterScan = [](const std::string& options) {
    Middleware middleware;
    middleware.air("474000000", {.services = {{.id = 1, .name = "One"}}, .time = FIRST_MOMENT});
    EXPECT_EQ(middleware.start("dvb-t=file:" + middleware.airDirectory().string() + options), DURIX_OK);
    durix_tools_clock_set(START);
    EXPECT_TRUE(middleware.scan({474'000'000}));
    EXPECT_EQ(middleware.stop(), DURIX_OK);
    Store store(middleware.data());
    TimeShifts shifts(store, [](const auto&) { return FIRST_MOMENT; });
    durix_tools_clock_set(START + 5000);
    return shifts.of(middleware.airDirectory() / "474000000.ts") + FIRST_MOMENT - START;
  };
  EXPECT_NEAR(static_cast<double>(shiftAfterScan("")), 0, 60);
  EXPECT_NEAR(static_cast<double>(shiftAfterScan(",time=stream")), 5000, 60) << "no scan has seen it";
  durix_tools_clock_replace(nullptr, nullptr);
}

}  // namespace
}  // namespace durix::test

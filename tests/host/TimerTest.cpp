#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "tests/host/Support.h"
#include "velmora/VmTimer.h"

namespace {

constexpr std::int64_t START = 1'000'000;

/// Keeps what fired, by user data, and does what the test wants meanwhile.
class Fired : public TimerListener {
 public:
  explicit Fired(std::function<void(VmTimer*, void*)> during = {}) : _during(std::move(during)) {}

  void timerExpired(VmTimer* timer, void* data) override {
    {
      const std::lock_guard lock(_mutex);
      _data += data ? *static_cast<const char*>(data) : '0';
    }
    if (_during) _during(timer, data);
  }

  std::string data() const {
    const std::lock_guard lock(_mutex);
    return _data;
  }

 private:
  mutable std::mutex _mutex;
  std::string _data;
  const std::function<void(VmTimer*, void*)> _during;
};

/// User data whose name shows in `Fired::data`.
void* named(char name) {
  static const auto names = [] {
    std::array<char, 128> all{};
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<char>(i);
    return all;
  }();
  return const_cast<char*>(&names[static_cast<unsigned char>(name)]);
}

TEST(Timer, FiresEachTimeoutOnceInTheOrderOfTimeAndArrival) {
  struct Timeout {
    std::int64_t after;
    char data;  // '0' is null
  };
  struct Row {
    const char* reason;
    std::vector<Timeout> timeouts;
    std::string removed;  // user data
    std::int64_t until;
    const char* fired;
  };
  const Row rows[] = {
      {"time decides, not arrival", {{30, 'c'}, {10, 'a'}, {20, 'b'}}, "", 30, "abc"},
      {"arrival decides at one time", {{10, 'b'}, {10, 'a'}, {10, 'c'}}, "", 10, "bac"},
      {"notices share time and null data", {{10, '0'}, {10, '0'}, {10, '0'}}, "", 10, "000"},
      {"a time in the past is due at once", {{0, 'b'}, {-5, 'a'}, {-START, 'c'}}, "", 0, ""},
      {"one second too early", {{11, 'a'}, {10, 'b'}}, "", 10, "b"},
      {"beyond 32 bits", {{std::int64_t{1} << 40, 'a'}}, "", std::int64_t{1} << 40, "a"},
      {"the last time that there is", {{INT64_MAX - START, 'a'}}, "", 100, ""},
      {"all with the data are removed", {{10, 'a'}, {10, 'b'}, {20, 'a'}}, "a", 20, "b"},
      {"removing what is not there", {{10, 'a'}}, "b", 10, "a"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    ManualClock clock(START);
    Fired fired;
    VmTimer timer;
    timer.addTimerListener(&fired);
    for (const Timeout& timeout : row.timeouts) {
      timer.addTimeout(START + timeout.after, timeout.data == '0' ? nullptr : named(timeout.data));
    }
    for (const char data : row.removed) timer.removeTimeout(named(data));
    clock.set(START + row.until);
    if (row.until == 0) {
      EXPECT_EQ(fired.data().size(), row.timeouts.size());  // their order depends on when the thread looks first
    } else {
      EXPECT_EQ(fired.data(), row.fired);
    }
    clock.set(START + row.until);
    EXPECT_LE(fired.data().size(), row.timeouts.size());
  }
}

TEST(Timer, MayBeChangedFromItsCallback) {
  ManualClock clock(START);
  VmTimer timer;
  Fired fired([](VmTimer* own, void* data) {
    if (data == named('a')) own->addTimeout(START + 1, named('n'));  // past by now: due at once
    if (data == named('b')) own->clear();
    if (data == named('n')) own->removeTimeout(named('r'));
  });
  timer.addTimerListener(&fired);
  timer.addTimeout(START + 10, named('a'));
  timer.addTimeout(START + 20, named('r'));
  timer.addTimeout(START + 21, named('b'));
  timer.addTimeout(START + 22, named('x'));
  clock.set(START + 10);
  EXPECT_EQ(fired.data(), "an");
  clock.set(START + 100);
  EXPECT_EQ(fired.data(), "anb");
  timer.addTimeout(START + 100, named('z'));
  host::settle();
  EXPECT_EQ(fired.data(), "anbz");
}

/// A timer whose callback is held up, and what waits for it.
class TimerInCallback : public ::testing::Test {
 protected:
  TimerInCallback() {
    _timer->addTimerListener(&_fired);
    _timer->addTimeout(START, named('a'));
    EXPECT_TRUE(_entered.wait());
  }

  /// Whether the callback had returned when `action` did. The callback is let go when `action` has begun.
  bool waitsForCallback(const std::function<void()>& action) {
    Flag begun;
    bool waited = false;
    std::thread other([&] {
      begun.raise();
      action();
      waited = _returned;
    });
    EXPECT_TRUE(begun.wait());
    giveOthersTime();
    _release.raise();
    other.join();
    return waited;
  }

  ManualClock _clock{START};
  Flag _entered;
  Flag _release;
  std::atomic<bool> _returned = false;
  Fired _fired{[this](VmTimer*, void*) {
    _entered.raise();
    EXPECT_TRUE(_release.wait());
    giveOthersTime();
    _returned = true;
  }};
  std::unique_ptr<VmTimer> _timer = std::make_unique<VmTimer>();
};

TEST_F(TimerInCallback, ClearWaits) {
  _timer->addTimeout(START, named('b'));
  EXPECT_TRUE(waitsForCallback([&] { _timer->clear(); }));
  host::settle();
  EXPECT_EQ(_fired.data(), "a");
}

TEST_F(TimerInCallback, StopWaitsAndNothingFiresAfter) {
  EXPECT_TRUE(waitsForCallback([&] { _timer->stop(); }));
  _timer->addTimeout(START, named('b'));
  host::settle();
  EXPECT_EQ(_fired.data(), "a");
}

TEST_F(TimerInCallback, TheDestructorWaits) {
  EXPECT_TRUE(waitsForCallback([&] { _timer.reset(); }));
}

TEST_F(TimerInCallback, RemoveTimeoutDoesNotWait) {
  _timer->removeTimeout(named('a'));
  EXPECT_FALSE(_returned);
  _release.raise();
}

TEST(Timer, MayBeDeletedInItsOwnCallback) {
  ManualClock clock(START);
  auto* const timer = new VmTimer;
  Flag gone;
  Fired first([&](VmTimer* own, void*) {
    delete own;
    gone.raise();
  });
  Fired second;
  timer->addTimerListener(&first);
  timer->addTimerListener(&second);
  timer->addTimeout(START + 1, named('a'));
  timer->addTimeout(START + 1, named('b'));
  clock.set(START + 1);
  ASSERT_TRUE(gone.wait());
  EXPECT_EQ(first.data(), "a");
  EXPECT_EQ(second.data(), "");
}

TEST(Timer, ForgetsAListenerThatDies) {
  ManualClock clock(START);
  VmTimer timer;
  Fired staying;
  auto leaving = std::make_unique<Fired>();
  timer.addTimerListener(leaving.get());
  timer.addTimerListener(&staying);
  leaving.reset();
  timer.addTimeout(START, named('a'));
  host::settle();
  EXPECT_EQ(staying.data(), "a");
}

TEST(Timer, FollowsAClockThatIsReplacedOrJumpsOnItsOwn) {
  VmTimer timer;
  Flag first;
  Flag second;
  Fired fired([&](VmTimer*, void* data) { (data == named('a') ? first : second).raise(); });
  timer.addTimerListener(&fired);
  ManualClock clock(START);
  timer.addTimeout(START + 5'000, named('a'));
  timer.addTimeout(START + 90'000, named('b'));
  host::setClock([] { return START + 5'000; });
  EXPECT_TRUE(first.wait());
  ManualClock jumping(START);
  jumping.jump(START + 90'000);
  EXPECT_TRUE(second.wait());
  EXPECT_EQ(fired.data(), "ab");
}

TEST(Timer, FiresByTheSystemsClockWithoutHelp) {
  VmTimer timer;
  Flag fired;
  Fired listener([&](VmTimer*, void*) { fired.raise(); });
  timer.addTimerListener(&listener);
  timer.addTimeout(host::now() + 1, nullptr);
  EXPECT_TRUE(fired.wait());
}

TEST(Timer, KeepsExactCountsUnderManyThreads) {
  constexpr int THREADS = 4;
  constexpr int EACH = 500;
  ManualClock clock(START);
  VmTimer timer;
  Fired fired;
  timer.addTimerListener(&fired);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < THREADS; ++thread) {
    threads.emplace_back([&] {
      for (int i = 0; i < EACH; ++i) {
        timer.addTimeout(START + i % 3, nullptr);
        timer.addTimeout(START + 1'000, named('r'));
        timer.removeTimeout(named('q'));
      }
    });
  }
  for (auto& thread : threads) thread.join();
  timer.removeTimeout(named('r'));
  clock.set(START + 2'000);
  EXPECT_EQ(fired.data(), std::string(std::size_t{THREADS} * EACH, '0'));
}

}  // namespace

// Who gets which receiver, and how packets come.
#include "middleware/reception/Tuners.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "middleware/api/Failure.h"
#include "middleware/events/EventQueue.h"
#include "middleware/receivers/ReceiverPool.h"
#include "middleware/stream/StreamClock.h"
#include "tests/si/StreamBuilder.h"
#include "tests/support/Eventually.h"
#include "tests/support/TinyStream.h"

namespace durix::test {
namespace {

using std::chrono::milliseconds;
using End = PacketTaker::End;
using enum ReceiverUse;

// Counts what it takes.
class Taker : public PacketTaker {
 public:
  void take(const PacketView& packet) override {
    if (onTake) onTake();
    const std::scoped_lock lock(_mutex);
    EXPECT_FALSE(_end) << "the end is the last call";
    ++_packets;
    _pid = packet.pid();
    _clock.feed(packet);
    _changed.notify_all();
  }
  void beginAgain() override { ++beginnings; }
  void end(End reason) override {
    const std::scoped_lock lock(_mutex);
    EXPECT_FALSE(_end) << "there is one end";
    _end = reason;
    _changed.notify_all();
  }

  // Whether that many more packets come.
  bool comes(std::uint64_t packets = 1) {
    std::unique_lock lock(_mutex);
    return _changed.wait_for(lock, LONGEST_WAIT, [&, before = _packets] { return _packets >= before + packets; });
  }
  std::optional<End> waitForEnd() {
    std::unique_lock lock(_mutex);
    _changed.wait_for(lock, LONGEST_WAIT, [&] { return _end.has_value(); });
    return _end;
  }
  bool hasEnded() const {
    const std::scoped_lock lock(_mutex);
    return _end.has_value();
  }
  std::uint64_t packets() const {
    const std::scoped_lock lock(_mutex);
    return _packets;
  }
  std::uint16_t pid() const {
    const std::scoped_lock lock(_mutex);
    return _pid;
  }
  milliseconds elapsed() const {
    const std::scoped_lock lock(_mutex);
    return _clock.elapsed();
  }

  std::function<void()> onTake;          // set before it takes anything
  std::atomic<unsigned> beginnings = 0;  // of the file, but the first

 private:
  mutable std::mutex _mutex;
  std::condition_variable _changed;
  std::uint64_t _packets = 0;
  std::uint16_t _pid = 0;  // of the last one
  StreamClock _clock;
  std::optional<End> _end;
};

class TunersTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const std::uint32_t frequency : {1U, 2U, 3U}) air(frequency);
    receive(1);
  }
  void TearDown() override {
    _tuners.reset();
    _pool.reset();
    _events->stop();
  }

  // Twenty seconds of a clock that tells ten times a second.
  void air(std::uint32_t frequency) const {
    StreamBuilder stream;
    for (std::uint64_t i = 0; i < 200; ++i) stream.addPcr(0x100, i * 2'700'000);
    write(_air / (std::to_string(frequency) + ".ts"), stream.bytes());
  }

  void receive(std::uint32_t tuners) {
    _tuners.reset();
    ReceiverSettings settings{.type = ReceiverType::DvbT, .directory = _air.path(), .tuners = tuners};
    std::vector<std::unique_ptr<Broadcast>> broadcasts;
    broadcasts.push_back(std::make_unique<DirectoryBroadcast>(settings));
    _pool = std::make_unique<ReceiverPool>(std::move(broadcasts), [](const Broadcast&, Presence::Change) {});
    _tuners = std::make_unique<Tuners>(*_events, *_pool);
  }

  std::unique_ptr<TunedShare> open(std::uint32_t multiplex, ReceiverUse use, Taker& taker) {
    const durix_scan_frequency tuning{static_cast<std::int32_t>(multiplex), 8'000'000, -1, -1, -1, -1, -1};
    return _tuners->open({.id = multiplex, .receiver = ReceiverType::DvbT, .tuning = tuning}, use, taker);
  }
  std::optional<Code> failure(std::uint32_t multiplex, ReceiverUse use) {
    Taker nobody;
    try {
      open(multiplex, use, nobody);
    } catch (const Failure& failure) {
      return failure.code();
    }
    return std::nullopt;
  }

  TemporaryDirectory _air;
  std::shared_ptr<EventQueue> _events = EventQueue::create();
  std::unique_ptr<ReceiverPool> _pool;
  std::unique_ptr<Tuners> _tuners;
};

TEST_F(TunersTest, HandsPacketsOnInTheTimeOfTheBroadcast) {
  Taker taker;
  const auto start = std::chrono::steady_clock::now();
  const auto share = open(1, Live, taker);
  while (taker.elapsed() < milliseconds(800)) ASSERT_TRUE(taker.comes());
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(700));
}

TEST_F(TunersTest, SharesTheReceiverOfAMultiplex) {
  Taker first;
  Taker second;
  auto one = open(1, Live, first);
  const auto two = open(1, Recording, second);
  EXPECT_TRUE(first.comes());
  EXPECT_TRUE(second.comes());
  ASSERT_EQ(_tuners->occupations().size(), 1U);
  EXPECT_EQ(_tuners->occupations().front().users, 2U);
  EXPECT_EQ(_tuners->multiplexes(Recording), std::vector<std::uint32_t>{1});
  one.reset();
  const auto count = first.packets();
  EXPECT_TRUE(second.comes(2));
  EXPECT_EQ(first.packets(), count) << "who has left gets nothing";
  EXPECT_FALSE(first.hasEnded());
}

TEST_F(TunersTest, TakesAReceiverFromWhatIsLessImportant) {
  const struct {
    ReceiverUse holder;
    ReceiverUse comer;
    bool isTaken;
  } cases[] = {{Guide, Guide, false},        {Guide, Live, true},      {Guide, Scan, true},
               {Live, Guide, false},         {Live, Live, false},      {Live, Scan, true},
               {Live, Recording, true},      {Scan, Live, false},      {Scan, Scan, false},
               {Scan, Recording, true},      {Recording, Live, false}, {Recording, Scan, false},
               {Recording, Recording, false}};
  for (const auto& [holder, comer, isTaken] : cases) {
    SCOPED_TRACE(static_cast<int>(holder) * 10 + static_cast<int>(comer));
    for (const bool isReserved : {false, true}) {
      Taker held;
      const auto share = isReserved ? _tuners->reserve(holder, held) : open(1, holder, held);
      ASSERT_NE(share, nullptr);
      EXPECT_EQ(failure(2, comer), isTaken ? std::nullopt : std::optional(Code::Busy));
      EXPECT_EQ(isTaken ? held.waitForEnd() : std::nullopt, isTaken ? std::optional(End::Taken) : std::nullopt);
      EXPECT_EQ(held.hasEnded(), isTaken);
    }
  }
}

TEST_F(TunersTest, TakesTheLeastImportantOfSeveral) {
  receive(3);
  Taker recording;
  Taker guide;
  Taker live;
  Taker scan;
  const auto first = open(1, Recording, recording);
  const auto second = _tuners->reserve(Guide, guide);
  const auto third = open(2, Live, live);
  const auto fourth = _tuners->reserve(Scan, scan);
  EXPECT_EQ(guide.waitForEnd(), End::Taken);
  EXPECT_TRUE(live.comes());
  EXPECT_EQ(failure(3, Live), Code::Busy);
  EXPECT_EQ(failure(3, Recording), std::nullopt);
  EXPECT_EQ(live.waitForEnd(), End::Taken);
  EXPECT_FALSE(recording.hasEnded() || scan.hasEnded());
}

TEST_F(TunersTest, GivesNoReceiverWhereThereIsNothingToReceive) {
  EXPECT_EQ(failure(4, Recording), Code::NoSignal);
  receive(0);
  EXPECT_EQ(failure(1, Recording), Code::Busy);
  _tuners->stop();
  EXPECT_EQ(failure(1, Live), Code::NoInstance);
}

TEST_F(TunersTest, FreesAReceiverWithItsLastShare) {
  Taker taker;
  auto share = open(1, Recording, taker);
  EXPECT_EQ(failure(2, Live), Code::Busy);
  share.reset();
  EXPECT_EQ(failure(2, Live), std::nullopt);
  EXPECT_TRUE(_tuners->occupations().empty());
}

TEST_F(TunersTest, LetsATakerLeaveFromInside) {
  std::unique_ptr<TunedShare> share;
  std::mutex mutex;
  Taker taker;
  taker.onTake = [&] {
    const std::scoped_lock lock(mutex);
    share.reset();
  };
  {
    const std::scoped_lock lock(mutex);
    share = open(1, Live, taker);
  }
  EXPECT_TRUE(eventually([&] { return _tuners->occupations().empty(); }));
  EXPECT_EQ(failure(2, Live), std::nullopt);
  EXPECT_EQ(taker.packets(), 1U);
}

TEST_F(TunersTest, WaitsForATakerThatIsInside) {
  std::atomic<bool> isInside = false;
  Taker taker;
  taker.onTake = [&] {
    isInside = true;
    std::this_thread::sleep_for(milliseconds(50));
    isInside = false;
  };
  auto share = open(1, Live, taker);
  ASSERT_TRUE(eventually([&] { return isInside.load(); }));
  share.reset();
  EXPECT_FALSE(isInside);
}

TEST_F(TunersTest, EndsEverybodyWhenItStops) {
  receive(2);
  Taker live;
  Taker guide;
  const auto first = open(1, Live, live);
  const auto second = _tuners->reserve(Guide, guide);
  _tuners.reset();
  EXPECT_EQ(live.waitForEnd(), End::Closed);
  EXPECT_EQ(guide.waitForEnd(), End::Closed);
}

TEST_F(TunersTest, GoesOverToAnotherStreamThatComesInItsPlace) {
  const auto air = [this](std::uint16_t pid) {
    write(_air / "new", StreamBuilder().addPcr(pid, 0).addPcr(pid, 2'700'000).bytes());
    std::filesystem::rename(_air / "new", _air / "1.ts");
  };
  air(0x100);
  Taker taker;
  const auto share = open(1, Live, taker);
  ASSERT_TRUE(taker.comes(10));
  EXPECT_GE(taker.beginnings, 4U) << "every second packet is the file's first";
  air(0x200);
  EXPECT_TRUE(eventually([&] { return taker.pid() == 0x200; }));
  EXPECT_FALSE(taker.hasEnded());
}

TEST_F(TunersTest, SurvivesManyWhoWantTheSame) {
  constexpr std::uint32_t RECEIVERS = 2;
  receive(RECEIVERS);
  std::atomic<int> granted = 0;
  const auto want = [&](unsigned seed) {
    for (unsigned i = 0; i < 100; ++i) {
      seed = seed * 1'103'515'245 + 12'345;
      const auto use = static_cast<ReceiverUse>(seed >> 16 & 3);
      Taker taker;
      std::unique_ptr<TunedShare> share;
      try {
        share = (seed >> 20 & 3) == 0 ? _tuners->reserve(use, taker) : open(1 + (seed >> 24) % 3, use, taker);
      } catch (const Failure& failure) {
        EXPECT_EQ(failure.code(), Code::Busy);
      }
      EXPECT_LE(_tuners->occupations().size(), RECEIVERS);
      if (share != nullptr) ++granted;
      if ((seed >> 28 & 1) == 0) std::this_thread::yield();
    }
  };
  std::vector<std::jthread> threads;
  for (unsigned i = 0; i < 4; ++i) threads.emplace_back(want, i);
  threads.clear();
  EXPECT_GT(granted, 0);
  EXPECT_TRUE(_tuners->occupations().empty());
}

// Only after a while: a short drop is nobody's business.
TEST_F(TunersTest, LosesAStreamThatStaysAway) {
  Taker taker;
  const auto share = open(1, Live, taker);
  ASSERT_TRUE(taker.comes());
  const auto start = std::chrono::steady_clock::now();
  std::filesystem::remove(_air / "1.ts");
  EXPECT_EQ(taker.waitForEnd(), End::Lost);
  EXPECT_GE(std::chrono::steady_clock::now() - start, Presence::PATIENCE);
  EXPECT_TRUE(_tuners->occupations().empty());
}

}  // namespace
}  // namespace durix::test

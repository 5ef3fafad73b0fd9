// When packets are due.
#include "middleware/stream/Pacer.h"

#include <gtest/gtest.h>

#include "tests/si/StreamBuilder.h"

namespace durix::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
constexpr std::uint64_t TICKS = 27'000;  // of a millisecond
constexpr Pacer::Time START{std::chrono::hours(1)};

class PacerTest : public ::testing::Test {
 protected:
  // When the packet with this reference is due, or one without any; milliseconds after the start.
  std::int64_t clock(std::uint64_t time, milliseconds now, std::uint16_t pid = 0x100) {
    StreamBuilder builder;
    return due(builder.addPcr(pid, time * TICKS).bytes(), now);
  }
  std::int64_t other(milliseconds now, int packets = 1) {
    static const Bytes packet = StreamBuilder().add(0x200, {text("other")}).bytes();
    for (; packets > 1; --packets) due(packet, now);
    return due(packet, now);
  }

 private:
  std::int64_t due(const Bytes& bytes, milliseconds now) {
    const PacketView packet(PacketView::Bytes(bytes.data(), PACKET_SIZE));
    return std::chrono::duration_cast<milliseconds>(_pacer.due(packet, START + now) - START).count();
  }

  Pacer _pacer;
};

TEST_F(PacerTest, FollowsTheClock) {
  EXPECT_EQ(other(milliseconds(0), 100), 0) << "before the first reference";
  EXPECT_EQ(clock(1000, milliseconds(0)), 0);
  EXPECT_EQ(clock(1040, milliseconds(0)), 40);
  EXPECT_EQ(other(milliseconds(30), 500), 40);
  EXPECT_EQ(clock(1100, milliseconds(41)), 100);
}

TEST_F(PacerTest, WaitsForNoJump) {
  clock(1000, milliseconds(0));
  EXPECT_EQ(clock(1040, milliseconds(0)), 40);
  EXPECT_EQ(clock(3'601'040, milliseconds(40)), 40);
  EXPECT_EQ(clock(3'601'080, milliseconds(40)), 80);
  EXPECT_EQ(clock(500, milliseconds(80)), 80);
  EXPECT_EQ(clock(540, milliseconds(80)), 120);
}

// Several programmes have clocks of their own, and packets of all of them are lost at once.
TEST_F(PacerTest, CountsAGapInAllClocksOnce) {
  std::int64_t last = 0;
  for (const std::uint64_t time : {0U, 40U, 80U, 580U, 620U, 660U}) {
    for (std::uint16_t i = 0; i < 6; ++i) {
      last = clock(time + std::uint64_t{1'000'000} * i, milliseconds(last), static_cast<std::uint16_t>(0x100 + i));
    }
  }
  EXPECT_NEAR(static_cast<double>(last), 660, 40);
}

// 8 Mbit/s are 5319 packets a second; a while without a clock is nothing unusual.
TEST_F(PacerTest, GivesAStreamWithoutAClockAUsualRate) {
  EXPECT_NEAR(static_cast<double>(other(milliseconds(0), 5'000 + 53'190)), 10'000, 10);
}

TEST_F(PacerTest, GoesOnWhenTheClockFallsSilentAndComesBack) {
  clock(0, milliseconds(0));
  clock(100, milliseconds(0));
  const auto silent = other(milliseconds(0), 5'000 + 5'319);
  EXPECT_NEAR(static_cast<double>(silent), 1'100, 10);
  EXPECT_NEAR(static_cast<double>(clock(1'300, milliseconds(1'100))), 1'300, 10)
      << "what was counted is not counted again";
}

TEST_F(PacerTest, DoesNotCatchUpWhatCameMuchTooLate) {
  clock(0, milliseconds(0));
  EXPECT_EQ(clock(100, milliseconds(400)), 100) << "a little late";
  EXPECT_EQ(clock(200, milliseconds(10'000)), 10'000);
  EXPECT_EQ(clock(300, milliseconds(10'000)), 10'100);
}

}  // namespace
}  // namespace durix::test

// The queue between a receiver that never waits and a decoder that may stand still.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <span>
#include <thread>

#include "middleware/player/LiveBytes.h"

namespace durix {
namespace {

std::array<std::uint8_t, PACKET_SIZE> packet(std::uint32_t number) {
  std::array<std::uint8_t, PACKET_SIZE> bytes{SYNC_BYTE};
  for (unsigned i = 0; i < 4; ++i) bytes.at(1 + i) = static_cast<std::uint8_t>(number >> 8 * i);
  return bytes;
}

// Reads a whole packet, however small the decoder's buffer is; its number.
std::uint32_t read(LiveBytes& bytes, std::size_t step) {
  std::array<std::uint8_t, PACKET_SIZE> whole{};
  for (std::size_t place = 0; place < whole.size();) {
    const std::size_t part = std::min(step, whole.size() - place);
    const std::size_t count = bytes.read(std::span(whole).subspan(place, part));
    if (count == 0) return 0;
    place += count;
  }
  EXPECT_EQ(whole[0], SYNC_BYTE);
  std::uint32_t number = 0;
  for (unsigned i = 0; i < 4; ++i) number |= static_cast<std::uint32_t>(whole.at(1 + i)) << 8 * i;
  return number;
}

TEST(LiveBytes, GivesPacketsInTheirOrderWhateverIsAskedFor) {
  LiveBytes bytes(nullptr);
  for (std::uint32_t i = 1; i <= 300; ++i) EXPECT_TRUE(bytes.write(packet(i)));
  for (std::uint32_t i = 1; i <= 300; ++i) ASSERT_EQ(read(bytes, 1 + i % 200), i);
  EXPECT_EQ(bytes.dropped(), 0U);
}

TEST(LiveBytes, BeginsAnewWhenNobodyReads) {
  LiveBytes bytes(nullptr);
  std::uint32_t last = 0;
  while (bytes.write(packet(++last))) ASSERT_LT(last, 1'000'000U) << "there is a limit";
  EXPECT_EQ(bytes.dropped(), (last - 1) * PACKET_SIZE);
  EXPECT_TRUE(bytes.write(packet(last + 1)));
  EXPECT_EQ(read(bytes, PACKET_SIZE), last) << "with what came when there was no room";
  EXPECT_EQ(read(bytes, PACKET_SIZE), last + 1);
}

TEST(LiveBytes, EndsAReadThatWaits) {
  for (const bool hasPacket : {false, true}) {  // waiting for a first one, and for its moment
    LiveBytes bytes(nullptr);
    if (hasPacket) bytes.write(packet(1));
    std::thread other([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      bytes.cancel();
    });
    EXPECT_EQ(read(bytes, PACKET_SIZE), 0U);
    other.join();
    EXPECT_TRUE(bytes.write(packet(2))) << "nobody is told of a queue that has ended";
    EXPECT_EQ(read(bytes, PACKET_SIZE), 0U);
  }
}

}  // namespace
}  // namespace durix

// A file that begins again at its end is one stream: clocks, time stamps and counters go on.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <span>

#include "middleware/stream/LoopedStream.h"
#include "middleware/stream/Reception.h"
#include "tests/si/Captures.h"
#include "tests/si/StreamBuilder.h"

namespace durix::test {
namespace {

constexpr std::uint64_t TIME_STAMP_WRAP = std::uint64_t{1} << 33;
constexpr std::uint64_t CLOCK_WRAP = TIME_STAMP_WRAP * 300;
constexpr std::uint64_t FRAME = 27'000'000 / 25;
constexpr std::uint16_t VIDEO = 0x100;
constexpr int FRAMES = 10;

Bytes timeStamp(unsigned prefix, std::uint64_t value) {
  return {static_cast<std::uint8_t>(prefix << 4 | (value >> 29 & 0x0E) | 1), static_cast<std::uint8_t>(value >> 22),
          static_cast<std::uint8_t>((value >> 14 & 0xFE) | 1), static_cast<std::uint8_t>(value >> 7),
          static_cast<std::uint8_t>((value << 1 & 0xFE) | 1)};
}

std::uint64_t valueOf(std::span<const std::uint8_t> stamp) {
  const auto part = [&](std::size_t i) { return std::uint64_t{stamp[i]}; };
  return (part(0) & 0x0E) << 29 | part(1) << 22 | (part(2) & 0xFE) << 14 | part(3) << 7 | part(4) >> 1;
}

Bytes packet(std::uint16_t pid, bool startsUnit, std::uint8_t control, const Bytes& payload) {
  Bytes bytes{SYNC_BYTE, static_cast<std::uint8_t>((startsUnit ? 0x40 : 0) | pid >> 8), static_cast<std::uint8_t>(pid),
              control};
  bytes.insert(bytes.end(), payload.begin(), payload.end());
  bytes.resize(PACKET_SIZE, 0xAA);
  return bytes;
}

// Frames of a picture: their clock references and PES packets of two packets each, whose DTS is the clock and whose PTS
// comes two frames later.
Bytes frames(std::uint64_t start, std::uint8_t scrambling = 0) {
  Bytes stream;
  std::uint8_t counter = 7;
  for (int i = 0; i < FRAMES; ++i) {
    const std::uint64_t pcr = (start + static_cast<std::uint64_t>(i) * FRAME) % CLOCK_WRAP;
    StreamBuilder reference;
    reference.addPcr(VIDEO, pcr);
    Bytes bytes = reference.bytes();
    bytes[3] = static_cast<std::uint8_t>(bytes[3] | (counter & 0x0F));
    const std::uint64_t pts = (pcr + 2 * FRAME) / 300 % TIME_STAMP_WRAP;
    const Bytes pes = join({{0, 0, 1, 0xE0, 0, 0, 0x84, 0xC0, 10}, timeStamp(3, pts), timeStamp(1, pcr / 300)});
    for (const bool isFirst : {true, false}) {
      counter = (counter + 1) & 0x0F;
      const auto control = static_cast<std::uint8_t>(scrambling | 0x10 | counter);
      bytes = join({bytes, packet(VIDEO, isFirst, control, isFirst ? pes : Bytes{})});
    }
    stream = join({stream, bytes});
  }
  return stream;
}

Bytes loops(const Bytes& stream, std::size_t count) {
  LoopedStream looped(std::make_unique<MemorySource>(stream));
  Bytes all;
  while (all.size() < stream.size() * count) {
    const auto next = looped.next();
    if (!next) break;
    all.insert(all.end(), next->bytes().begin(), next->bytes().end());
  }
  return all;
}

template <typename Take>
void forPackets(const Bytes& stream, Take take) {
  for (std::size_t at = 0; at + PACKET_SIZE <= stream.size(); at += PACKET_SIZE) {
    take(PacketView(PacketView::Bytes(stream.data() + at, PACKET_SIZE)));
  }
}

std::uint64_t continuityErrors(const Bytes& stream) {
  ReceptionMeter meter;
  forPackets(stream, [&](const PacketView& each) { meter.feed(each); });
  return meter.reception().continuityErrors;
}

class LoopStart : public ::testing::TestWithParam<std::uint64_t> {};

TEST_P(LoopStart, ClocksAndTimeStampsGoOnFrameByFrame) {
  const Bytes stream = frames(GetParam());
  const Bytes all = loops(stream, 3);
  ASSERT_EQ(all.size(), stream.size() * 3);
  EXPECT_TRUE(std::equal(stream.begin(), stream.end(), all.begin())) << "the first loop is the file itself";
  std::uint64_t expected = GetParam();
  int references = 0;
  int units = 0;
  forPackets(all, [&](const PacketView& each) {
    if (const auto pcr = each.pcr()) {
      EXPECT_EQ(*pcr, (GetParam() + static_cast<std::uint64_t>(references++) * FRAME) % CLOCK_WRAP);
      expected = *pcr;
    } else if (each.startsUnit()) {
      ++units;
      EXPECT_EQ(valueOf(each.payload().subspan(9, 5)), (expected + 2 * FRAME) / 300 % TIME_STAMP_WRAP);
      EXPECT_EQ(valueOf(each.payload().subspan(14, 5)), expected / 300);
    }
  });
  EXPECT_EQ(references, 3 * FRAMES);
  EXPECT_EQ(units, 3 * FRAMES);
  EXPECT_EQ(continuityErrors(all), 0U);
}

// The last one's clock is over its end in the first loop, and again behind the seam.
INSTANTIATE_TEST_SUITE_P(Starts, LoopStart,
                         ::testing::Values(0, 123'456'789, CLOCK_WRAP - 3 * FRAME, CLOCK_WRAP - (FRAMES + 2) * FRAME));

TEST(LoopedStream, KeepsTheGapsInsideAFileAndShowsNoneAtItsSeam) {
  Bytes stream = frames(0);
  stream.erase(stream.begin() + 4 * PACKET_SIZE, stream.begin() + 5 * PACKET_SIZE);
  EXPECT_EQ(continuityErrors(loops(stream, 1)), 1U);
  EXPECT_EQ(continuityErrors(loops(stream, 5)), 5U);
}

TEST(LoopedStream, LeavesScrambledPayloadAsItIs) {
  const Bytes stream = frames(FRAME, 0x80);
  const Bytes all = loops(stream, 2);
  ASSERT_EQ(all.size(), stream.size() * 2);
  for (std::size_t at = 0; at < stream.size(); at += PACKET_SIZE) {
    if ((stream[at + 3] & 0x10) == 0) continue;
    const std::span payload(stream.data() + at + 4, PACKET_SIZE - 4);
    EXPECT_TRUE(std::ranges::equal(payload, std::span(all.data() + stream.size() + at + 4, payload.size())));
  }
}

TEST(LoopedStream, EndsWithoutASinglePacketAndGoesOnWhenThereIsOne) {
  LoopedStream looped(std::make_unique<MemorySource>(Bytes(1000, 0)));
  EXPECT_FALSE(looped.next());
  EXPECT_FALSE(looped.next());
  looped.setNext(std::make_unique<MemorySource>(frames(0)));
  EXPECT_TRUE(looped.next());
}

class LoopedCapture : public ::testing::TestWithParam<const char*> {};

// Each clock and each stream of time stamps is moved by the same, loop by loop, and no clock goes back.
TEST_P(LoopedCapture, HasNoSeam) {
  const Bytes file = bytesOf(GetParam());
  if (file.empty()) GTEST_SKIP() << "no " << GetParam() << " in " << captureFolder();
  const Bytes once = loops(file, 1);
  const Bytes all = loops(once, 3);
  ASSERT_EQ(all.size(), once.size() * 3);
  EXPECT_EQ(continuityErrors(all), 3 * continuityErrors(once));
  std::map<std::uint16_t, std::uint64_t> last;
  forPackets(all, [&](const PacketView& each) {
    const auto pcr = each.pcr();
    if (!pcr) return;
    const auto before = last.emplace(each.pid(), *pcr).first;
    EXPECT_LT((*pcr + CLOCK_WRAP - before->second) % CLOCK_WRAP, 27'000'000U / 4) << "PID " << each.pid();
    before->second = *pcr;
  });
  EXPECT_FALSE(last.empty());
  std::set<std::uint64_t> shifts;
  std::size_t position = 0;
  forPackets(once, [&](const PacketView& each) {
    const PacketView later(PacketView::Bytes(all.data() + once.size() + position, PACKET_SIZE));
    position += PACKET_SIZE;
    if (each.pcr()) shifts.insert((*later.pcr() + CLOCK_WRAP - *each.pcr()) % CLOCK_WRAP / 300);
    const auto pes = each.payload();
    const bool hasPts = each.startsUnit() && !each.isScrambled() && pes.size() > 14 && pes[0] == 0 && pes[1] == 0 &&
                        pes[2] == 1 && (pes[7] & 0x80) != 0;
    if (!hasPts) return;
    const auto moved = valueOf(later.payload().subspan(9, 5)) + TIME_STAMP_WRAP - valueOf(pes.subspan(9, 5));
    shifts.insert(moved % TIME_STAMP_WRAP);
  });
  EXPECT_EQ(shifts.size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Captures, LoopedCapture,
                         ::testing::Values("it-rai-dvbt-2022", "fr-france2-2019", "fr-tnt-r1-raw-2026"));

}  // namespace
}  // namespace durix::test

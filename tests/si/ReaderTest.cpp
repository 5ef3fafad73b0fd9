// Packets out of bytes: sizes, losses, clocks.
#include <gtest/gtest.h>

#include <algorithm>

#include "StreamBuilder.h"
#include "middleware/stream/StreamClock.h"

namespace durix::test {
namespace {

constexpr std::size_t COUNT = 20;

// Packets whose second PID byte is their number.
Bytes numberedPackets(std::size_t before, std::size_t behind) {
  Bytes bytes;
  for (std::size_t i = 0; i < COUNT; ++i) {
    Bytes packet = {SYNC_BYTE, 0x01, static_cast<std::uint8_t>(i), 0x10};
    packet.resize(PACKET_SIZE, 0x55);
    bytes = join({bytes, Bytes(before, 0x11), packet, Bytes(behind, 0x22)});
  }
  return bytes;
}

std::vector<std::size_t> numbersIn(PacketReader& reader) {
  std::vector<std::size_t> numbers;
  while (const auto packet = reader.next()) numbers.push_back(packet->pid() & 0xFFU);
  return numbers;
}

std::vector<std::size_t> allBut(std::initializer_list<std::size_t> lost) {
  std::vector<std::size_t> numbers;
  for (std::size_t i = 0; i < COUNT; ++i) {
    if (std::ranges::find(lost, i) == lost.end()) numbers.push_back(i);
  }
  return numbers;
}

TEST(PacketReader, FindsThePacketsInWhateverSurroundsThem) {
  const Bytes plain = numberedPackets(0, 0);
  const auto at = [](std::size_t packet) { return static_cast<std::ptrdiff_t>(packet * PACKET_SIZE); };
  const auto changed = [&](auto change) {
    Bytes bytes = plain;
    change(bytes);
    return bytes;
  };
  struct Row {
    const char* reason;
    Bytes bytes;
    std::vector<std::size_t> numbers;
    std::uint64_t losses;
  };
  Bytes longGarbage(1'000'000, 0);
  for (std::size_t i = 500; i < longGarbage.size(); i += 1000 + i % 7) longGarbage[i] = SYNC_BYTE;
  const std::vector<Row> rows = {
      {"nothing", {}, {}, 0},
      {"less than a packet", Bytes(100, SYNC_BYTE), {}, 0},
      {"one packet", Bytes(plain.begin(), plain.begin() + at(1)), {0}, 0},
      {"plain", plain, allBut({}), 0},
      {"parity behind each packet", numberedPackets(0, 16), allBut({}), 0},
      {"a time stamp before each packet", numberedPackets(4, 0), allBut({}), 0},
      {"cut in the middle of the first and last packet", Bytes(plain.begin() + 90, plain.end() - 90), allBut({0, 19}),
       0},
      {"garbage with sync bytes first", join({Bytes(100, SYNC_BYTE), {1, 2, 3}, plain}), allBut({}), 0},
      {"garbage longer than the buffer first", join({longGarbage, plain}), allBut({}), 0},
      {"garbage longer than the buffer between packets",
       changed([&](Bytes& b) { b.insert(b.begin() + at(7), longGarbage.begin(), longGarbage.end()); }), allBut({}), 1},
      {"one sync byte hit", changed([&](Bytes& b) { b[at(5)] = 0; }), allBut({5}), 0},
      {"bytes inserted between packets", changed([&](Bytes& b) { b.insert(b.begin() + at(7), 33, 0xEE); }), allBut({}),
       1},
      {"bytes lost in a packet", changed([&](Bytes& b) { b.erase(b.begin() + at(7) + 50, b.begin() + at(7) + 80); }),
       allBut({8}), 1},
      {"error indicator set", changed([&](Bytes& b) { b[at(9) + 1] |= 0x80; }), allBut({9}), 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reason);
    auto reader = readerOf(row.bytes);
    auto numbers = numbersIn(reader);
    // Garbage may look like a packet; it is dropped here by its number and elsewhere by its checksum.
    std::erase_if(numbers, [](std::size_t number) { return number >= COUNT; });
    EXPECT_EQ(numbers, row.numbers);
    EXPECT_EQ(reader.statistics().syncLosses, row.losses);
    if (row.bytes.size() > longGarbage.size()) {
      EXPECT_EQ(reader.statistics().skippedBytes, row.bytes.size() - row.numbers.size() * PACKET_SIZE);
    }
  }
}

TEST(PacketReader, ReadsAgainAfterRewind) {
  auto reader = readerOf(numberedPackets(0, 0));
  EXPECT_EQ(numbersIn(reader).size(), COUNT);
  EXPECT_TRUE(reader.rewind());
  EXPECT_EQ(numbersIn(reader), allBut({}));
}

TEST(PacketReader, OpensFilesOnly) {
  EXPECT_EQ(PacketReader::open("/nonexistent/474000000.ts"), nullptr);
  EXPECT_EQ(PacketReader::open("/"), nullptr);
}

TEST(StreamClock, CountsBroadcastTimeOnly) {
  constexpr std::uint64_t SECOND = 27'000'000;
  constexpr std::uint64_t WRAP = (std::uint64_t{1} << 33) * 300;
  struct Row {
    const char* reason;
    std::vector<std::pair<std::uint16_t, std::uint64_t>> references;
    int milliseconds;
  };
  const std::vector<Row> rows = {
      {"none", {}, 0},
      {"steady", {{1, 0}, {1, SECOND}, {1, SECOND * 5 / 2}}, 2500},
      {"the counter begins again", {{1, WRAP - SECOND}, {1, SECOND / 2}}, 1500},
      {"a jump ahead", {{1, 0}, {1, SECOND * 900}, {1, SECOND * 901}}, 1000},
      {"a jump back", {{1, SECOND * 900}, {1, SECOND}, {1, SECOND * 2}}, 1000},
      {"another programme's clock", {{1, 0}, {2, SECOND / 2}, {1, SECOND}}, 1000},
      {"the clock goes on under another PID, where its first reference is the beginning",
       {{1, 0}, {1, SECOND}, {2, SECOND}, {2, SECOND * 11 / 10}, {2, SECOND * 14 / 10}, {2, SECOND * 2}},
       2000},
      {"it ends beside another's",
       {{1, 0}, {2, 0}, {1, SECOND / 10}, {2, SECOND / 10}, {2, SECOND / 5}, {2, SECOND * 3 / 10}, {2, SECOND * 2}},
       2000},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reason);
    StreamBuilder stream;
    for (const auto& [pid, ticks] : row.references) stream.addPcr(pid, ticks);
    auto reader = readerOf(stream.bytes());
    StreamClock clock;
    while (const auto packet = reader.next()) clock.feed(*packet);
    EXPECT_EQ(clock.elapsed().count(), row.milliseconds);
  }
}

}  // namespace
}  // namespace durix::test

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

#include "apps/broadcaster/Broadcast.h"
#include "apps/broadcaster/media/VideoSource.h"
#include "apps/broadcaster/ts/Multiplexer.h"
#include "apps/broadcaster/ts/Section.h"
#include "tests/broadcaster/StreamReader.h"

namespace broadcaster {
namespace {

using namespace std::chrono_literals;

constexpr Moment START{std::chrono::seconds(1'782'900'000)};

/// Units of given sizes, 40 ms apart.
class Sizes : public AccessUnitSource {
 public:
  explicit Sizes(std::vector<std::size_t> sizes) : _sizes(std::move(sizes)) {}

  std::optional<AccessUnit> next() override {
    if (_next == _sizes.size()) return std::nullopt;
    AccessUnit unit;
    unit.decoding = static_cast<std::int64_t>(_next) * Ticks(40ms);
    unit.presentation = unit.decoding + (_next % 3 == 0 ? Ticks(0) : Ticks(80ms));
    unit.randomAccess = _next % 5 == 0;
    unit.data = contents(_next);
    ++_next;
    return unit;
  }

  [[nodiscard]] Bytes contents(std::size_t unit) const {
    Bytes data(_sizes[unit]);
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<std::uint8_t>(7 * unit + 13 * i);
    return data;
  }

 private:
  std::vector<std::size_t> _sizes;
  std::size_t _next = 0;
};

TEST(ElementaryStreams, ComeOutAsTheyWentInWhateverTheirSizes) {
  // Every way in which the end of a unit can lie in a packet, with and without clock references and flags.
  std::vector<std::size_t> sizes;
  for (std::size_t size = 1; size <= 400; ++size) sizes.push_back(size);
  const Sizes original(sizes);
  for (const std::uint8_t streamId : {std::uint8_t{0xC0}, std::uint8_t{0xE0}}) {
    Multiplexer multiplexer(1'000'000);
    multiplexer.add({.pid = 0x101, .streamId = streamId, .lead = 1s, .carriesPcr = true},
                    std::make_unique<Sizes>(sizes));
    StreamReader reader;
    multiplexer.run(17s, [&](const Packet& packet) { reader.read(packet, {}); });
    reader.finish();
    EXPECT_EQ(reader.errors, std::vector<std::string>());
    ASSERT_EQ(reader.units[0x101].size(), sizes.size());
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      const StreamReader::Unit& unit = reader.units[0x101][i];
      EXPECT_EQ(unit.data, original.contents(i)) << i;
      EXPECT_EQ(unit.decoding, ElementaryStream::PRELOAD + static_cast<std::int64_t>(i) * Ticks(40ms)) << i;
      EXPECT_EQ(unit.presentation - unit.decoding, i % 3 == 0 ? Ticks(0) : Ticks(80ms)) << i;
    }
  }
}

TEST(Multiplexer, RefusesMoreThanItsBitRateCarries) {
  struct Row {
    std::int64_t bitRate;
    Ticks duration;
    bool fits;
    const char* reason;
  };
  // 50 units of 4 kB in two seconds are 800 kbit/s.
  const Row rows[] = {{1'000'000, 3s, true, "with room to spare"},
                      {500'000, 3s, false, "units come late"},
                      {1'000'000, 1s, false, "the stream ends before the units do"}};
  for (const Row& row : rows) {
    Multiplexer multiplexer(row.bitRate);
    multiplexer.add({.pid = 0x101, .streamId = 0xE0, .lead = 1s, .carriesPcr = true},
                    std::make_unique<Sizes>(std::vector<std::size_t>(50, 4000)));
    const auto run = [&] { multiplexer.run(row.duration, [](const Packet&) {}); };
    if (row.fits) {
      EXPECT_NO_THROW(run()) << row.reason;
    } else {
      EXPECT_THROW(run(), std::runtime_error) << row.reason;
    }
  }
}

/// Each multiplex of the sample broadcast, three seconds of it.
class SampleMultiplex : public testing::TestWithParam<std::size_t> {
 protected:
  static constexpr std::chrono::seconds LENGTH{3};

  void SetUp() override {
    std::vector<std::uint16_t> sectionPids = {pid::PAT, pid::NIT, pid::SDT, pid::EIT, pid::TDT};
    for (std::size_t i = 0; i < _multiplex.services.size(); ++i) {
      sectionPids.push_back(ServicePids(i).pmt);
      sectionPids.push_back(ServicePids(i).data());
    }
    makeMultiplex(_network, _multiplex, START, LENGTH,
                  [&](const Packet& packet) { _reader.read(packet, sectionPids); });
    _reader.finish();
  }

  [[nodiscard]] Ticks timeOf(std::size_t packet) const {
    return Ticks(static_cast<std::int64_t>(packet * PACKET_SIZE) * 8 * Ticks::period::den / _multiplex.bitRate);
  }

  /// The longest time between two sections of a table with the same identity; `tables` of one kind are one.
  [[nodiscard]] Ticks longestGap(std::uint16_t packetId, std::uint8_t tableId) {
    std::map<Bytes, Ticks> last;
    Ticks longest{0};
    for (const StreamReader::Section& section : _reader.sections[packetId]) {
      if (section.data[0] != tableId) continue;
      Bytes identity;
      if (tableId != 0x70 && tableId != 0x73) identity = {section.data[3], section.data[4], section.data[6]};
      const Ticks now = timeOf(section.packet);
      longest = std::max(longest, now - last.try_emplace(identity, 0).first->second);
      last[identity] = now;
    }
    for (const auto& [identity, time] : last) longest = std::max(longest, Ticks(LENGTH) - time);
    return last.empty() ? Ticks::max() : longest;
  }

  Network _network = sampleNetwork(canEncodeH264());
  const Multiplex& _multiplex = _network.multiplexes.at(GetParam());
  StreamReader _reader;
};

TEST_P(SampleMultiplex, IsAStreamWithoutFaults) {
  EXPECT_EQ(_reader.errors, std::vector<std::string>());
  const auto bits = static_cast<std::int64_t>(_reader.packets * PACKET_SIZE * 8);
  EXPECT_NEAR(static_cast<double>(bits), static_cast<double>(_multiplex.bitRate * LENGTH.count()), PACKET_SIZE * 8);
  std::size_t sections = 0;
  for (const auto& [packetId, found] : _reader.sections) {
    for (const StreamReader::Section& section : found) {
      ++sections;
      if (section.data[0] == 0x70) continue;  // the TDT alone has none
      EXPECT_EQ(crc32(section.data), 0U) << packetId;
    }
  }
  EXPECT_GT(sections, 100U);
}

TEST_P(SampleMultiplex, RepeatsItsTablesInTime) {
  struct Row {
    std::uint16_t packetId;
    std::uint8_t tableId;
    std::chrono::milliseconds most;
    const char* reason;
  };
  std::vector<Row> rows = {{pid::PAT, 0x00, 100ms, "PAT"},
                           {pid::NIT, 0x40, 2100ms, "NIT"},
                           {pid::SDT, 0x42, 1100ms, "SDT actual, 2 s at most"},
                           {pid::SDT, 0x46, 4100ms, "SDT other, 10 s at most"},
                           {pid::EIT, 0x4E, 2000ms, "present and following, 2 s at most"},
                           {pid::EIT, 0x4F, 4500ms, "those of the others, 20 s at most"},
                           {pid::EIT, 0x50, 8500ms, "the schedule of today, 10 s at most"},
                           {pid::TDT, 0x70, 5100ms, "the time"},
                           {pid::TDT, 0x73, 5100ms, "the offset"}};
  for (std::size_t i = 0; i < _multiplex.services.size(); ++i) rows.push_back({ServicePids(i).pmt, 0x02, 100ms, "PMT"});
  for (const Row& row : rows) EXPECT_LE(longestGap(row.packetId, row.tableId), Ticks(row.most)) << row.reason;
}

TEST_P(SampleMultiplex, HasAnExactClockForEveryProgramme) {
  for (std::size_t i = 0; i < _multiplex.services.size(); ++i) {
    const Service& service = _multiplex.services[i];
    if (service.audio.empty()) continue;
    const std::uint16_t packetId = service.video ? ServicePids(i).video() : ServicePids(i).audio(0);
    ASSERT_FALSE(_reader.clocks[packetId].empty());
    Ticks last{0};
    for (const StreamReader::Clock& clock : _reader.clocks[packetId]) {
      EXPECT_LE(timeOf(clock.packet) - last, Ticks(40ms)) << service.caption;
      last = timeOf(clock.packet);
      // The moment at which byte 10 of the packet arrives.
      const double arrival =
          (static_cast<double>(clock.packet * PACKET_SIZE) + 10) * 8 * 27e6 / static_cast<double>(_multiplex.bitRate);
      EXPECT_NEAR(static_cast<double>(clock.value.count()), arrival, 1.0) << service.caption;
    }
  }
}

TEST_P(SampleMultiplex, BringsPicturesAndSoundBeforeTheirTime) {
  for (std::size_t i = 0; i < _multiplex.services.size(); ++i) {
    const Service& service = _multiplex.services[i];
    std::map<std::uint16_t, std::size_t> expected;
    if (service.video) expected[ServicePids(i).video()] = static_cast<std::size_t>(LENGTH.count()) * 25;
    if (!service.audio.empty()) expected[ServicePids(i).audio(0)] = 25;  // of 120 ms
    for (const auto& [packetId, count] : expected) {
      const std::vector<StreamReader::Unit>& units = _reader.units[packetId];
      EXPECT_EQ(units.size(), count) << service.caption;
      Ticks last = Ticks::min();
      for (const StreamReader::Unit& unit : units) {
        EXPECT_LT(timeOf(unit.lastPacket + 1), unit.decoding) << service.caption;
        EXPECT_LE(unit.decoding, unit.presentation) << service.caption;
        EXPECT_LT(last, unit.decoding) << service.caption;
        last = unit.decoding;
      }
    }
  }
}

TEST_P(SampleMultiplex, IsTheSameWhenMadeAgain) {
  const auto make = [&](Moment start) {
    Bytes stream;
    makeMultiplex(_network, _multiplex, start, 1s,
                  [&](const Packet& packet) { stream.insert(stream.end(), packet.begin(), packet.end()); });
    return stream;
  };
  const Bytes stream = make(START);
  EXPECT_EQ(stream, make(START));
  EXPECT_NE(stream, make(START + 1s));
}

INSTANTIATE_TEST_SUITE_P(All, SampleMultiplex, testing::Values(0, 1, 2));

}  // namespace
}  // namespace broadcaster

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "apps/broadcaster/Broadcast.h"
#include "apps/broadcaster/media/SubtitleSource.h"
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
    const ServicePids pids(i);
    struct Stream {
      std::uint16_t pid;
      std::uint16_t laterPid;
      std::size_t count;
    };
    std::vector<Stream> streams;
    if (service.video) streams.push_back({pids.video(), pids.laterVideo(), 25 * std::size_t{LENGTH.count()}});
    for (std::size_t track = 0; track < service.audio.size(); ++track) {
      const bool isAc3 = service.audio[track].codec == AudioCodec::Ac3;  // units of 96 ms, else 120
      streams.push_back({pids.audio(track), pids.laterAudio(track), isAc3 ? 31U : 25U});
    }
    for (const Stream& stream : streams) {
      std::vector<StreamReader::Unit> units = _reader.units[stream.pid];
      const std::vector<StreamReader::Unit>& later = _reader.units[stream.laterPid];
      EXPECT_EQ(later.empty(), !service.relocates) << service.caption;
      units.insert(units.end(), later.begin(), later.end());
      EXPECT_EQ(units.size(), stream.count) << service.caption;
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

TEST_P(SampleMultiplex, TellsOfNewPacketIdentifiersBeforeItUsesThem) {
  for (std::size_t i = 0; i < _multiplex.services.size(); ++i) {
    if (!_multiplex.services[i].relocates) continue;
    const ServicePids pids(i);
    std::vector<unsigned> versions;
    std::size_t told = 0;
    for (const StreamReader::Section& section : _reader.sections[pids.pmt]) {
      const unsigned version = section.data[5] >> 1U & 0x1FU;
      if (!versions.empty() && versions.back() == version) continue;
      versions.push_back(version);
      told = section.packet;
    }
    EXPECT_EQ(versions, (std::vector<unsigned>{0, 1}));
    for (const auto& [before, after] :
         {std::pair(pids.video(), pids.laterVideo()), std::pair(pids.audio(0), pids.laterAudio(0))}) {
      ASSERT_FALSE(_reader.units[after].empty());
      EXPECT_GT(_reader.units[after].front().lastPacket, told);
      EXPECT_GT(_reader.units[after].front().lastPacket, _reader.units[before].back().lastPacket);
    }
    const Bytes& first = _reader.units[pids.laterVideo()].front().data;
    EXPECT_EQ(Bytes(first.begin(), first.begin() + 4), (Bytes{0, 0, 1, 0xB3})) << "a sequence header";
  }
}

/// What a decoder shows of a display set: the bytes of its picture; nothing for an empty screen.
Bytes shownBy(AVCodecContext& decoder, Bytes data) {
  data.erase(data.begin(), data.begin() + 2);  // what the transport adds
  data.resize(data.size() + AV_INPUT_BUFFER_PADDING_SIZE);
  AVPacket packet{};
  packet.data = data.data();
  packet.size = static_cast<int>(data.size()) - AV_INPUT_BUFFER_PADDING_SIZE;
  AVSubtitle subtitle{};
  int isThere = 0;
  EXPECT_GE(avcodec_decode_subtitle2(&decoder, &subtitle, &isThere, &packet), 0);
  Bytes shown;
  if (isThere != 0 && subtitle.num_rects > 0) {
    const AVSubtitleRect& rectangle = *subtitle.rects[0];
    shown.assign(rectangle.data[0], rectangle.data[0] + std::ptrdiff_t{rectangle.linesize[0]} * rectangle.h);
  }
  avsubtitle_free(&subtitle);
  return shown;
}

TEST(Subtitles, ShowEachTimeSomethingElseAndNothingAtTheEnd) {
  std::set<Bytes> shown;
  std::size_t count = 0;
  for (const std::string_view language : {"fra", "eng"}) {
    AVCodecContext* decoder = avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_DVB_SUBTITLE));
    ASSERT_GE(avcodec_open2(decoder, nullptr, nullptr), 0);
    SubtitleSource source(language, START, 9s);
    bool isEmpty = false;
    while (const std::optional<AccessUnit> unit = source.next()) {
      const Bytes picture = shownBy(*decoder, unit->data);
      isEmpty = picture.empty();
      if (isEmpty) continue;
      EXPECT_GT(std::ranges::count(picture, 2), 500) << "letters";
      shown.insert(picture);
      ++count;
    }
    EXPECT_TRUE(isEmpty) << language;
    avcodec_free_context(&decoder);
  }
  EXPECT_EQ(count, 6U);
  EXPECT_EQ(shown.size(), count) << "no two are the same";
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

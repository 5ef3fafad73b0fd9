// Every recorded DVB broadcast against what independent decoders found in it.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <set>
#include <tuple>

#include "Captures.h"
#include "middleware/si/MultiplexScanner.h"
#include "middleware/si/ScannedService.h"
#include "middleware/si/TableReaders.h"

namespace durix::test {
namespace {

using nlohmann::json;

std::string hex(unsigned value, int digits) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%0*x", digits, value);
  return text.data();
}

std::string utcText(std::int64_t seconds) {
  const std::time_t time = seconds;
  std::tm fields{};
  gmtime_r(&time, &fields);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &fields);
  return text.data();
}

std::string foldedText(const json& text) {
  return text.is_string() ? canonicalName(text.get<std::string>()) : std::string();
}

const char* kindText(StreamKind kind) {
  constexpr std::array NAMES = {"mpeg1-video", "mpeg2-video", "mpeg4-video", "h264",        "hevc", "vvc",
                                "mpeg1-audio", "mpeg2-audio", "aac-adts",    "aac-latm",    "ac3",  "eac3",
                                "ac4",         "dts",         "teletext",    "dvb-subtitle"};
  const auto index = static_cast<std::size_t>(kind);
  return index < NAMES.size() ? NAMES[index] : "data";
}

class Capture : public ::testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    if (GetParam().empty()) GTEST_SKIP() << "no recordings in " << captureFolder() << "; set TV_CAPTURES";
    _truth = truthOf(GetParam());
    const auto reader = PacketReader::open(captureFolder() / (GetParam() + ".ts"));
    ASSERT_TRUE(reader);
    MultiplexScanner scanner;
    SectionDemux demux([this](std::uint16_t, const Section& section) {
      if (const auto time = readTime(section)) _times[section.tableId()].push_back(utcText(time->utc));
    });
    demux.select(0x14);
    while (const auto packet = reader->next()) {
      scanner.feed(*packet);
      demux.feed(*packet);
    }
    _statistics = reader->statistics();
    _tables = scanner.result();
  }

  json _truth;
  MultiplexTables _tables;
  PacketReader::Statistics _statistics;
  std::map<int, std::vector<std::string>> _times;
};

TEST_P(Capture, HasThePacketsOfTheFile) {
  const auto& file = _truth["file"];
  const auto& defects = _truth["defects"];
  EXPECT_EQ(_statistics.damagedPackets, defects["transport_error_packets"].get<std::uint64_t>());
  EXPECT_EQ(_statistics.packets + _statistics.damagedPackets, file["packets"].get<std::uint64_t>());
  EXPECT_EQ(_statistics.syncLosses, defects["resyncs"].get<std::uint64_t>());
}

TEST_P(Capture, ListsTheProgramsOfThePat) {
  EXPECT_EQ(_tables.hasPat, !_truth["pat"].empty());
  for (const auto& service : _truth["services"]) {
    const auto number = service["service_id"].get<std::uint16_t>();
    SCOPED_TRACE(number);
    EXPECT_EQ(_tables.pat.contains(number), service["in_pat"].get<bool>());
    if (service.contains("pmt_pid") && service["in_pat"].get<bool>()) {
      EXPECT_EQ(_tables.pat.at(number), service["pmt_pid"].get<int>());
    }
  }
}

TEST_P(Capture, DescribesTheServicesOfTheSdt) {
  using Row = std::tuple<int, int, std::string, std::string, int, int, bool, bool, bool>;
  std::set<Row> expected;
  std::set<Row> found;
  for (const auto& s : _truth["services"]) {
    if (!s["in_sdt_actual"].get<bool>()) continue;
    expected.emplace(s["original_network_id"], s["service_id"], foldedText(s["name"]), foldedText(s["provider"]),
                     s["service_type"], s["running_status"], s["free_ca_mode"], s["eit_present_following_flag"],
                     s["eit_schedule_flag"]);
  }
  for (const auto& s : _tables.services) {
    found.emplace(s.originalNetworkId, s.serviceId, s.name, s.provider, s.serviceType, s.runningStatus, s.freeCaMode,
                  s.eitPresentFollowing, s.eitSchedule);
  }
  EXPECT_EQ(found, expected);
}

TEST_P(Capture, OffersItsChannels) {
  using Row = std::tuple<std::string, int, int, bool>;  // name, kind, number, protected
  std::multiset<Row> expected;
  std::multiset<Row> found;
  for (const auto& s : _truth["services"]) {
    if (!s["in_sdt_actual"].get<bool>() || foldedText(s["name"]).empty()) continue;
    if (!s["in_pat"].get<bool>() && !_truth["pat"].empty()) continue;
    const auto kind = kindOfServiceType(s["service_type"].get<std::uint8_t>());
    expected.emplace(foldedText(s["name"]), static_cast<int>(kind), s["lcn"].is_null() ? 0 : s["lcn"].get<int>(),
                     s["free_ca_mode"]);
  }
  const auto services = offeredServices(_tables);
  for (const auto& s : services) {
    if (!_tables.hasSdt) break;
    found.emplace(s.name, static_cast<int>(s.kind), s.channelNumber.value_or(0), s.isProtected);
  }
  EXPECT_EQ(found, expected);
  if (!_tables.hasPat && !_tables.hasSdt) {
    EXPECT_TRUE(services.empty()) << "PMTs alone make no services";
  }
}

TEST_P(Capture, OffersTheSameChannelsWhenItStopsAtCompleteTables) {
  const auto reader = PacketReader::open(captureFolder() / (GetParam() + ".ts"));
  const auto early = offeredServices(scanMultiplex(*reader));
  const auto whole = offeredServices(_tables);
  ASSERT_EQ(early.size(), whole.size());
  for (std::size_t i = 0; i < whole.size(); ++i) {
    EXPECT_EQ(early[i].name, whole[i].name);
    EXPECT_EQ(early[i].channelNumber, whole[i].channelNumber);
    EXPECT_EQ(early[i].components.size(), whole[i].components.size());
  }
}

json componentRow(const Component& component) {
  json row = {{"pid", component.pid}, {"type", component.streamType}, {"kind", kindText(component.kind)}};
  const auto languages = languagesOf(component);
  row["languages"] = std::set<std::string>(languages.begin(), languages.end());
  row["tag"] = component.tag ? json(*component.tag) : json();
  row["audio"] = row["teletext"] = row["subtitles"] = row["ca"] = json::array();
  for (const auto& language : component.languages) row["audio"].push_back(language.audioType);
  for (const auto& entry : component.teletext) {
    row["teletext"].push_back({{"lang", entry.language}, {"type", entry.type}, {"page", hex(entry.page, 3)}});
  }
  for (const auto& entry : component.subtitles) {
    row["subtitles"].push_back({{"lang", entry.language},
                                {"type", "0x" + hex(entry.type, 2)},
                                {"comp_page", entry.compositionPage},
                                {"anc_page", entry.ancillaryPage}});
  }
  for (const auto& ca : component.caSystems) {
    row["ca"].push_back({"0x" + hex(ca.systemId, 4), "0x" + hex(ca.pid, 4)});
  }
  return row;
}

json componentRow(const json& component) {
  const auto list = [&](const char* key) { return component.value(key, json::array()); };
  std::string kind = component["kind"];
  if (kind == "private-sections" || kind.starts_with("dsmcc") || kind == "scte35") kind = "data";
  return {{"pid", component["pid"]},
          {"type", component["stream_type"]},
          {"kind", kind},
          {"languages", component["languages"].get<std::set<std::string>>()},
          {"audio", list("audio_type")},
          {"tag", component.value("component_tag", json())},
          {"ca", list("ca")},
          {"teletext", list("teletext")},
          {"subtitles", list("subtitles")}};
}

TEST_P(Capture, KnowsTheComponentsOfItsPrograms) {
  std::size_t expectedPrograms = 0;
  for (const auto& service : _truth["services"]) {
    if (!service["in_pmt"].get<bool>()) continue;
    if (_tables.hasPat && !service["in_pat"].get<bool>())
      continue;  // a PMT that the PAT does not list counts for nothing
    ++expectedPrograms;
    SCOPED_TRACE(service["service_id"].get<int>());
    const auto isIts = [&](const Program& program) { return program.number == service["service_id"].get<int>(); };
    const auto program = std::ranges::find_if(_tables.programs, isIts);
    ASSERT_NE(program, _tables.programs.end());
    EXPECT_EQ(program->pcrPid, service["pcr_pid"].is_null() ? NULL_PID : service["pcr_pid"].get<int>());
    EXPECT_EQ(program->version, service["pmt_version"].get<int>());
    json expected = json::array();
    json found = json::array();
    for (const auto& component : service["components"]) expected.push_back(componentRow(component));
    for (const auto& component : program->components) found.push_back(componentRow(component));
    EXPECT_EQ(found, expected);
  }
  EXPECT_EQ(_tables.programs.size(), expectedPrograms);
}

// The delivery as the truth writes it: "dvb-t freq F bw ...", "dvb-s freq GG.GGG pos P E ... sr S", "dvb-t2 BYTES".
void expectDelivery(const NetworkStream& stream, const std::string& text) {
  ASSERT_FALSE(stream.deliveries.empty());
  const auto& delivery = stream.deliveries.front();
  const std::uint64_t frequency = delivery.frequencies.empty() ? 0 : delivery.frequencies.front();
  double number = 0;
  int position = 0;
  unsigned symbolRate = 0;
  char side = 0;
  if (std::sscanf(text.c_str(), "dvb-t freq %lf", &number) == 1) {
    EXPECT_EQ(delivery.system, DeliverySystem::Terrestrial);
    EXPECT_EQ(frequency, text.find("42949672950") == std::string::npos ? static_cast<std::uint64_t>(number) : 0);
    EXPECT_EQ(delivery.bandwidth, 8'000'000U);
  } else if (std::sscanf(text.c_str(), "dvb-s freq %lf pos %d %c", &number, &position, &side) == 3) {
    EXPECT_NEAR(static_cast<double>(frequency) / 1e7, number, 1e-6);
    EXPECT_EQ(delivery.orbitalPosition, side == 'E' ? position : -position);
    ASSERT_EQ(std::sscanf(text.c_str() + text.find(" sr "), " sr %u", &symbolRate), 1);
    EXPECT_EQ(delivery.symbolRate, symbolRate * 100);
  } else {
    EXPECT_TRUE(text.starts_with("dvb-t2")) << text;
    EXPECT_EQ(delivery.system, DeliverySystem::Terrestrial2);
  }
}

TEST_P(Capture, DescribesTheNetwork) {
  ASSERT_EQ(_tables.networks.size(), _truth["networks"].size());
  for (const auto& expected : _truth["networks"]) {
    const auto& network = _tables.networks.front();
    EXPECT_EQ(network.id, expected["network_id"].get<int>());
    EXPECT_EQ(network.name, foldedText(expected["name"]));
    ASSERT_EQ(network.streams.size(), expected["transport_streams"].size());
    for (std::size_t i = 0; i < network.streams.size(); ++i) {
      const auto& stream = network.streams[i];
      const auto& wanted = expected["transport_streams"][i];
      SCOPED_TRACE(wanted["transport_stream_id"].get<int>());
      EXPECT_EQ(stream.transportStreamId, wanted["transport_stream_id"].get<int>());
      EXPECT_EQ(stream.originalNetworkId, wanted["original_network_id"].get<int>());
      std::map<std::string, int> services;
      for (const auto& [service, type] : stream.serviceList) services[std::to_string(service)] = type;
      EXPECT_EQ(json(services), wanted["service_list"]);
      json channels = json::object();
      for (const auto& [service, channel] : stream.channels) {
        channels[std::to_string(service)] = {{"number", channel.number}, {"visible", channel.isVisible}};
      }
      EXPECT_EQ(channels, wanted["lcn"]);
      if (wanted["delivery"].is_string()) expectDelivery(stream, wanted["delivery"]);
    }
  }
}

TEST_P(Capture, TellsTheTime) {
  const auto& time = _truth["time"];
  EXPECT_EQ(_times[TDT_TABLE], time["tdt"].get<std::vector<std::string>>());
  EXPECT_EQ(_times[TOT_TABLE], time["tot"].get<std::vector<std::string>>());
  EXPECT_EQ(_tables.lastTime.has_value(), !time["tdt"].empty() || !time["tot"].empty());
  json offsets = json::array();
  const auto hoursMinutes = [](int seconds) {
    const int value = seconds / 3600 * 100 + seconds / 60 % 60;
    return std::to_string(10000 + value).substr(1);
  };
  for (const auto& offset : _tables.lastTime ? _tables.lastTime->offsets : std::vector<LocalTimeOffset>{}) {
    offsets.push_back({{"country", offset.country},
                       {"region", offset.region},
                       {"sign", offset.offset < 0 ? "-" : "+"},
                       {"offset", hoursMinutes(std::abs(offset.offset))},
                       {"change", utcText(offset.timeOfChange)},
                       {"next", hoursMinutes(std::abs(offset.nextOffset))}});
  }
  EXPECT_EQ(offsets, time["local_time_offsets"]);
}

INSTANTIATE_TEST_SUITE_P(Dvb, Capture, ::testing::ValuesIn(dvbCaptures()), [](const auto& capture) {
  std::string name = capture.param.empty() ? "missing" : capture.param;
  std::ranges::replace_if(
      name, [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
});

}  // namespace
}  // namespace durix::test

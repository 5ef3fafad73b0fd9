// What a multiplex offers, and when its scan ends.
#include <gtest/gtest.h>

#include <algorithm>

#include "StreamBuilder.h"
#include "middleware/si/ScannedService.h"
#include "middleware/si/TableReaders.h"

namespace durix::test {
namespace {

const Bytes PAT = patSection(7, {{0, 0x10}, {1, 0x101}, {2, 0x102}});
const Bytes PMT1 = pmtSection(1, {{0x1B, {}}, {0x03, descriptor(0x0A, text("ita\x03"))}});
const Bytes PMT2 = pmtSection(2, {{0x0F, {}}});

Bytes sdt(std::initializer_list<Bytes> entries, std::uint16_t stream = 7, std::uint8_t number = 0,
          std::uint8_t last = 0) {
  return section({.table = 0x42, .extension = stream, .number = number, .last = last}, sdtBody(0x22, entries));
}

std::vector<std::string> namesIn(const StreamBuilder& stream) {
  std::vector<std::string> names;
  for (const auto& service : offeredServices(tablesOf(stream.bytes()))) names.push_back(service.name);
  return names;
}

TEST(OfferedServices, FollowTheTablesThatAreThere) {
  const Bytes one = sdtEntry(1, serviceDescriptor(1, "One"));
  const Bytes two = sdtEntry(2, serviceDescriptor(2, "Two"));
  const Bytes three = sdtEntry(3, serviceDescriptor(1, "Three"));
  using Names = std::vector<std::string>;
  struct Row {
    const char* reason;
    StreamBuilder stream;
    Names names;
  };
  const std::vector<Row> rows = {
      {"nothing", {}, {}},
      {"the PAT does not list the third",
       StreamBuilder().add(0, {PAT}).add(0x11, {sdt({one, two, three})}),
       {"One", "Two"}},
      {"no PAT", StreamBuilder().add(0x11, {sdt({one, three})}), {"One", "Three"}},
      {"no SDT", StreamBuilder().add(0, {PAT}).add(0x101, {PMT1}).add(0x102, {PMT2}), {"Service 1", "Service 2"}},
      {"PMTs before the only PAT",
       StreamBuilder().add(0x101, {PMT1}).add(0x102, {PMT2}).add(0, {PAT}),
       {"Service 1", "Service 2"}},
      {"PMTs alone", StreamBuilder().add(0x101, {PMT1}).add(0x102, {PMT2}), {}},
      {"a PMT on another PID than the PAT says", StreamBuilder().add(0, {PAT}).add(0x102, {PMT1}), {}},
      {"two PMTs on one PID",
       StreamBuilder().add(0, {patSection(7, {{1, 0x101}, {2, 0x101}})}).add(0x101, {PMT1, PMT2}),
       {"Service 1", "Service 2"}},
      {"no name",
       StreamBuilder().add(0, {PAT}).add(0x11, {sdt({sdtEntry(1, serviceDescriptor(1, " ")), two})}),
       {"Two"}},
      {"no service descriptor", StreamBuilder().add(0, {PAT}).add(0x11, {sdt({sdtEntry(1, {}), two})}), {"Two"}},
      {"a part of the SDT", StreamBuilder().add(0, {PAT}).add(0x11, {sdt({two}, 7, 1, 3)}), {"Two"}},
      {"a PAT that empties at the end",
       StreamBuilder().add(0, {PAT}).add(0, {patSection(7, {}, 1)}).add(0x11, {sdt({one})}),
       {"One"}},
      {"a newer PAT",
       StreamBuilder().add(0, {PAT}).add(0, {patSection(7, {{2, 0x102}}, 1)}).add(0x11, {sdt({one, two})}),
       {"Two"}},
      {"an SDT of another stream, joined",
       StreamBuilder().add(0, {PAT}).add(0x11, {sdt({two}, 9)}).add(0x11, {sdt({one})}),
       {"One"}},
      {"texts longer than their descriptor",
       StreamBuilder().add(0, {PAT}).add(0x11, {sdt({sdtEntry(1, descriptor(0x48, {1, 1, 'P', 200, 'O', 'n', 'e'}))})}),
       {"One"}},
  };
  for (const auto& row : rows) EXPECT_EQ(namesIn(row.stream), row.names) << row.reason;
}

TEST(OfferedServices, HaveTheKindOfTheirTypeOrOfTheirStreams) {
  for (int type = 0; type < 256; ++type) {
    const bool isTv = type == 0x01 || type == 0x11 || type == 0x16 || type == 0x19 || type == 0x1F || type == 0x20;
    const bool isRadio = type == 0x02 || type == 0x0A;
    EXPECT_EQ(static_cast<int>(kindOfServiceType(static_cast<std::uint8_t>(type))), isTv ? 1 : isRadio ? 2 : 3) << type;
  }
  const auto services = offeredServices(tablesOf(StreamBuilder()
                                                     .add(0, {patSection(7, {{1, 0x101}, {2, 0x102}, {3, 0x103}})})
                                                     .add(0x101, {PMT1})
                                                     .add(0x102, {PMT2})
                                                     .add(0x103, {pmtSection(3, {{0x05, {}}})})
                                                     .bytes()));
  ASSERT_EQ(services.size(), 3U);
  EXPECT_EQ(services[0].kind, ServiceKind::Television);
  EXPECT_EQ(services[1].kind, ServiceKind::Radio);
  EXPECT_EQ(services[2].kind, ServiceKind::Other);
}

TEST(OfferedServices, HaveTheNumbersOfTheirNetwork) {
  const auto list = [](std::uint8_t tag, unsigned number) { return descriptor(tag, join({word(1), word(number)})); };
  const auto specifier = [](std::uint8_t low) { return descriptor(0x5F, {0, 0, 0x00, low}); };
  struct Row {
    const char* reason;
    Bytes descriptors;
    int number;
    bool isVisible;
  };
  const std::vector<Row> rows = {
      {"none", {}, 0, true},
      {"without a specifier", list(0x83, 0xFC05), 5, true},
      {"not to be seen", list(0x83, 0x7C05), 5, false},
      {"EACEM", join({specifier(0x28), list(0x83, 0xFC05)}), 5, true},
      {"Australia", join({descriptor(0x5F, {0, 0, 0x32, 0x01}), list(0x83, 0xFC05)}), 5, true},
      {"NorDig has wider numbers", join({specifier(0x29), list(0x83, 0xC405)}), 0x405, true},
      {"NorDig, second form",
       join({specifier(0x29), descriptor(0x87, join({{1, 2, 'N', 'o', 'N', 'O', 'R', 4}, word(1), word(0xFC07)}))}), 7,
       true},
      {"a number for receivers of HD", join({specifier(0x28), list(0x83, 0xFC05), list(0x88, 0xFC01)}), 1, true},
      {"number zero is none", list(0x83, 0xFC00), 0, true},
      {"another service's", descriptor(0x83, join({word(9), word(0xFC05)})), 0, true},
      {"cut", descriptor(0x83, {0, 1, 0xFC}), 0, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reason);
    const auto services =
        offeredServices(tablesOf(StreamBuilder()
                                     .add(0, {PAT})
                                     .add(0x11, {sdt({sdtEntry(1, serviceDescriptor(1, "One"), true)})})
                                     .add(0x10, {nitSection(0x3301, 7, 0x22, row.descriptors)})
                                     .bytes()));
    ASSERT_EQ(services.size(), 1U);
    EXPECT_EQ(services[0].channelNumber.value_or(0), row.number);
    EXPECT_EQ(services[0].isVisible, row.isVisible);
    EXPECT_TRUE(services[0].isProtected);
    EXPECT_EQ(services[0].networkId, 0x3301);
    EXPECT_EQ(services[0].networkName, "Net");
  }
}

TEST(Delivery, TellsTheFrequencies) {
  struct Row {
    const char* reason;
    Bytes descriptors;
    DeliverySystem system;
    std::vector<std::uint64_t> frequencies;
  };
  const Bytes terrestrial = descriptor(0x5A, {0x02, 0xF7, 0xE3, 0x40, 0x1F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
  const std::vector<Row> rows = {
      {"DVB-T", terrestrial, DeliverySystem::Terrestrial, {498'000'000}},
      {"DVB-T, not told", descriptor(0x5A, Bytes(11, 0xFF)), DeliverySystem::Terrestrial, {}},
      {"DVB-T with a list",
       join({terrestrial, descriptor(0x62, {0xFF, 0x02, 0xD3, 0x44, 0x40, 0x02, 0xF7, 0xE3, 0x40})}),
       DeliverySystem::Terrestrial,
       {498'000'000, 474'000'000}},
      {"DVB-T2, one cell",
       descriptor(0x7F, {4, 0, 0, 9, 3, 0x14, 0, 0, 0x02, 0xF7, 0xE3, 0x40, 0}),
       DeliverySystem::Terrestrial2,
       {498'000'000}},
      {"DVB-T2, sliced, two cells",
       descriptor(0x7F, {4, 0, 0, 9,    3,    0x15, 0,    0, 4, 0x02, 0xF7, 0xE3, 0x40, 0,
                         0, 1, 4, 0x02, 0xD3, 0x44, 0x40, 5, 1, 2,    3,    4,    5}),
       DeliverySystem::Terrestrial2,
       {498'000'000, 474'000'000}},
      {"DVB-T2, short form", descriptor(0x7F, {4, 0, 0, 1}), DeliverySystem::Terrestrial2, {}},
      {"DVB-S",
       descriptor(0x43, {0x01, 0x19, 0x19, 0, 1, 0x30, 0xA1, 0x02, 0x99, 0, 3}),
       DeliverySystem::Satellite,
       {11'919'000'000}},
      {"DVB-S2",
       descriptor(0x43, {0x01, 0x19, 0x19, 0, 1, 0x30, 0xA6, 0x02, 0x99, 0, 3}),
       DeliverySystem::Satellite2,
       {11'919'000'000}},
      {"DVB-C",
       descriptor(0x44, {0x03, 0x46, 0, 0, 0xFF, 0xF0, 3, 0, 0x69, 0, 0}),
       DeliverySystem::Cable,
       {346'000'000}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reason);
    const auto tables = tablesOf(StreamBuilder().add(0x10, {nitSection(1, 7, 0x22, row.descriptors)}).bytes());
    ASSERT_EQ(tables.networks.size(), 1U);
    ASSERT_EQ(tables.networks[0].streams.at(0).deliveries.size(), 1U);
    EXPECT_EQ(tables.networks[0].streams[0].deliveries[0].system, row.system);
    EXPECT_EQ(tables.networks[0].streams[0].deliveries[0].frequencies, row.frequencies);
  }
}

TEST(MultiplexScanner, EndsWhenItsTablesAreCompleteOrWereWaitedFor) {
  constexpr std::uint64_t SECOND = 27'000'000;
  const Bytes nit = nitSection(1, 7, 0x22, {});
  const Bytes one = sdt({sdtEntry(1, serviceDescriptor(1, "One"))});
  const auto whole = [&] {
    return StreamBuilder()
        .addPcr(0x100, 0)
        .add(0, {PAT})
        .add(0x101, {PMT1})
        .add(0x102, {PMT2})
        .add(0x11, {one})
        .add(0x10, {nit});
  };
  const auto wait = [&](StreamBuilder stream, std::uint64_t seconds) {
    for (std::uint64_t i = 0; i <= seconds; ++i) stream.addPcr(0x100, i * SECOND);
    return stream;
  };
  const auto noPmt =
      StreamBuilder().addPcr(0x100, 0).add(0, {PAT}).add(0x101, {PMT1}).add(0x11, {one}).add(0x10, {nit});
  const auto noNit =
      StreamBuilder().addPcr(0x100, 0).add(0, {PAT}).add(0x101, {PMT1}).add(0x102, {PMT2}).add(0x11, {one});
  struct Row {
    const char* reason;
    StreamBuilder stream;
    bool isDone;
    bool hasWholePat, hasWholeSdt;
  };
  const Bytes halfPat = section({.extension = 7, .last = 1}, join({word(1), word(0xE101)}));
  const std::vector<Row> rows = {
      {"complete", whole(), true, true, true},
      {"a PMT is missing", noPmt, false, true, true},
      {"a PMT never comes", wait(noPmt, 4), true, true, true},
      {"the NIT may still come", wait(noNit, 4), false, true, true},
      {"the NIT never comes", wait(noNit, 13), true, true, true},
      {"nothing but a clock", wait({}, 10), true, false, false},
      {"an empty PAT is none", StreamBuilder().add(0, {patSection(7, {})}).add(0x11, {one}).add(0x10, {nit}), false,
       false, true},
      {"half a PAT", StreamBuilder().add(0, {halfPat}).add(0x11, {one}), false, false, true},
      {"half an SDT", StreamBuilder().add(0, {PAT}).add(0x11, {sdt({}, 7, 0, 1)}), false, true, false},
      {"the SDT of another stream", StreamBuilder().add(0, {PAT}).add(0x11, {sdt({}, 8)}), false, true, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reason);
    MultiplexScanner scanner;
    auto reader = readerOf(row.stream.bytes());
    while (const auto packet = reader.next()) scanner.feed(*packet);
    EXPECT_EQ(scanner.isDone(), row.isDone);
    const auto tables = scanner.result();
    EXPECT_EQ(std::pair(tables.isPatComplete, tables.isSdtComplete), std::pair(row.hasWholePat, row.hasWholeSdt));
  }
  MultiplexScanner bounded({.packets = 3});
  auto reader = readerOf(StreamBuilder().add(0x50, {Bytes(500, 1)}).bytes());
  while (const auto packet = reader.next()) bounded.feed(*packet);
  EXPECT_TRUE(bounded.isDone()) << "a stream without a clock is bounded by its packets";
}

TEST(MultiplexScanner, KeepsWithinItsBoundsWhateverIsAnnounced) {
  StreamBuilder early;
  for (std::uint16_t i = 0; i < 600; ++i) {
    early.add(static_cast<std::uint16_t>(0x100 + i), {pmtSection(i, {})});
    early.add(0x10, {nitSection(i, 7, 0x22, {})});
    early.add(0x11, {sdt({sdtEntry(i, serviceDescriptor(1, "One"))}, i)});
  }
  const auto unlisted = tablesOf(early.bytes());
  EXPECT_LE(unlisted.programs.size(), 256U);
  EXPECT_LE(unlisted.networks.size(), 16U);
  EXPECT_LE(unlisted.services.size(), 16U);
  StreamBuilder listed;
  for (unsigned part = 0; part < 8; ++part) {
    Bytes body;
    for (unsigned i = 0; i < 250; ++i) body = join({body, word(part * 250 + i + 1), word(0xE100)});
    listed.add(0, {section({.extension = 7, .number = static_cast<std::uint8_t>(part), .last = 7}, body)});
  }
  EXPECT_EQ(tablesOf(listed.bytes()).pat.size(), 1024U);
}

TEST(ReadMoment, KnowsTimeBeyondTheDayCounter) {
  using Moment = std::array<std::uint8_t, 5>;
  const std::vector<std::pair<Moment, std::optional<std::int64_t>>> rows = {
      {{0xC0, 0x79, 0x12, 0x45, 0x00}, 750516300},   // 1993-10-13 12:45:00, the standard's example
      {{0xFF, 0xFF, 0x23, 0x59, 0x59}, 2155593599},  // the last second of the counter's last day
      {{0x00, 0x00, 0x00, 0x00, 0x00}, 2155593600},  // the next one
      {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, std::nullopt}, {{0xC0, 0x79, 0x24, 0x00, 0x00}, std::nullopt},
  };
  for (const auto& [bytes, seconds] : rows) EXPECT_EQ(readMoment(bytes), seconds);
}

TEST(QualityRank, PutsTheBetterPictureFirst) {
  const auto service = [](std::uint8_t type, StreamKind kind) {
    ScannedService made{.kind = kindOfServiceType(type), .serviceType = type};
    made.components.push_back({.kind = kind});
    return made;
  };
  const Reception good{.packets = 1000};
  const Reception poor{.packets = 1000, .continuityErrors = 200};
  const std::vector<std::int32_t> ranks = {
      qualityRank(service(0x20, StreamKind::Hevc), poor),        // ultra-high definition, however poor
      qualityRank(service(0x1F, StreamKind::Hevc), good),        // high definition in the better codec
      qualityRank(service(0x01, StreamKind::Hevc), poor),        // the codec tells, where the type does not
      qualityRank(service(0x19, StreamKind::H264), good),        //
      qualityRank(service(0x19, StreamKind::H264), poor),        // of equals the better received
      qualityRank(service(0x11, StreamKind::Mpeg2Video), good),  //
      qualityRank(service(0x16, StreamKind::H264), good),        // standard definition
      qualityRank(service(0x01, StreamKind::Mpeg2Video), good),  //
      qualityRank(service(0x0A, StreamKind::AacLatm), good),     // radio
      qualityRank(service(0x02, StreamKind::Mpeg1Audio), good),  //
      qualityRank({}, {}),
  };
  EXPECT_TRUE(std::ranges::is_sorted(ranks, std::greater_equal())) << ::testing::PrintToString(ranks);
}

}  // namespace
}  // namespace durix::test

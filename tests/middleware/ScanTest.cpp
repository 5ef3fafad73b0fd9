#include <gtest/gtest.h>

#include <chrono>

#include "Support.h"
#include "middleware/durix_tools.h"

namespace durix::test {
namespace {

using Names = std::vector<std::string>;

TinyMultiplex multiplex(std::uint16_t stream, std::vector<TinyService> services) {
  return {.transportStream = stream, .services = std::move(services)};
}

struct Reported {
  std::int32_t frequency;
  std::uint32_t result;
  std::uint32_t services;
  bool operator==(const Reported&) const = default;
};

std::vector<Reported> report() {
  std::vector<Reported> all;
  const auto take = [](const durix_tools_frequency* one, void* user) {
    static_cast<std::vector<Reported>*>(user)->push_back({one->tuning.frequency, one->result, one->services});
  };
  EXPECT_EQ(durix_tools_scan_report(take, &all), DURIX_OK);
  return all;
}

TEST(ChannelScan, TellsOfEveryFrequencyAndFindsWhatIsOnAir) {
  Middleware middleware;
  middleware.air("474000000", multiplex(1, {{.id = 1, .name = "One", .channelNumber = 7}, {.id = 2, .name = "Two"}}));
  middleware.air("490000000",
                 {.hasPat = false, .hasPmt = false, .hasSdt = false, .hasNit = false, .time = 1'600'000'000});
  middleware.air("506000000",
                 multiplex(2, {{.id = 3, .name = "Waves", .type = 0x02}, {.id = 4, .name = "Bits", .type = 0x0C}}));
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000, 482'000'000, 490'000'000, 506'000'000}));

  const auto steps = middleware.log().events(DURIX_EVENT_DISCOVER_PROGRESS);
  ASSERT_EQ(steps.size(), 4U);
  const std::vector<std::tuple<unsigned, unsigned, unsigned, Names>> expected{{25, 474'000'000, 1, {"One", "Two"}},
                                                                              {50, 482'000'000, 0, {}},
                                                                              {75, 490'000'000, 0, {}},
                                                                              {100, 506'000'000, 1, {"Waves"}}};
  for (std::size_t i = 0; i < steps.size(); ++i) {
    EXPECT_EQ(std::tuple(steps[i].progress, steps[i].frequency, steps[i].valid, steps[i].names), expected[i]);
  }
  EXPECT_EQ(middleware.log().events(DURIX_EVENT_DISCOVER_FINISHED).at(0).names, (Names{"One", "Two", "Waves"}));
  EXPECT_EQ(report(), (std::vector<Reported>{{474'000'000, DURIX_TOOLS_SERVICES, 2},
                                             {482'000'000, DURIX_TOOLS_NO_SIGNAL, 0},
                                             {490'000'000, DURIX_TOOLS_NO_TABLES, 0},
                                             {506'000'000, DURIX_TOOLS_SERVICES, 1}}));
  EXPECT_EQ(middleware.names(), (Names{"One", "Two", "Waves", "Bits"}));
}

TEST(ChannelScan, GivesServicesTheirAttributesAndFeeds) {
  Middleware middleware;
  middleware.air("474000000", multiplex(0x111, {{.id = 0x101, .name = "One", .type = 0x19, .channelNumber = 7}}));
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  const auto service = middleware.services().at(0);
  EXPECT_EQ(service.kind, 1U);
  EXPECT_EQ(middleware.text(service, DURIX_ATTRIBUTE_SERVICE_ID), "257");
  EXPECT_EQ(middleware.text(service, DURIX_ATTRIBUTE_LOGO_URI), "") << "absent is no error";
  EXPECT_EQ(middleware.text(service, DURIX_ATTRIBUTE_PARENTAL_RATING), "");
  EXPECT_EQ(middleware.number(service, DURIX_ATTRIBUTE_CHANNEL_NUMBER), 7);
  EXPECT_EQ(middleware.number(service, DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID), 0x20FA);
  EXPECT_GT(middleware.number(service, DURIX_ATTRIBUTE_SOURCE_ID), 0);
  std::int32_t* types = nullptr;
  std::uint32_t count = 0;
  ASSERT_EQ(durix_attribute_get_array_int(&service, DURIX_ATTRIBUTE_STREAM_TYPES, &types, &count), DURIX_OK);
  ASSERT_EQ(count, 1U);
  EXPECT_EQ(types[0], 1);
  ostiv_mem_free(types);

  const auto feeds = middleware.feeds(service);
  std::vector<std::tuple<int, std::string, std::string>> seen;
  for (const auto& feed : feeds) {
    EXPECT_EQ(feed.kind, 3U);
    seen.emplace_back(middleware.number(feed, DURIX_ATTRIBUTE_FEED_TYPE),
                      middleware.text(feed, DURIX_ATTRIBUTE_LANGUAGE), middleware.text(feed, DURIX_ATTRIBUTE_URI));
  }
  EXPECT_EQ(seen, (decltype(seen){{20, "", "dvb://20fa.0111.0101"},
                                  {DURIX_FEED_VIDEO, "", "dvb://20fa.0111.0101#pid=256"},
                                  {DURIX_FEED_AUDIO, "ces", "dvb://20fa.0111.0101#pid=257"},
                                  {DURIX_FEED_AUDIO, "eng", "dvb://20fa.0111.0101#pid=258"}}));
  EXPECT_EQ(middleware.number(feeds[0], DURIX_ATTRIBUTE_CHANNEL_NUMBER),
            middleware.number(service, DURIX_ATTRIBUTE_SOURCE_ID))
      << "guide data is told apart by its multiplex";
  EXPECT_EQ(durix_feed_open(feeds.data(), 0), DURIX_OK);
  EXPECT_NE(durix_feed_open(&feeds[1], 0), DURIX_OK) << "a picture is no guide data";
  EXPECT_EQ(durix_feeds_close(feeds.data(), 1, 0), DURIX_OK);
  EXPECT_NE(durix_feeds_close(feeds.data(), 1, 0), DURIX_OK) << "closed before";
}

TEST(ChannelScan, CutsNamesBetweenCharacters) {
  // 30 letters and one of two bytes (0x15 announces UTF-8): 31 bytes would end in the middle of it.
  const std::string letters(30, 'a');
  Middleware middleware;
  middleware.air("474000000", multiplex(1, {{.id = 1, .name = "\x15" + letters + "\xC3\xA9z"}}));
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  EXPECT_EQ(middleware.log().events(DURIX_EVENT_DISCOVER_FINISHED).at(0).names, Names{letters});
  EXPECT_EQ(middleware.names(), Names{letters + "\xC3\xA9z"});
}

TEST(ChannelScan, TakesTheFileOfThePolarisationFirst) {
  Middleware middleware;
  middleware.air("10800000", multiplex(1, {{.id = 1, .name = "Any"}}));
  middleware.air("10800000V", multiplex(2, {{.id = 2, .name = "Vertical"}}));
  ASSERT_EQ(middleware.start("dvb-s=file:" + middleware.airDirectory().string()), DURIX_OK);
  const std::vector<std::pair<std::int32_t, std::string>> rows{
      {-1, "Any"}, {0, "Any"}, {2, "Vertical"}, {1, "Any"}, {5, "Any"}};
  for (const auto& [polarisation, name] : rows) {
    ASSERT_TRUE(middleware.scanTunings({tuning(10'800'000, polarisation)}, 3));
    EXPECT_EQ(middleware.log().events(DURIX_EVENT_DISCOVER_FINISHED).back().names, Names{name}) << polarisation;
  }
}

TEST(ChannelScan, EndsWithoutAProviderWhenNothingIsFound) {
  Middleware middleware;
  middleware.air("474000000", multiplex(1, {{.id = 4, .name = "Bits", .type = 0x0C}}));
  ASSERT_EQ(middleware.start(), DURIX_OK);
  for (const auto& list : {std::vector<std::int32_t>{}, {482'000'000}, {-1, 0}, {474'000'000}}) {
    ASSERT_TRUE(middleware.scan(list));
    EXPECT_EQ(middleware.provider().identity, 0U);
  }
  middleware.air("474000000", multiplex(1, {{.id = 1, .name = "One"}}));
  ASSERT_TRUE(middleware.scan({474'000'000}));
  EXPECT_EQ(middleware.provider().identity, 1U);
  EXPECT_EQ(middleware.log().events(DURIX_EVENT_PROVIDERS_CHANGED).size(), 1U);
}

TEST(ChannelScan, IsRefusedWhileOneRunsAndForOtherReceivers) {
  Middleware middleware;
  ASSERT_EQ(middleware.start(), DURIX_OK);
  std::vector<durix_scan_frequency> many(300'000, tuning(1'000'000));
  const durix_scan_configuration list{static_cast<std::uint32_t>(many.size()), many.data()};
  const durix_scan_configuration torn{3, nullptr};
  ASSERT_NE(durix_discover_start(middleware.handle(), 0, 2, &list, true), DURIX_OK) << "no DVB-C receiver is there";
  ASSERT_NE(durix_discover_start(middleware.handle(), 3, 1, &list, true), DURIX_OK) << "nor one for ISDB";
  ASSERT_NE(durix_discover_start(middleware.handle(), 1, 1, &torn, true), DURIX_OK);
  ASSERT_NE(durix_discover_cancel(middleware.handle()), DURIX_OK) << "nothing to cancel";

  ASSERT_EQ(durix_discover_start(middleware.handle(), 1, 1, &list, true), DURIX_OK);
  many.assign(many.size(), tuning(-1));  // what was given is copied during the call
  EXPECT_NE(durix_discover_start(middleware.handle(), 1, 1, &list, true), DURIX_OK);
  ASSERT_TRUE(middleware.log().waitFor(DURIX_EVENT_DISCOVER_PROGRESS));
  EXPECT_EQ(durix_discover_cancel(middleware.handle()), DURIX_OK);
  EXPECT_TRUE(middleware.log().waitFor(DURIX_EVENT_DISCOVER_FINISHED)) << "also after cancelling";
  EXPECT_EQ(middleware.log().events(DURIX_EVENT_DISCOVER_PROGRESS).at(0).frequency, 1'000'000U);
  EXPECT_TRUE(middleware.scan({474'000'000})) << "the next one may start when the finished event has come";
}

TEST(ChannelScan, ReadsNoFurtherThanItNeedsAndNeverForEver) {
  Middleware middleware;
  middleware.air("474000000", multiplex(1, {{.id = 1, .name = "One"}}));
  // Sparse files of 64 GB: zeros have no packets; behind the tables of the other there is nothing to wait for.
  for (const std::string name : {"474000000", "482000000"}) {
    const auto file = middleware.airDirectory() / (name + ".ts");
    if (name == "482000000") write(file, {});
    std::filesystem::resize_file(file, std::uintmax_t{64} << 30);
  }
  TinyMultiplex silent{.hasPat = false, .hasPmt = false, .hasSdt = false, .hasNit = false};
  silent.nullPackets = 800'000;
  middleware.air("490000000", silent);
  ASSERT_EQ(middleware.start("dvb-t=file:" + middleware.airDirectory().string()), DURIX_OK);
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(middleware.scan({474'000'000, 482'000'000, 490'000'000}));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
  EXPECT_EQ(report(), (std::vector<Reported>{{474'000'000, DURIX_TOOLS_SERVICES, 1},
                                             {482'000'000, DURIX_TOOLS_NO_TABLES, 0},
                                             {490'000'000, DURIX_TOOLS_NO_TABLES, 0}}));
}

TEST(ChannelScan, KeepsIdentifiersOverRescans) {
  Middleware middleware;
  const auto air = [&](const std::string& name, std::uint16_t stream, std::vector<TinyService> services) {
    middleware.air(name, multiplex(stream, std::move(services)));
  };
  air("474000000", 1, {{.id = 1, .name = "One"}, {.id = 2, .name = "Two"}});
  air("490000000", 2, {{.id = 3, .name = "Three"}});
  ASSERT_EQ(middleware.start(), DURIX_OK);
  const std::vector<std::int32_t> all{474'000'000, 482'000'000, 490'000'000};
  ASSERT_TRUE(middleware.scan(all));
  const auto one = middleware.idOf("One");
  const auto two = middleware.idOf("Two");
  const auto three = middleware.idOf("Three");
  const auto feedsOfOne = middleware.feeds(middleware.services().at(0));

  air("474000000", 1, {{.id = 1, .name = "One+"}});
  middleware.silence("490000000");
  ASSERT_TRUE(middleware.scan(all));
  EXPECT_EQ(middleware.names(), (Names{"One+", "Three"})) << "Two is gone, Three has no signal and stays";
  EXPECT_EQ(middleware.idOf("One+"), one) << "a new name is no new service";
  const durix_esg_object gone{1, two, 0};
  EXPECT_EQ(middleware.text(gone, DURIX_ATTRIBUTE_NAME), "Two") << "hidden, but who remembers it still finds its name";

  air("482000000", 1, {{.id = 1, .name = "One+"}, {.id = 2, .name = "Two"}, {.id = 9, .name = "Nine"}});
  middleware.silence("474000000");
  ASSERT_TRUE(middleware.scan(all));
  EXPECT_EQ(middleware.idOf("One+"), one) << "moved to another frequency";
  EXPECT_EQ(middleware.idOf("Two"), two) << "back";
  EXPECT_GT(middleware.idOf("Nine"), three) << "new";
  const auto feeds = middleware.feeds({1, one, 0});
  ASSERT_EQ(feeds.size(), feedsOfOne.size());
  EXPECT_EQ(feeds[1].id, feedsOfOne[1].id) << "feeds that stay keep their identifiers";

  ASSERT_EQ(middleware.stop(), DURIX_OK);
  ASSERT_EQ(middleware.start(), DURIX_OK);
  EXPECT_EQ(middleware.idOf("Two"), two) << "over processes, too";
}

TEST(ChannelScan, DoesNotTakeAMissingTableForMissingServices) {
  Middleware middleware;
  auto whole = multiplex(1, {{.id = 1, .name = "One"}, {.id = 2, .name = "Two"}});
  middleware.air("474000000", whole);
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  whole.hasSdt = false;
  middleware.air("474000000", whole);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  EXPECT_EQ(middleware.names(), (Names{"One", "Two"}));
  whole.hasSdt = true;
  whole.hasPmt = false;
  middleware.air("474000000", whole);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  EXPECT_EQ(middleware.feeds(middleware.services().at(0)).size(), 4U) << "components not seen have not gone";
}

TEST(ChannelScan, HidesWhatIsGoneOnlyWhenTheListIsWhole) {
  struct Row {
    std::string why;
    std::function<void(TinyMultiplex&)> change;  // of the multiplex that has lost its second service
    Names names;
  };
  for (const Row& row : {
           Row{"all tables", [](TinyMultiplex&) {}, {"One"}},
           Row{"the SDT alone is enough", [](TinyMultiplex& m) { m.hasPat = m.hasPmt = m.hasNit = false; }, {"One"}},
           Row{"the PAT tells as well", [](TinyMultiplex& m) { m.half = 0x42; }, {"One"}},
           Row{"half a PAT", [](TinyMultiplex& m) { m.half = 0x00; }, {"One", "Two"}},
           Row{"half an SDT, no PAT",
               [](TinyMultiplex& m) {
                 m.hasPat = m.hasPmt = false;
                 m.half = 0x42;
               },
               {"One", "Two"}},
           Row{"names are missing", [](TinyMultiplex& m) { m.hasSdt = false; }, {"One", "Two"}},
           Row{"nothing but the network",
               [](TinyMultiplex& m) { m.hasPat = m.hasPmt = m.hasSdt = false; },
               {"One", "Two"}},
       }) {
    SCOPED_TRACE(row.why);
    Middleware middleware;
    middleware.air("474000000", multiplex(1, {{.id = 1, .name = "One"}, {.id = 2, .name = "Two"}}));
    ASSERT_EQ(middleware.start(), DURIX_OK);
    ASSERT_TRUE(middleware.scan({474'000'000}));
    auto later = multiplex(1, {{.id = 1, .name = "One"}});
    row.change(later);
    middleware.air("474000000", later);
    ASSERT_TRUE(middleware.scan({474'000'000}));
    EXPECT_EQ(middleware.names(), row.names);
  }
}

TEST(ChannelScan, HidesWhatThePropertiesSay) {
  Middleware middleware;
  middleware.air("474000000", multiplex(1, {{.id = 1, .name = "Free"},
                                            {.id = 2, .name = "Paid", .isProtected = true},
                                            {.id = 3, .name = "Radio", .type = 0x02},
                                            {.id = 4, .name = "Paid radio", .type = 0x0A, .isProtected = true}}));
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  struct Row {
    const char *hideProtected, *hideRadio;  // null: never set
    Names shown;
    std::uint32_t hiddenProtected, hiddenRadio;
  };
  const durix_provider provider = middleware.provider();
  ASSERT_EQ(durix_provider_mount(&provider), DURIX_OK);
  ASSERT_EQ(durix_provider_activate(&provider), DURIX_OK);
  for (const Row& row : {Row{nullptr, nullptr, {"Free", "Radio"}, 2, 0},  // the defaults
                         Row{"false", nullptr, {"Free", "Paid", "Radio", "Paid radio"}, 0, 0},
                         Row{"false", "true", {"Free", "Paid"}, 0, 2}, Row{"true", "true", {"Free"}, 2, 1},
                         Row{"true", "false", {"Free", "Radio"}, 2, 0}}) {
    if (row.hideProtected != nullptr) {
      ASSERT_EQ(durix_property_set(middleware.handle(), DURIX_PROPERTY_HIDE_PROTECTED, row.hideProtected), DURIX_OK);
    }
    if (row.hideRadio != nullptr) {
      ASSERT_EQ(durix_property_set(middleware.handle(), DURIX_PROPERTY_HIDE_RADIO, row.hideRadio), DURIX_OK);
    }
    EXPECT_EQ(middleware.names(), row.shown);
    std::uint32_t hiddenProtected = 0;
    std::uint32_t hiddenRadio = 0;
    ASSERT_EQ(durix_tools_hidden_services(&hiddenProtected, &hiddenRadio), DURIX_OK);
    EXPECT_EQ(std::pair(hiddenProtected, hiddenRadio), std::pair(row.hiddenProtected, row.hiddenRadio));
  }
}

}  // namespace
}  // namespace durix::test

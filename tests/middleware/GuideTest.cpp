// The guide through the calls of the contract: from event tables in streams to programmes.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "Support.h"
#include "middleware/durix_tools.h"
#include "tests/si/EventBuilder.h"

namespace durix::test {
namespace {

constexpr std::int64_t EVENING = 1'600'027'200;
constexpr std::int64_t HOUR = 3600;
constexpr std::uint16_t EIT = 0x12;
const TinyMultiplex FIRST{
    .transportStream = 1, .services = {{.id = 1, .name = "One"}, {.id = 2, .name = "Two"}}, .time = EVENING};
const TinyMultiplex SECOND{.transportStream = 2, .services = {{.id = 3, .name = "Three"}}};

class GuideTest : public ::testing::Test {
 protected:
  void SetUp() override {
    durix_tools_clock_replace([](void* now) { return *static_cast<std::int64_t*>(now); }, &_now);
  }
  void TearDown() override { durix_tools_clock_replace(nullptr, nullptr); }

  // A multiplex with its event tables, on air in place of what was there.
  void air(const std::string& name, const TinyMultiplex& multiplex, const std::vector<Bytes>& sections) {
    StreamBuilder stream;
    for (const auto& section : sections) stream.add(EIT, {section});
    write(_tv.airDirectory() / (name + ".ts"), join({multiplex.bytes(), stream.bytes()}));
  }

  void start(const std::string& time = "stream") {
    ASSERT_EQ(_tv.start("dvb-t=file:" + _tv.airDirectory().string() + ",time=" + time), DURIX_OK);
  }
  void scan() {
    start();
    ASSERT_TRUE(_tv.scan({474, 482}));
  }
  void restart(const std::string& time = "stream") {
    ASSERT_EQ(_tv.stop(), DURIX_OK);
    start(time);
  }

  durix_esg_object serviceNamed(const std::string& name) const {
    for (const auto& service : _tv.services()) {
      if (_tv.text(service, DURIX_ATTRIBUTE_NAME) == name) return service;
    }
    return {};
  }
  durix_esg_object guideFeed(const std::string& name) const { return _tv.feeds(serviceNamed(name)).at(0); }

  // Opens a guide feed and waits until all is received.
  void collect(const std::string& name = "One") const {
    const auto feed = guideFeed(name);
    ASSERT_EQ(durix_feed_open(&feed, 0), DURIX_OK);
    ASSERT_TRUE(eventually([] { return state().gone_round != 0; }));
    ASSERT_EQ(durix_feeds_close(&feed, 1, 0), DURIX_OK);
  }
  static durix_tools_guide_state state() {
    durix_tools_guide_state state{};
    EXPECT_EQ(durix_tools_guide(&state), DURIX_OK);
    return state;
  }

  std::vector<durix_esg_object> events(const std::string& service) const {
    const auto object = serviceNamed(service);
    durix_esg_object* array = nullptr;
    std::uint32_t count = 0;
    if (durix_program_events_get(&object, &array, &count) != DURIX_OK) return {};
    std::vector<durix_esg_object> list(array, array + count);
    ostiv_mem_free(array);
    return list;
  }

  // "A 0+60, B 60+30": titles with their minutes from the evening on.
  std::string programmes(const std::string& service) const {
    std::string line;
    for (const auto& event : events(service)) {
      const auto start = _tv.number(event, DURIX_ATTRIBUTE_START_TIME);
      const auto end = _tv.number(event, DURIX_ATTRIBUTE_END_TIME);
      line += (line.empty() ? "" : ", ") + _tv.text(event, DURIX_ATTRIBUTE_NAME) + " " +
              std::to_string((start - EVENING) / 60) + "+" + std::to_string((end - start) / 60);
    }
    return line;
  }

  std::int64_t _now = EVENING;
  Middleware _tv;
};

Bytes present(std::uint16_t service, const TestEvent& event, std::uint8_t version = 0) {
  return eitSection({.service = service, .table = 0x4E, .version = version}, {event});
}

TEST_F(GuideTest, TellsOfAProgrammeWhatTheContractAsksFor) {
  air("474", FIRST,
      {eitSection({}, {{.id = 5,
                        .start = EVENING,
                        .length = HOUR,
                        .title = "News",
                        .text = "Short.",
                        .more = join({shortEvent("ger", "Neues", "Kurz."), extendedEvent(0, 0, "eng", "Long."),
                                      descriptor(0x54, {0x20, 0}), descriptor(0x55, join({text("GBR"), {9}}))})},
                       {.id = 6, .start = EVENING + HOUR, .title = "Plain"}})});
  scan();
  EXPECT_TRUE(events("One").empty());
  collect();
  const auto list = events("One");
  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list[0].kind, 2U);
  EXPECT_EQ(_tv.text(list[0], DURIX_ATTRIBUTE_NAME), "News");
  EXPECT_EQ(_tv.text(list[0], DURIX_ATTRIBUTE_DESCRIPTION), "Short.\nLong.");
  EXPECT_EQ(_tv.text(list[0], DURIX_ATTRIBUTE_GENRE), "News/Current affairs");
  EXPECT_EQ(_tv.text(list[0], DURIX_ATTRIBUTE_PARENTAL_RATING), "12");
  EXPECT_EQ(_tv.text(list[0], DURIX_ATTRIBUTE_START_TIME_STR), "2020-09-13T20:00:00");
  EXPECT_EQ(_tv.text(list[0], DURIX_ATTRIBUTE_END_TIME_STR), "2020-09-13T21:00:00");
  EXPECT_EQ(_tv.number(list[0], DURIX_ATTRIBUTE_START_TIME), EVENING);
  EXPECT_EQ(_tv.number(list[0], DURIX_ATTRIBUTE_END_TIME), EVENING + HOUR);
  const auto feeds = _tv.feeds(list[0]);
  ASSERT_EQ(feeds.size(), _tv.feeds(serviceNamed("One")).size()) << "those of its service";
  EXPECT_EQ(feeds.at(1).id, _tv.feeds(serviceNamed("One")).at(1).id);
  EXPECT_EQ(_tv.text(list[1], DURIX_ATTRIBUTE_PARENTAL_RATING), "0");
  EXPECT_EQ(_tv.text(list[1], DURIX_ATTRIBUTE_GENRE), "");
  ASSERT_EQ(durix_property_set(_tv.handle(), DURIX_PROPERTY_ESG_LANGUAGE, "deu"), DURIX_OK);
  EXPECT_EQ(_tv.text(list[0], DURIX_ATTRIBUTE_NAME), "Neues") << "by the other code of the language";
  EXPECT_EQ(_tv.text(list[1], DURIX_ATTRIBUTE_NAME), "Plain") << "in the language that there is";
  restart();
  EXPECT_EQ(_tv.text(list[0], DURIX_ATTRIBUTE_NAME), "Neues") << "kept over a restart";
}

TEST_F(GuideTest, VisitsTheOtherMultiplexesToo) {
  air("474", FIRST,
      {eitSection({.service = 2}, {{.id = 1, .start = EVENING, .title = "A"}}),
       eitSection(
           {.service = 3, .table = 0x60, .transportStream = 2},
           {{.id = 2, .start = EVENING, .title = "Other"}, {.id = 3, .start = EVENING + HOUR, .title = "Later"}})});
  air("482", SECOND, {eitSection({.service = 3, .transportStream = 2}, {{.id = 2, .start = EVENING, .title = "Own"}})});
  scan();
  collect();
  EXPECT_EQ(state().multiplexes, 2U);
  EXPECT_EQ(state().received, 2U);
  EXPECT_EQ(programmes("One"), "");
  EXPECT_EQ(programmes("Two"), "A 0+60");
  EXPECT_EQ(programmes("Three"), "Own 0+60, Later 60+60");
}

TEST_F(GuideTest, TellsOfChangesOnceAndOnlyOfChanges) {
  const auto schedule = eitSection({}, {{.id = 1, .start = EVENING, .title = "A"}});
  air("474", FIRST, {schedule, present(2, {.id = 1, .start = EVENING, .title = "B"})});
  scan();
  collect();
  EXPECT_TRUE(_tv.log().waitFor(DURIX_EVENT_PROGRAM_EVENTS_CHANGED));
  EXPECT_EQ(_tv.log().events(DURIX_EVENT_PROGRAM_EVENTS_CHANGED).size(), 1U) << "gathered";
  const auto provider = _tv.provider();
  ASSERT_EQ(durix_provider_mount(&provider), DURIX_OK);
  ASSERT_EQ(durix_provider_activate(&provider), DURIX_OK);
  EXPECT_EQ(state().unread, 2U);
  events("One");
  EXPECT_EQ(state().unread, 1U);
  _tv.log().clear();
  restart();
  collect();
  EXPECT_TRUE(_tv.log().events(DURIX_EVENT_PROGRAM_EVENTS_CHANGED).empty());
  EXPECT_EQ(programmes("One"), "A 0+60");
}

TEST_F(GuideTest, FollowsWhatMovesChangesAndVanishes) {
  air("474", FIRST,
      {eitSection({}, {{.id = 1, .start = EVENING, .title = "A"},
                       {.id = 2, .start = EVENING + HOUR, .title = "B"},
                       {.id = 3, .start = EVENING + 2 * HOUR, .title = "C"}})});
  scan();
  collect();
  const auto before = events("One");
  restart();
  air("474", FIRST,
      {eitSection({.version = 1}, {{.id = 1, .start = EVENING, .title = "A"},
                                   {.id = 2, .start = EVENING + HOUR, .length = 2 * HOUR, .title = "B"}})});
  collect();
  EXPECT_EQ(programmes("One"), "A 0+60, B 60+120");
  const auto after = events("One");
  ASSERT_EQ(after.size(), 2U);
  EXPECT_EQ(after[0].id, before[0].id);
  EXPECT_GT(after[1].id, before[2].id);
  EXPECT_EQ(durix_tools_guide_has(after[0].opaque, before[0].id), 1);
  EXPECT_EQ(durix_tools_guide_has(after[0].opaque, before[1].id), 0);
  EXPECT_EQ(_tv.text(before[1], DURIX_ATTRIBUTE_NAME), "B") << "whoever is reading can end it";
  restart();
  EXPECT_EQ(programmes("One"), "A 0+60, B 60+120");
  EXPECT_EQ(_tv.text(before[1], DURIX_ATTRIBUTE_NAME), "(failed)");
}

TEST_F(GuideTest, DropsAndCountsWhatMakesNoSense) {
  constexpr std::int64_t YEAR_2100 = 4'102'444'800;
  air("474", FIRST,
      {eitSection({}, {{.id = 1, .start = EVENING, .title = "Good"},
                       {.id = 2, .start = EVENING + HOUR, .length = 0, .title = "No length"},
                       {.id = 3, .start = YEAR_2100, .title = "2100"},
                       {.id = 4, .start = -3'506'716'800, .title = "1858"},
                       {.id = 5, .start = EVENING + HOUR, .more = descriptor(0xC1, {})}}),
       eitSection({.service = 99}, {{.id = 1, .start = EVENING, .title = "Nobody's"}})});
  scan();
  collect();
  EXPECT_EQ(programmes("One"), "Good 0+60");
  EXPECT_EQ(state().events, 1U);
  EXPECT_EQ(state().dropped, 5U);
}

TEST_F(GuideTest, ForgetsADayAfterTheEnd) {
  air("474", FIRST, {eitSection({}, {{.id = 1, .start = EVENING, .title = "A"}})});
  scan();
  restart("now");
  collect();
  EXPECT_EQ(programmes("One"), "A 0+60") << "on air since now, which is when it was recorded";
  _now += 25 * HOUR - 1;
  restart("now");
  EXPECT_EQ(programmes("One"), "A 0+60");
  _now += 2;
  restart("now");
  EXPECT_EQ(programmes("One"), "");
  restart("stream");
  collect();
  _now += 1000 * HOUR;
  restart("stream");
  EXPECT_EQ(programmes("One"), "A 0+60") << "recorded time: nothing is too old";
}

TEST_F(GuideTest, ShiftsAStreamToNow) {
  constexpr std::int64_t LATER = 2400 * HOUR;
  air("474", FIRST, {eitSection({}, {{.id = 1, .start = EVENING + HOUR, .title = "A"}})});
  _now += LATER;
  start("now");
  ASSERT_TRUE(_tv.scan({474}));
  collect();
  EXPECT_EQ(programmes("One"), "A " + std::to_string((LATER + HOUR) / 60) + "+60");
}

TEST_F(GuideTest, RepeatsAStreamAfterItsLastEventThatMakesSense) {
  constexpr std::int64_t LATER = 2400 * HOUR;
  constexpr std::int64_t YEAR_2037 = 2'114'380'800;
  air("474", FIRST,
      {eitSection({}, {{.id = 1, .start = EVENING, .title = "A"}, {.id = 2, .start = YEAR_2037, .title = "B"}}),
       eitSection({.service = 99}, {{.id = 1, .start = EVENING + 100 * HOUR, .title = "Nobody's"}})});
  _now += LATER;
  start("now");
  ASSERT_TRUE(_tv.scan({474}));
  collect();
  EXPECT_EQ(programmes("One"), "A " + std::to_string(LATER / 60) + "+60");
  _now += 30 * HOUR;
  restart("now");
  collect();
  EXPECT_EQ(programmes("One"), "A " + std::to_string((LATER + 30 * HOUR) / 60) + "+60");
}

TEST_F(GuideTest, KeepsTheTextsOfAllMultiplexesOverARestart) {
  const auto brief = eitSection({.service = 3, .transportStream = 2}, {{.id = 2, .start = EVENING, .title = "A"}});
  const auto full = [](std::string_view text) {
    return eitSection({.service = 3, .table = 0x60, .transportStream = 2},
                      {{.id = 2, .start = EVENING, .title = "A", .text = text}});
  };
  air("474", SECOND, {brief});
  air("482", FIRST, {full("All of it.")});
  scan();
  collect("Three");
  const auto before = events("Three");
  ASSERT_EQ(before.size(), 1U);
  EXPECT_EQ(_tv.text(before[0], DURIX_ATTRIBUTE_DESCRIPTION), "All of it.");
  _tv.log().clear();
  restart();
  collect("Three");
  EXPECT_TRUE(_tv.log().events(DURIX_EVENT_PROGRAM_EVENTS_CHANGED).empty());
  EXPECT_EQ(events("Three").at(0).id, before[0].id) << "the poorer table came first";
  restart();
  air("482", FIRST, {full("Less.")});
  collect("Three");
  EXPECT_EQ(_tv.text(events("Three").at(0), DURIX_ATTRIBUTE_DESCRIPTION), "Less.");
}

TEST_F(GuideTest, CollectsNothingWithoutAnOpenFeed) {
  air("474", FIRST, {eitSection({}, {{.id = 1, .start = EVENING, .title = "A"}})});
  scan();
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(state().open, 0U);
  EXPECT_EQ(state().events, 0U);
  EXPECT_EQ(state().gone_round, 0);
  collect();
  EXPECT_EQ(state().events, 1U);
}

TEST_F(GuideTest, StopsInTheMiddleOfAStream) {
  TinyMultiplex endless = FIRST;
  endless.nullPackets = 400'000;
  for (int round = 0; round < 3; ++round) {
    air("474", endless, {eitSection({}, {{.id = 1, .start = EVENING, .title = "A"}})});
    if (round == 0) {
      scan();
    } else {
      start();
    }
    const auto feed = guideFeed("One");
    ASSERT_EQ(durix_feed_open(&feed, 0), DURIX_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(20 * round));
    ASSERT_EQ(_tv.stop(), DURIX_OK);
  }
}

}  // namespace
}  // namespace durix::test

// One line of programmes out of what tables claim.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "middleware/guide/Timeline.h"

namespace durix::test {
namespace {

constexpr std::int64_t MINUTE = 60;
constexpr std::int64_t EVENING = 1'600'027'200;
constexpr std::uint8_t PRESENT = 0x4E, PRESENT_OTHER = 0x4F, SCHEDULE = 0x50, SCHEDULE_OTHER = 0x60;

struct Claim {
  std::uint16_t id = 0;
  std::int64_t from = 0, to = 0;  // minutes of the evening
  const char* title = "";
  const char* text = "";
  std::uint8_t age = 0;
};

// A line as people read it: "A 0-30, B 30-60"; times are minutes, with seconds behind a point where there are some.
class TestLine {
 public:
  explicit TestLine(const std::vector<GuideEventPtr>& kept = {}) : _line(kept) {}

  void tell(std::uint8_t table, const std::vector<Claim>& claims, std::uint8_t section = 0,
            std::uint32_t multiplex = 1) {
    std::vector<GuideEvent> events;
    events.reserve(claims.size());
    for (const auto& claim : claims) {
      events.push_back({.eventId = claim.id,
                        .age = claim.age,
                        .start = EVENING + claim.from * MINUTE,
                        .end = EVENING + claim.to * MINUTE + _late,
                        .texts = EventTexts({{.language = "eng", .title = claim.title, .description = claim.text}})});
    }
    _refused += _line.replace({multiplex, table, section}, std::move(events), EVENING + _now * MINUTE);
  }

  // Ends of what is told from here on are some seconds later.
  void tellLate(std::int64_t seconds) { _late = seconds; }
  void passTo(std::int64_t minute) { _now = minute; }
  void keep(std::uint8_t table, std::initializer_list<std::size_t> sections) {
    std::bitset<256> kept;
    for (const auto section : sections) kept.set(section);
    _line.keepSections(1, table, kept, EVENING + _now * MINUTE);
  }
  Timeline& line() { return _line; }
  std::size_t refused() const { return _refused; }  // events that were too many

  std::string settled() {
    auto outcome = _line.settle();
    for (const auto& event : outcome.added) event->id = ++_lastId;
    _events = outcome.events;
    _line.accept(std::move(outcome));
    std::string text;
    for (const auto& event : _events) {
      text += (text.empty() ? "" : ", ") + std::string(event->texts.title({})) + " " + minutes(event->start) + "-" +
              minutes(event->end);
    }
    return text;
  }

  std::vector<std::uint32_t> ids() const {
    std::vector<std::uint32_t> ids;
    for (const auto& event : _events) ids.push_back(event->id);
    return ids;
  }
  const std::vector<GuideEventPtr>& events() const { return _events; }

 private:
  static std::string minutes(std::int64_t moment) {
    const std::int64_t seconds = moment - EVENING;
    const std::string rest = seconds % MINUTE == 0 ? "" : "." + std::to_string(seconds % MINUTE);
    return std::to_string(seconds / MINUTE) + rest;
  }

  Timeline _line;
  std::vector<GuideEventPtr> _events;
  std::int64_t _now = -1000;
  std::int64_t _late = 0;
  std::uint32_t _lastId = 0;
  std::size_t _refused = 0;
};

TEST(Timeline, MakesOneOfWhatSeveralTablesTell) {
  TestLine line;
  line.tell(SCHEDULE, {{1, 0, 30, "A", "long text", 12}, {2, 30, 60, "B"}});
  line.tell(SCHEDULE_OTHER, {{1, 0, 30, "A", "a longer text yet"}, {77, 30, 60, "B"}}, 0, 2);
  line.tell(PRESENT, {{1, 0, 30, "A", "text"}});
  EXPECT_EQ(line.settled(), "A 0-30, B 30-60");
  EXPECT_EQ(line.events()[0]->texts.description({}), "a longer text yet");
  EXPECT_EQ(line.events()[0]->age, 12);
}

TEST(Timeline, FollowsTheHigherTable) {
  struct Row {
    const char* reason;
    std::vector<std::pair<std::uint8_t, std::vector<Claim>>> told;  // in any order
    const char* line;
  };
  const std::vector<Row> rows{
      {"a late event, by its number",
       {{SCHEDULE, {{1, 0, 30, "A"}, {2, 30, 60, "B"}}}, {PRESENT, {{1, 0, 40, "A"}, {2, 40, 70, "B"}}}},
       "A 0-40, B 40-70"},
      {"an overrun is cut from what follows",
       {{SCHEDULE, {{1, 0, 30, "A"}, {2, 30, 60, "B"}}}, {PRESENT, {{1, 0, 40, "A"}}}},
       "A 0-40, B 40-60"},
      {"what is mostly covered goes",
       {{SCHEDULE, {{1, 0, 30, "A"}, {2, 30, 60, "B"}}}, {PRESENT, {{9, 10, 50, "C"}}}},
       "C 10-50"},
      {"another programme at the same time", {{SCHEDULE, {{1, 0, 30, "A"}}}, {PRESENT, {{9, 0, 30, "C"}}}}, "C 0-30"},
      {"the own schedule over another's",
       {{SCHEDULE, {{1, 0, 30, "A"}}}, {SCHEDULE_OTHER, {{1, 0, 60, "A"}, {5, 60, 90, "D"}}}},
       "A 0-30, D 60-90"},
      {"present of others over the own schedule",
       {{SCHEDULE, {{1, 0, 30, "A"}}}, {PRESENT_OTHER, {{1, 0, 45, "A"}}}},
       "A 0-45"},
      {"the own present over that of others",
       {{PRESENT, {{1, 0, 30, "A"}}}, {PRESENT_OTHER, {{1, 0, 45, "A"}}}},
       "A 0-30"},
      {"one number for all events",
       {{SCHEDULE, {{0, 0, 30, "A"}, {0, 30, 60, "B"}}}, {PRESENT, {{0, 0, 30, "A"}, {0, 30, 60, "B"}}}},
       "A 0-30, B 30-60"},
      {"a repeat in the same week", {{SCHEDULE, {{1, 0, 30, "A"}, {2, 600, 630, "A"}}}}, "A 0-30, A 600-630"},
      {"starts of one table are meant", {{SCHEDULE, {{1, 0, 120, "A"}, {2, 60, 90, "B"}}}}, "A 0-60, B 60-90"},
      {"one number for all events, of which one is sent twice",
       {{SCHEDULE, {{0, 0, 30, "A"}, {0, 30, 60, "B"}, {0, 60, 90, "A"}}}, {PRESENT, {{0, 0, 30, "A"}}}},
       "A 0-30, B 30-60, A 60-90"},
      {"the same event in two places", {{SCHEDULE, {{1, 0, 30, "A"}, {1, 0, 30, "A"}}}}, "A 0-30"},
  };
  for (const auto& row : rows) {
    TestLine line;
    for (const auto& [table, claims] : row.told) line.tell(table, claims);
    EXPECT_EQ(line.settled(), row.line) << row.reason;
    TestLine backwards;
    auto told = row.told;
    std::reverse(told.begin(), told.end());
    for (const auto& [table, claims] : told) backwards.tell(table, claims);
    EXPECT_EQ(backwards.settled(), row.line) << row.reason << ", told the other way round";
  }
}

TEST(Timeline, CutsSeamsAtTheStartOfTheLater) {
  TestLine line;
  line.tellLate(1);
  line.tell(SCHEDULE, {{1, 0, 30, "A"}, {2, 30, 60, "B"}});
  line.tell(PRESENT, {{1, 0, 30, "A"}});
  EXPECT_EQ(line.settled(), "A 0-30, B 30-60.1");
}

TEST(Timeline, GivesANewIdentifierToWhatHasChanged) {
  TestLine line;
  line.tell(SCHEDULE, {{1, 0, 30, "A"}, {2, 30, 60, "B"}, {3, 60, 90, "C"}});
  line.settled();
  const auto before = line.ids();
  line.tell(SCHEDULE, {{1, 0, 30, "A"}, {2, 30, 60, "B!"}, {3, 60, 95, "C"}});
  EXPECT_EQ(line.settled(), "A 0-30, B! 30-60, C 60-95");
  const auto after = line.ids();
  EXPECT_EQ(after[0], before[0]);
  EXPECT_GT(after[1], before[2]);
  EXPECT_GT(after[2], before[2]);
  EXPECT_FALSE(line.line().settle().hasChanged()) << "nothing new";
}

TEST(Timeline, DropsWhatVanishesButNotWhatIsOver) {
  TestLine line;
  line.tell(SCHEDULE, {{1, 0, 30, "A"}, {2, 30, 60, "B"}}, 0);
  line.tell(SCHEDULE, {{3, 60, 90, "C"}}, 8);
  EXPECT_EQ(line.settled(), "A 0-30, B 30-60, C 60-90");
  line.passTo(30);
  line.tell(SCHEDULE, {{4, 40, 60, "D"}}, 0);
  EXPECT_EQ(line.settled(), "A 0-30, D 40-60, C 60-90");
  line.keep(SCHEDULE, {0});
  EXPECT_EQ(line.settled(), "A 0-30, D 40-60");
  line.line().dropTables(1, SCHEDULE - 1, SCHEDULE, EVENING + 30 * MINUTE);
  EXPECT_EQ(line.settled(), "A 0-30");
  line.line().forget(EVENING + 31 * MINUTE);
  EXPECT_EQ(line.settled(), "");
}

TEST(Timeline, KeepsWhatIsOverOnce) {
  TestLine line;
  for (std::int64_t minute = 0; minute < 100; minute += 10) {  // present/following that goes on
    line.passTo(minute);
    const auto id = static_cast<std::uint16_t>(minute);
    line.tell(PRESENT, {{id, minute, minute + 10, "P"}}, 0);
    line.tell(PRESENT, {{static_cast<std::uint16_t>(id + 10), minute + 10, minute + 20, "P"}}, 1);
    line.settled();
  }
  EXPECT_EQ(line.events().size(), 11U);
}

TEST(Timeline, TakesNoLongerForEventsOfOneNumber) {
  constexpr std::int64_t EVENTS = 50'000;
  constexpr std::int64_t OF_SECTION = 20;
  const auto settling = [](bool isOneNumber) {
    TestLine line;
    for (std::int64_t first = 0; first < EVENTS; first += OF_SECTION) {
      std::vector<Claim> claims;
      for (std::int64_t i = first; i < first + OF_SECTION; ++i) {
        claims.push_back({static_cast<std::uint16_t>(isOneNumber ? 0 : i), i, i + 1, "A"});
      }
      const std::int64_t section = first / OF_SECTION;
      line.tell(static_cast<std::uint8_t>(SCHEDULE + section / 256), claims, static_cast<std::uint8_t>(section));
    }
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(line.line().settle().events.size(), static_cast<std::size_t>(EVENTS));
    return std::chrono::steady_clock::now() - before;
  };
  EXPECT_LT(settling(true), 20 * settling(false));
}

TEST(Timeline, KeepsAsMuchAsAServiceCanHave) {
  std::vector<Claim> claims;
  for (std::uint16_t i = 0; i < 60'000; ++i) claims.push_back({i, i, i + 1, "A"});
  TestLine line;
  line.passTo(100'000);
  for (std::uint8_t section = 0; section < 10; ++section) line.tell(SCHEDULE, claims, section);
  EXPECT_GT(line.refused(), 0U);
  for (std::uint8_t section = 0; section < 10; ++section) line.tell(SCHEDULE, {}, section);
  const auto refused = line.refused();
  line.tell(SCHEDULE, {{1, 70'000, 70'001, "B"}});
  EXPECT_EQ(line.refused(), refused) << "there is room again";
  EXPECT_EQ(line.line().settle().events.size(), claims.size() + 1) << "what is over stays, once";
}

TEST(Timeline, TakesNothingMoreWhereMoreWasKept) {
  constexpr std::size_t KEPT = 300'000;
  std::vector<GuideEventPtr> kept;
  for (std::size_t i = 0; i < KEPT; ++i) {
    const auto start = static_cast<std::int64_t>(i);
    kept.push_back(std::make_shared<GuideEvent>(
        GuideEvent{.start = start, .end = start + 1, .origin = {.multiplex = 1, .table = PRESENT, .section = 1}}));
  }
  TestLine line(kept);
  line.tell(SCHEDULE, {{1, 0, 30, "A"}});
  EXPECT_EQ(line.refused(), 1U);
}

TEST(Timeline, KeepsWhatItKnewUntilAllIsToldAnew) {
  TestLine before;
  before.tell(SCHEDULE, {{1, 0, 30, "A", "short"}});
  before.tell(SCHEDULE_OTHER, {{1, 0, 30, "A", "a longer text", 12}}, 0, 2);
  before.settled();
  TestLine line(before.events());
  line.tell(SCHEDULE, {{1, 0, 30, "A", "short"}});
  EXPECT_FALSE(line.line().settle().hasChanged()) << "the better text was of another table";
  line.tell(SCHEDULE_OTHER, {{1, 0, 30, "A", "a longer text", 12}}, 0, 2);
  line.line().forgetKept();
  EXPECT_FALSE(line.line().settle().hasChanged());
  line.tell(SCHEDULE_OTHER, {}, 0, 2);
  line.settled();
  EXPECT_EQ(line.events().at(0)->texts.description({}), "short") << "nobody tells the better one any more";
}

TEST(Timeline, FollowsAServiceToAnotherMultiplex) {
  TestLine line;
  line.tell(SCHEDULE, {{1, 0, 30, "A"}, {2, 30, 60, "B"}}, 0, 1);
  line.tell(SCHEDULE_OTHER, {{4, 90, 120, "D"}}, 0, 1);
  line.tell(SCHEDULE, {{1, 0, 30, "A"}, {3, 60, 90, "C"}}, 0, 2);
  line.line().dropElsewhere(2, SCHEDULE, EVENING);
  EXPECT_EQ(line.settled(), "A 0-30, C 60-90, D 90-120");
}

TEST(EventTexts, AreReadInTheLanguageThatIsAskedFor) {
  const EventTexts texts({{.language = "fre", .title = "Titre", .description = "un"},
                          {.language = "deu", .title = "Titel", .description = ""},
                          {.language = "qaa", .title = "", .description = "original"}});
  const std::vector<std::pair<const char*, const char*>> rows{{"fre", "Titre"}, {"fra", "Titre"}, {"deu", "Titel"},
                                                              {"ger", "Titel"}, {"GER", "Titel"}, {"eng", "Titre"},
                                                              {"", "Titre"},    {"qaa", "Titre"}};
  for (const auto& [language, title] : rows) EXPECT_EQ(texts.title(language), title) << language;
  EXPECT_EQ(texts.description("ger"), "");
  EXPECT_EQ(texts.description("qaa"), "original");
  EXPECT_EQ(EventTexts::unpacked(texts.packed()), texts);
  EXPECT_EQ(EventTexts().title("eng"), "");
}

}  // namespace
}  // namespace durix::test

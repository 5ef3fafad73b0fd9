#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>

#include "Captures.h"
#include "EventBuilder.h"
#include "StreamBuilder.h"
#include "middleware/si/Charset.h"
#include "middleware/si/EventCarousel.h"
#include "middleware/si/SectionDemux.h"

namespace durix::test {
namespace {

// ---- What real broadcasts carry ----

std::string iso(std::int64_t moment) {
  const auto seconds = static_cast<std::time_t>(moment);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text.data();
}

// The other decoder leaves some control codes and the line break's private form in place.
std::string folded(const std::string& text) {
  const std::vector<std::uint8_t> bytes(text.begin(), text.end());
  std::u32string out;
  for (const char32_t c : decodeUtf8(bytes)) {
    const bool isPrivate = c >= 0xE080 && c < 0xE0A0;
    const char32_t code = isPrivate ? c - 0xE000 : c;
    if (code == 0x8A || code == U'\n' || code == U'\r') {
      out += U'\n';
    } else if (code >= 0x20 && (code < 0x7F || code >= 0xA0)) {
      out += code;
    }
  }
  return encodeUtf8(out);
}

std::string lineOf(const EventTableKey& key, unsigned section, unsigned id, const std::string& start,
                   std::int64_t duration, const std::string& title, const std::string& description, unsigned age) {
  return std::to_string(key.serviceId) + "/" + std::to_string(key.table) + "/" + std::to_string(section) + " " +
         std::to_string(id) + " " + start + "+" + std::to_string(duration) + " " + std::to_string(age) + " [" +
         folded(title) + "] " + folded(description);
}

std::multiset<std::string> eventsOf(const std::string& capture) {
  std::map<EventTableKey, std::map<std::uint8_t, std::vector<BroadcastEvent>>> tables;
  EventCarousel carousel([&](EventTableUpdate&& update) {
    auto& sections = tables[update.key];
    if (update.isWhole) std::erase_if(sections, [&](const auto& entry) { return !update.present[entry.first]; });
    for (auto& [number, events] : update.sections) sections[number] = std::move(events);
  });
  SectionDemux demux([&](std::uint16_t, const Section& section) { carousel.take(section); });
  demux.select(EIT_PID);
  auto reader = readerOf(bytesOf(capture));
  while (const auto packet = reader.next()) demux.feed(*packet);
  carousel.finish();
  std::multiset<std::string> lines;
  for (const auto& [key, sections] : tables) {
    for (const auto& [number, events] : sections) {
      for (const auto& event : events) {
        const auto& text = event.texts.front();
        lines.insert(lineOf(key, number, event.id, iso(event.start), event.end - event.start, text.title,
                            text.description, event.age));
      }
    }
  }
  return lines;
}

std::multiset<std::string> eventsIn(const nlohmann::json& truth) {
  std::multiset<std::string> lines;
  for (const auto& event : truth["events"]) {
    const EventTableKey key{.serviceId = event["service_id"], .table = event["table_id"]};
    std::string description = event["short"][0]["text"];
    if (event.contains("extended")) {
      for (const auto& extended : event["extended"]) {
        const std::string text = extended["text"];
        if (!description.empty() && !text.empty()) description += '\n';
        description += text;
      }
    }
    unsigned code = 0;
    if (event.contains("parental_rating") && !event["parental_rating"].empty()) {
      code = event["parental_rating"][0]["rating"];
    }
    lines.insert(lineOf(key, event["section"], event["event_id"], event["start_utc"], event["duration_s"],
                        event["short"][0]["title"], description, code > 0 && code < 16 ? code + 3 : 0));
  }
  return lines;
}

// What is in `all` and not in `others`, as far as one wants to read it.
std::string without(const std::multiset<std::string>& all, const std::multiset<std::string>& others) {
  constexpr std::size_t MOST = 2;
  constexpr std::size_t LONGEST = 400;
  std::vector<std::string> rest;
  std::ranges::set_difference(all, others, std::back_inserter(rest));
  std::string text = rest.empty() ? "" : std::to_string(rest.size());
  rest.resize(std::min(rest.size(), MOST));
  for (const auto& line : rest) text += "\n  " + line.substr(0, LONGEST);
  return text;
}

TEST(EventTables, SayWhatRealBroadcastsSay) {
  for (const auto& capture : dvbCaptures()) {
    if (capture.empty()) GTEST_SKIP() << "no captures at " << captureFolder();
    const auto truth = truthOf(capture);
    // The texts of one are compressed by a scheme that is not public; its other decoder knows it.
    if (truth["events"].empty() || capture == "uk-fragments-2020") continue;
    const auto found = eventsOf(capture);
    const auto expected = eventsIn(truth);
    EXPECT_EQ(without(expected, found), "") << capture << " lacks";
    EXPECT_EQ(without(found, expected), "") << capture << " has too many";
  }
}

// ---- One event ----

constexpr std::int64_t EVENING = 1'600'027'200;

std::optional<EventSection> read(const std::vector<TestEvent>& events) {
  const Bytes bytes = eitSection({}, events);
  return readEit(Section(bytes));
}

// The texts of the one event that has these descriptors: "language|title|description" for each language.
std::string textsOf(const Bytes& descriptors) {
  const auto section = read({{.id = 1, .start = EVENING, .more = descriptors}});
  std::string all;
  if (!section || section->events.empty()) return "(none)";
  for (const auto& text : section->events.front().texts) {
    all += (all.empty() ? "" : " ") + text.language + "|" + text.title + "|" + text.description;
  }
  return all;
}

TEST(EventTexts, AreJoinedInOrder) {
  const Bytes title = shortEvent("eng", "Title", "Short.");
  const std::vector<std::pair<Bytes, const char*>> rows{
      {title, "eng|Title|Short."},
      {shortEvent("eng", "Title", ""), "eng|Title|"},
      {join({title, extendedEvent(0, 0, "eng", "Long.")}), "eng|Title|Short.\nLong."},
      {join({shortEvent("eng", "Title", ""), extendedEvent(0, 0, "eng", "Long.")}), "eng|Title|Long."},
      {join({title, extendedEvent(1, 2, "eng", "b"), extendedEvent(2, 2, "eng", "c"), extendedEvent(0, 2, "eng", "a")}),
       "eng|Title|Short.\nabc"},
      {join({title, extendedEvent(0, 1, "eng", "a"), extendedEvent(0, 1, "eng", "a"), extendedEvent(1, 1, "eng", "b")}),
       "eng|Title|Short.\nab"},
      {join({title, extendedEvent(0, 0, "eng", "", {{"Director", "A. B."}, {"Cast", "C"}})}),
       "eng|Title|Short.\nDirector: A. B.\nCast: C"},
      {join({title, extendedEvent(0, 1, "eng", "", {{"Cast", "C, "}}), extendedEvent(1, 1, "eng", "", {{"", "D"}})}),
       "eng|Title|Short.\nCast: C, D"},
      {join({title, shortEvent("GER", "Titel", ""), extendedEvent(0, 0, "ger", "Lang.")}),
       "eng|Title|Short. ger|Titel|Lang."},
      {join({shortEvent("ger", "Titel", "Kurz."), extendedEvent(0, 0, "deu", "Lang.")}), "ger|Titel|Kurz.\nLang."},
      {shortEvent("eng", "Two\x8Alines", "two\x8Alines"), "eng|Two lines|two\nlines"},
      {join({title, extendedEvent(0, 1, "eng", "caf\xC2"), extendedEvent(1, 1, "eng", "e")}), "eng|Title|Short.\ncafe"},
  };
  for (const auto& [descriptors, texts] : rows) EXPECT_EQ(textsOf(descriptors), texts);
}

TEST(Events, AreReadAsFarAsTheyMakeSense) {
  const Bytes title = shortEvent("eng", "Title", "");
  const auto event = [&](const Bytes& start, const Bytes& length, const Bytes& loop) {
    return join({word(7), start, length, word(static_cast<unsigned>(loop.size())), loop});
  };
  const Bytes start = momentBytes(EVENING);
  const Bytes hour = lengthBytes(3600);
  struct Row {
    const char* reason;
    Bytes bytes;
    std::size_t events;
    unsigned dropped;
  };
  const std::vector<Row> rows{
      {"whole", event(start, hour, title), 1, 0},
      {"no length", event(start, {0, 0, 0}, title), 0, 1},
      {"length that is no number", event(start, {0x0A, 0, 0}, title), 0, 1},
      {"minutes that are none", event(start, {0, 0x75, 0}, title), 0, 1},
      {"no start", event({0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, hour, title), 0, 1},
      {"no text", event(start, hour, {}), 0, 1},
      {"empty text", event(start, hour, shortEvent("eng", "", "")), 0, 1},
      {"text of an unknown scheme", event(start, hour, shortEvent("eng", "\x1F\x01\x02", "")), 0, 1},
      {"unknown descriptor first", event(start, hour, join({descriptor(0xC0, {1, 2}), title})), 1, 0},
      {"text longer than its descriptor", event(start, hour, descriptor(0x4D, join({text("eng"), {99}, text("Ti")}))),
       1, 0},
      {"descriptor without content", event(start, hour, join({title, descriptor(0x4E, {}), descriptor(0x55, {1})})), 1,
       0},
      {"loop longer than the section", join({word(7), start, hour, word(0xFFF), title}), 1, 0},
      {"header cut off", join({event(start, hour, title), word(8), start}), 1, 0},
  };
  for (const auto& row : rows) {
    const Bytes bytes = section({.table = 0x4E, .extension = 1}, join({word(1), word(2), {0, 0x4E}, row.bytes}));
    const auto result = readEit(Section(bytes));
    ASSERT_TRUE(result) << row.reason;
    EXPECT_EQ(result->events.size(), row.events) << row.reason;
    EXPECT_EQ(result->dropped, row.dropped) << row.reason;
  }
  const Bytes tooShort = section({.table = 0x4E, .extension = 1}, word(1));
  EXPECT_FALSE(readEit(Section(tooShort)));
}

TEST(Events, HaveTheHighestAgeOfAllCountries) {
  const std::vector<std::pair<Bytes, unsigned>> rows{
      {{}, 0},
      {join({text("FRA"), {0}}), 0},
      {join({text("FRA"), {7}}), 10},
      {join({text("FRA"), {0x0F}}), 18},
      {join({text("FRA"), {0x10}}), 0},
      {join({text("AUT"), {1}, text("DEU"), {9}, text("CHE"), {0x7F}}), 12},
  };
  for (const auto& [entries, age] : rows) {
    const auto result = read({{.id = 1, .start = EVENING, .title = "T", .more = descriptor(0x55, entries)}});
    EXPECT_EQ(result->events.at(0).age, age);
  }
}

// ---- The carousel ----

// What sections bring in their order: "+" whole, "~" not; "table/number:titles" for each new section.
class Collected {
 public:
  std::string take(const EventHead& head, const std::vector<TestEvent>& events) {
    const Bytes bytes = eitSection(head, events);
    return during([&] { _carousel.take(Section(bytes)); });
  }
  std::size_t sections() const { return _sections; }  // of the last version that was handed out
  std::string finish() {
    return during([&] { _carousel.finish(); });
  }
  bool hasGoneRound() const { return _carousel.hasGoneRound(); }

 private:
  template <typename Work>
  std::string during(Work work) {
    _log.clear();
    work();
    return _log;
  }

  std::string _log;
  std::size_t _sections = 0;
  EventCarousel _carousel{[this](EventTableUpdate&& update) {
    _log += update.isWhole ? "+" : "~";
    _sections = update.present.count();
    for (const auto& [number, events] : update.sections) {
      _log += " " + std::to_string(update.key.table) + "/" + std::to_string(number) + ":";
      for (const auto& event : events) _log += event.texts.front().title;
    }
  }};
};

std::vector<TestEvent> titled(std::string_view title) {
  return {{.id = 1, .start = EVENING, .title = title}};
}

TEST(EventCarousel, HandsOutAVersionOnceItIsWhole) {
  Collected tables;
  EXPECT_EQ(tables.take({.table = 0x4E, .number = 0, .last = 1}, titled("A")), "");
  EXPECT_EQ(tables.take({.table = 0x4E, .number = 1, .last = 1}, titled("B")), "+ 78/0:A 78/1:B");
  EXPECT_EQ(tables.take({.table = 0x4E, .number = 0, .last = 1}, titled("A")), "") << "again";
  EXPECT_EQ(tables.take({.table = 0x4E, .version = 1, .number = 0, .last = 1}, titled("B")), "");
  EXPECT_EQ(tables.take({.table = 0x4E, .version = 1, .number = 1, .last = 1}, titled("C")), "+ 78/0:B 78/1:C");
  EXPECT_EQ(tables.take({.table = 0x4E, .version = 1, .number = 1, .last = 1}, titled("D")), "+ 78/1:D")
      << "another content without another version";
  EXPECT_TRUE(tables.hasGoneRound());
}

TEST(EventCarousel, LetsATableBecomeShorter) {
  Collected tables;
  tables.take({.table = 0x4E, .number = 0, .last = 1}, titled("A"));
  tables.take({.table = 0x4E, .number = 1, .last = 1}, titled("B"));
  EXPECT_EQ(tables.sections(), 2U);
  EXPECT_EQ(tables.take({.table = 0x4E, .number = 0, .last = 0}, titled("A")), "+ 78/0:A");
  EXPECT_EQ(tables.sections(), 1U) << "without another version";
  tables.take({.table = 0x4E, .number = 0, .last = 1}, titled("A"));
  EXPECT_EQ(tables.take({.table = 0x4E, .number = 1, .last = 1}, titled("B")), "+ 78/0:A 78/1:B") << "and longer";
}

TEST(EventCarousel, HoldsLittleOfVersionsThatNeverBecomeWhole) {
  const std::string text(200, 'x');
  std::vector<TestEvent> events;
  for (std::uint16_t id = 0; id < 16; ++id) events.push_back({.id = id, .start = EVENING, .title = "T", .text = text});
  std::size_t sent = 0;
  std::size_t told = 0;
  EventCarousel carousel([&](EventTableUpdate&& update) {
    for (const auto& [number, list] : update.sections)
      told += eitSection({}, list.empty() ? std::vector<TestEvent>{} : events).size();
  });
  for (std::uint16_t service = 0; service < 8192; ++service) {
    const Bytes bytes = eitSection({.service = service, .number = 8, .last = 15}, events);
    sent += bytes.size();
    carousel.take(Section(bytes));
  }
  EXPECT_LE(sent - told, std::size_t{1} << 24) << "of " << sent;
  carousel.finish();
  EXPECT_EQ(told, sent) << "nothing is lost";
}

TEST(EventCarousel, KnowsTheSegmentsOfASchedule) {
  Collected tables;
  EXPECT_EQ(tables.take({.number = 0, .last = 16, .segmentLast = 1}, titled("A")), "");
  EXPECT_EQ(tables.take({.number = 8, .last = 16, .segmentLast = 8}, titled("C")), "");
  EXPECT_EQ(tables.take({.number = 16, .last = 16, .segmentLast = 0}, titled("D")), "") << "a wrong end of a segment";
  EXPECT_FALSE(tables.hasGoneRound());
  EXPECT_EQ(tables.take({.number = 1, .last = 16, .segmentLast = 1}, titled("B")), "+ 80/0:A 80/1:B 80/8:C 80/16:D");
  EXPECT_TRUE(tables.hasGoneRound());
  EXPECT_EQ(tables.take({.service = 2, .lastTable = 0x51}, titled("E")), "+ 80/0:E");
  EXPECT_FALSE(tables.hasGoneRound()) << "a table is announced";
  EXPECT_EQ(tables.take({.service = 2, .table = 0x51}, titled("F")), "+ 81/0:F");
  EXPECT_TRUE(tables.hasGoneRound());
}

TEST(EventCarousel, TakesWhatThereIsWhenTheCarouselHasGoneRound) {
  Collected tables;
  EXPECT_EQ(tables.take({.number = 8, .last = 15, .segmentLast = 8}, titled("B")), "");
  EXPECT_EQ(tables.take({.number = 9, .last = 15, .segmentLast = 8}, titled("C")), "");
  EXPECT_EQ(tables.take({.number = 8, .last = 15, .segmentLast = 8}, titled("B")), "");
  EXPECT_EQ(tables.take({.number = 9, .last = 15, .segmentLast = 8}, titled("C")), "~ 80/8:B 80/9:C");
}

TEST(EventCarousel, TakesWhatThereIsAtTheEnd) {
  Collected tables;
  EXPECT_EQ(tables.take({.table = 0x4E, .number = 0, .last = 1}, titled("A")), "");
  EXPECT_EQ(tables.take({.table = 0x4E, .version = 1, .number = 1, .last = 1}, titled("C")), "");
  EXPECT_EQ(tables.finish(), "~ 78/0:A 78/1:C") << "the older version stands in";
  EXPECT_EQ(tables.finish(), "");
}

TEST(EventCarousel, SurvivesAnyBytes) {
  std::mt19937 random(20240102);  // NOLINT: the same bytes every time
  std::size_t events = 0;
  EventCarousel carousel([&](EventTableUpdate&& update) {
    for (const auto& [number, list] : update.sections) {
      for (const auto& event : list) {
        EXPECT_LT(event.start, event.end);
        EXPECT_FALSE(event.texts.empty());
        ++events;
      }
    }
  });
  const Bytes whole =
      eitSection({}, {{.id = 1,
                       .start = EVENING,
                       .title = "Title",
                       .text = "Text",
                       .more = join({extendedEvent(0, 1, "eng", "a", {{"b", "c"}}), extendedEvent(1, 1, "eng", "d"),
                                     descriptor(0x55, text("FRA\7"))})},
                      {.id = 2, .start = EVENING + 3600, .title = "Next"}});
  for (int round = 0; round < 20000; ++round) {
    Bytes body(whole.begin() + 8, whole.end() - 4);
    for (unsigned hits = random() % 8; hits > 0; --hits)
      body[random() % body.size()] = static_cast<std::uint8_t>(random());
    body.resize(random() % 8 == 0 ? random() % body.size() : body.size());
    const SectionHead head{.table = static_cast<std::uint8_t>(0x4E + random() % 0x22),
                           .extension = static_cast<std::uint16_t>(random() % 4),
                           .version = static_cast<std::uint8_t>(random() % 32),
                           .number = static_cast<std::uint8_t>(random()),
                           .last = static_cast<std::uint8_t>(random())};
    const Bytes bytes = section(head, body);
    carousel.take(Section(bytes));
  }
  carousel.finish();
  EXPECT_GT(events, 0U);
}

}  // namespace
}  // namespace durix::test

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <map>
#include <ranges>
#include <set>
#include <string>

#include "Captures.h"
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
  constexpr int MOST = 2;
  constexpr std::size_t LONGEST = 400;
  std::vector<std::string> rest;
  std::ranges::set_difference(all, others, std::back_inserter(rest));
  std::string text = rest.empty() ? "" : std::to_string(rest.size());
  for (const auto& line : rest | std::views::take(MOST)) text += "\n  " + line.substr(0, LONGEST);
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

}  // namespace
}  // namespace durix::test

#include "playback/FeedChooser.h"

#include <gtest/gtest.h>

#include "Theatre.h"

namespace {

constexpr int AC3 = DURIX_FEED_CONTENT_AC3;

/// What is read (object and attribute) and logged while feeds are looked through.
std::string trace(const Lines& lines, std::uint32_t type) {
  std::string trace;
  for (std::string line : lines) {
    if (line == "INFO Feed type=" + std::to_string(type) + " found") line = "found";
    if (line.starts_with("durix_attribute_get"))
      line = line.substr(line.find('(') + 1, line.find(')') - line.find('(') - 1);
    trace += (trace.empty() ? "" : " ") + line;
  }
  return trace;
}

TEST(FeedChoice, PrefersTheKindThenTheLanguageThenTheOrder) {
  struct Row {
    const char* reason;
    std::vector<Feed> feeds;
    std::uint32_t type;
    const char* language;
    std::uint32_t contentType;
    std::uint32_t chosen;  // 0: none
    const char* trace;
  };
  const Row rows[] = {
      {"no feeds", {}, 1, "eng", 0, 0, ""},
      {"none of the type", {{1, 2, "eng"}}, 1, "eng", 0, 0, "1.26 1.26"},
      {"the language",
       {{1, 1, "fin"}, {2, 1, "eng"}, {3, 1, "eng"}},
       1,
       "eng",
       0,
       2,
       "1.26 1.49 found 1.10 2.26 2.49 found 2.10"},
      {"no language: the first, after all were looked at",
       {{1, 1, "fin"}, {2, 1, "eng"}},
       1,
       "",
       0,
       1,
       "1.26 1.49 found 2.26 2.49 found"},
      {"another language: the first",
       {{1, 1, "fin"}, {2, 1, "swe"}},
       1,
       "eng",
       0,
       1,
       "1.26 1.49 found 1.10 2.26 2.49 found 2.10"},
      {"a terminological code finds the bibliographic one",
       {{1, 1, "eng"}, {2, 1, "ger"}},
       1,
       "deu",
       0,
       2,
       "1.26 1.49 found 1.10 2.26 2.49 found 2.10"},
      {"not the other way",
       {{1, 1, "eng"}, {2, 1, "deu"}},
       1,
       "ger",
       0,
       1,
       "1.26 1.49 found 1.10 2.26 2.49 found 2.10"},
      {"no bibliographic code is not the language of a feed without one",
       {{1, 1, "fin"}, {2, 1, ""}},
       1,
       "eng",
       0,
       1,
       "1.26 1.49 found 1.10 2.26 2.49 found 2.10"},
      {"AC-3 in the language",
       {{1, 1, "eng"}, {2, 1, "fin", AC3}, {3, 1, "eng", AC3}},
       1,
       "eng",
       AC3,
       3,
       "1.26 1.49 2.26 2.49 found 2.10 3.26 3.49 found 3.10"},
      {"AC-3 goes before the language",
       {{1, 1, "eng"}, {2, 1, "fin", AC3}},
       1,
       "eng",
       AC3,
       2,
       "1.26 1.49 2.26 2.49 found 2.10"},
      {"no AC-3: the language",
       {{1, 1, "fin"}, {2, 1, "eng"}},
       1,
       "eng",
       AC3,
       2,
       "1.26 1.49 2.26 2.49 1.26 found 1.10 2.26 found 2.10"},
      {"another kind goes before the language",
       {{1, 1, "eng", AC3}, {2, 1, "fin", 3}},
       1,
       "eng",
       0,
       2,
       "1.26 1.49 2.26 2.49 found 2.10"},
      {"AC-3 only",
       {{1, 1, "fin", AC3}, {2, 1, "eng", AC3}},
       1,
       "eng",
       0,
       2,
       "1.26 1.49 2.26 2.49 1.26 found 1.10 2.26 found 2.10"},
      {"recorded sound likewise",
       {{1, 7, "eng", AC3}, {2, 7, "fin"}},
       7,
       "eng",
       0,
       2,
       "1.26 1.49 2.26 2.49 found 2.10"},
      {"a kind of its own, then any but AC-3, then any",
       {{1, 1, "eng", AC3}},
       1,
       "eng",
       5,
       1,
       "1.26 1.49 1.26 1.49 1.26 found 1.10"},
      {"subtitles have no kinds",
       {{1, 3, "fin", AC3}, {2, 3, "eng"}},
       3,
       "eng",
       0,
       2,
       "1.26 found 1.10 2.26 found 2.10"},
      {"video", {{1, 1, "eng"}, {2, 2, "fin"}, {3, 2, "eng"}}, 2, "", 0, 2, "1.26 2.26 found 3.26 found"}};
  for (const Row& row : rows) {
    Theatre theatre;
    theatre.give(Theatre::ONE, row.feeds);
    const auto& feeds = theatre.stage.feeds[Theatre::ONE];
    const durix_esg_object chosen = feed_chooser::findFeedType(feeds, row.type, row.language, row.contentType);
    EXPECT_EQ(chosen.id, row.chosen) << row.reason;
    EXPECT_EQ(feed_chooser::isEmpty(chosen), row.chosen == 0) << row.reason;
    EXPECT_EQ(trace(theatre.stage.take(), row.type), row.trace) << row.reason;
  }
}

TEST(FeedChoice, LogsAsThePlayer) {
  Theatre theatre;
  theatre.give(Theatre::ONE, {{1, 2, ""}});
  feed_chooser::findFeedType(theatre.stage.feeds[Theatre::ONE], 2, "", 0);
  EXPECT_EQ(theatre.stage.take().back(), "INFO Feed type=2 found");
  EXPECT_EQ(theatre.stage.originOf("Feed type=2 found"), "BC_PLAYER plugins/dvbt/src/BroadcastPlayer");
}

TEST(FeedChoice, ReadsTheShownAudioLanguages) {
  struct Row {
    const char* shown;
    const char* language;
    std::uint32_t contentType;
  };
  for (const Row& row :
       {Row{"eng", "eng", 0}, Row{"eng / AC-3", "eng", AC3}, Row{"eng / other", "eng", 0}, Row{" / AC-3", "", AC3},
        Row{"eng/AC-3", "eng/AC-3", 0}, Row{"", "", 0}, Row{"eng / x / AC-3", "eng", AC3}}) {
    const feed_chooser::AudioWish wish = feed_chooser::audioWish(row.shown);
    EXPECT_EQ(wish.language, row.language) << row.shown;
    EXPECT_EQ(wish.contentType, row.contentType) << row.shown;
  }
}

}  // namespace

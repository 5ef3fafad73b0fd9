#include "Text.h"

#include <gtest/gtest.h>

namespace tv {
namespace {

TEST(Text, MeasuresWhatATerminalShows) {
  const struct {
    const char* text;
    std::size_t width;
    const char* why;
  } rows[] = {{"", 0, "nothing"},
              {"BBC One", 7, "one column for a letter"},
              {"\xC4\x8CT sport", 8, "two bytes are one letter"},
              {"e\xCC\x81", 1, "a combining accent takes no column"},
              {"NHK\xE7\xB7\x8F\xE5\x90\x88", 7, "wide characters take two columns"},
              {"\xF0\x9F\x93\xBA", 2, "a picture is wide"}};
  for (const auto& row : rows) EXPECT_EQ(displayWidth(row.text), row.width) << row.why;
}

TEST(Text, CutsAtAWholeCharacterAndSaysSo) {
  const struct {
    const char* text;
    std::size_t width;
    const char* cut;
    const char* why;
  } rows[] = {{"Rai 1", 5, "Rai 1", "what fits stays"},
              {"Rai Radio", 5, "Rai \xE2\x80\xA6", "the ellipsis takes the last column"},
              {"\xE7\xB7\x8F\xE5\x90\x88", 3, "\xE7\xB7\x8F\xE2\x80\xA6", "a wide character is not split"},
              {"\xE7\xB7\x8F\xE5\x90\x88", 2, "\xE2\x80\xA6", "no half of it either"},
              {"abc", 0, "", "no room at all"}};
  for (const auto& row : rows) EXPECT_EQ(cutToWidth(row.text, row.width), row.cut) << row.why;
}

TEST(Text, LetsNothingThroughThatSteersATerminal) {
  const struct {
    std::string text;
    const char* printed;
    const char* why;
  } rows[] = {{"a\033[2Jb", "a [2Jb", "an escape sequence"},
              {"a\nb\tc", "a b c", "line feeds and tabs break tables"},
              {"a\xC2\x9B"
               "b",
               "a b", "the one-byte form of escape sequences"},
              {"a\xE2\x80\xAE"
               "b",
               "a b", "a turn of direction"},
              {"a\xFF"
               "b",
               "a\xEF\xBF\xBD"
               "b",
               "a byte that is no UTF-8"},
              {"\xC3", "\xEF\xBF\xBD", "a character that was cut off"},
              {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD", "half of a surrogate pair"}};
  for (const auto& row : rows) EXPECT_EQ(printable(row.text), row.printed) << row.why;
}

TEST(Text, OffersTheNamesThatMayHaveBeenMeant) {
  const std::vector<std::string> names{"Full Scan", "Germany, Bayern", "Germany, Hessen", "France", "\xC3\x85land"};
  using Names = std::vector<std::string>;
  const struct {
    const char* wanted;
    Names near;
    const char* why;
  } rows[] = {{"full scan", {"Full Scan"}, "another case"},
              {"Ful Scna", {"Full Scan"}, "slips of the finger"},
              {"Germany", {"Germany, Bayern", "Germany, Hessen"}, "a part"},
              {"\xC3\xA5land", {"\xC3\x85land"}, "another case beyond ASCII"},
              {"Atlantis", {}, "nothing like it"},
              {"", {}, "nothing typed"}};
  for (const auto& row : rows) EXPECT_EQ(nearNames(row.wanted, names), row.near) << row.why;
  EXPECT_EQ(nearNames("Germany", names, 1), Names{"Germany, Bayern"}) << "not more than asked for";
}

TEST(Text, ShowsFrequenciesInMegahertz) {
  EXPECT_EQ(frequencyText(474000000, 1), "474 MHz");
  EXPECT_EQ(frequencyText(473142857, 1), "473.142857 MHz") << "ISDB-T channels are not on whole steps";
  EXPECT_EQ(frequencyText(11953500, 1000), "11953.5 MHz") << "satellite frequencies are kHz";
  EXPECT_EQ(frequencyText(0xFFFFFFFF, 1), "4294.967295 MHz") << "what a broken table may say";
}

}  // namespace
}  // namespace tv

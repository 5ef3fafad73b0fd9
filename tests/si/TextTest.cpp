// Broadcast text: every character table, control codes, damage.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "StreamBuilder.h"
#include "middleware/si/Charset.h"
#include "middleware/si/DvbText.h"

namespace durix::test {
namespace {

TEST(DvbText, ReadsEveryTable) {
  struct Row {
    const char* reason;
    std::string_view coded;
    const char* text;
  };
  using namespace std::string_view_literals;
  const std::vector<Row> rows = {
      {"empty", ""sv, ""},
      {"default table", "Das Erste"sv, "Das Erste"},
      {"diacritic before its letter",
       "\xC8"
       "OE1 T\xC2\x65l\xC2\x65 \xCB"
       "ca"sv,
       "ÖE1 Télé ça"},
      {"diacritics of the east",
       "\xCF"
       "Cesk\xC2\x61 \xCD"
       "o\xCE"
       "a\xC7"
       "Z\xCA"
       "u"sv,
       "Česká őąŻů"},
      {"diacritic without a composed letter",
       "\xC2"
       "q"sv,
       "q\u0301"},
      {"spacing accent", "d\xC2 art"sv, "d´art"},
      {"diacritic before no letter, at the end",
       "\xC3"
       "1\xC1"sv,
       "^1`"},
      {"letters and signs of their own", "\xA4\xF1\xF9\xFB\xE8\xB9\xA9\xD4"sv, "€æøßŁ’‘™"},
      {"bytes without a character", "a\xA6\xC0\xD8\xE5z"sv, "az"},
      {"part 5, Cyrillic", "\x01\xBD\xE2\xD2"sv, "Нтв"},
      {"part 7, Greek", "\x03\xC5\xD1\xD4"sv, "ΕΡΤ"},
      {"part 8, Hebrew", "\x04\xE9"sv, "י"},
      {"part 9, Turkish", "\x05\xDDstanbul \xD4"sv, "İstanbul Ô"},
      {"part 11, Thai", "\x07\xA1"sv, "ก"},
      {"part 12 was never made", "\x08\xE9"sv, "é"},
      {"part 15", "\x0B\xA4"sv, "€"},
      {"three bytes: part 2",
       "\x10\x00\x02\xA3\xF3"
       "d\xBC"sv,
       "Łódź"},
      {"three bytes: part 16 does not exist there", "\x10\x00\x10\xE9"sv, "é"},
      {"three bytes cut", "\x10\x00"sv, ""},
      {"UCS-2", "\x11\x04\x1F\x00\x41"sv, "ПA"},
      {"UCS-2 cut, with half a pair", "\x11\xD8\x00\x00\x42\x00"sv, "\uFFFDB"},
      {"Korean", "\x12\xC7\xD1\xB1\xDB"sv, "한글"},
      {"simplified Chinese", "\x13\xD6\xD0\xB9\xFA"sv, "中国"},
      {"traditional Chinese", "\x14\xA4\xA4\xA4\xE5"sv, "中文"},
      {"UTF-8", "\x15\xC3\x89t\xC3\xA9 \xF0\x9F\x93\xBA"sv, "Été 📺"},
      {"UTF-8 broken",
       "\x15"
       "a\xC3(\xE2\x82\xED\xA0\x80"sv,
       "a\uFFFD(\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"private compression", "\x1F\x01\x63\xD8"sv, ""},
      {"reserved selector",
       "\x0C"
       "abc"sv,
       "abc"},
      {"emphasis",
       "\x86"
       "BBC\x87 News"sv,
       "BBC News"},
      {"line break", "one\x8Atwo"sv, "one\ntwo"},
      {"line break and emphasis in two bytes", "\x11\x00\x41\xE0\x8A\xE0\x86\x00\x42"sv, "A\nB"},
      {"line break in UTF-8",
       "\x15"
       "A\xEE\x82\x8A"
       "B"sv,
       "A\nB"},
      {"Windows apostrophe",
       "\x05L\x92"
       "amica"sv,
       "Lamica"},
      {"zero bytes", "A\0B"sv, "AB"},
  };
  for (const auto& row : rows) EXPECT_EQ(decodeDvbText(text(row.coded)), row.text) << row.reason;
}

TEST(DvbText, ReadsLatin1WithoutASelectorWhenAskedTo) {
  const Bytes coded = text(
      "R\xE9"
      "cital \xE0 Par\xE7"
      "ay");
  EXPECT_EQ(decodeDvbText(coded, DefaultTable::Latin1), "Récital à Parçay");
  EXPECT_EQ(decodeDvbText(coded, DefaultTable::Iso6937), "RØcital Ω ParĿay");
  EXPECT_EQ(decodeDvbText(text("\x05\xDD"), DefaultTable::Latin1), "İ") << "a selector still counts";
}

TEST(DvbText, IsAlwaysValidUtf8) {
  std::mt19937 random(20240101);  // NOLINT: the same bytes every time
  for (int round = 0; round < 20000; ++round) {
    Bytes coded(random() % 40);
    for (auto& byte : coded) byte = static_cast<std::uint8_t>(random());
    if (!coded.empty()) coded[0] = static_cast<std::uint8_t>(random() % 0x28);
    const std::string decoded = decodeDvbText(coded);
    const Bytes bytes(decoded.begin(), decoded.end());
    ASSERT_EQ(encodeUtf8(decodeUtf8(bytes)), decoded);
    ASSERT_TRUE(std::ranges::none_of(decoded, [](unsigned char c) { return c < 0x20 && c != '\n'; }));
  }
}

TEST(CanonicalName, FoldsWhatCannotBeSeen) {
  const std::vector<std::pair<const char*, const char*>> rows = {
      {"", ""},
      {" \t ", ""},
      {"  Rai  1 ", "Rai 1"},
      {"A\u00A0\u3000B", "A B"},
      {"A\x01\nB\x7F", "A B"},
      {"A\u0092B", "A B"},
      {"Ô é", "Ô é"},
  };
  for (const auto& [name, canonical] : rows) EXPECT_EQ(canonicalName(name), canonical);
}

}  // namespace
}  // namespace durix::test

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>

#include "apps/broadcaster/Lineup.h"
#include "apps/broadcaster/media/Font.h"
#include "apps/broadcaster/si/Text.h"
#include "apps/broadcaster/si/Times.h"

namespace broadcaster {
namespace {

TEST(Text, IsEncodedInTheTableThatItsSelectorNames) {
  struct Row {
    const char* text;
    Charset charset;
    std::string encoded;
    const char* reason;
  };
  using namespace std::string_literals;
  const Row rows[] = {
      {"", Charset::Iso8859_5, "", "nothing, not even a selector"},
      {"One", Charset::Iso6937, "One", "the default table has no selector"},
      {"Télé à ç", Charset::Iso6937,
       "T\xC2"s
       "el\xC2"s
       "e \xC1"s
       "a \xCB"s
       "c",
       "its accents come before the letter"},
      {"Свет", Charset::Iso8859_5, "\x01\xC1\xD2\xD5\xE2", "one byte selects Cyrillic"},
      {"Yıldızı", Charset::Iso8859_9, "\x05Y\xFDld\xFDz\xFD", "one byte selects Turkish"},
      {"Příběh", Charset::Iso8859_2,
       "\x10\x00\x02P\xF8\xED"s
       "b\xECh",
       "three bytes select part 2"},
      {"€", Charset::Iso8859_15, "\x10\x00\x0F\xA4"s, "three bytes select part 15"},
      {"Φως", Charset::Utf8, "\x15Φως", "one byte selects UTF-8"},
      {"\uE086Co\uE087l", Charset::Iso6937,
       "\x86"s
       "Co\x87l",
       "emphasis is a control code of one byte"},
      {"\uE086a", Charset::Utf8, "\x15\uE086a", "but a character in UTF-8"},
  };
  for (const Row& row : rows) EXPECT_EQ(encodeText(row.text, row.charset), row.encoded) << row.reason;
  EXPECT_THROW(encodeText("Свет", Charset::Iso8859_9), std::runtime_error) << "a letter that the table lacks";
  EXPECT_THROW(encodeText(std::string(256, 'a'), Charset::Iso6937), std::length_error);
}

TEST(Text, IsCutBetweenCharacters) {
  struct Row {
    Charset charset;
    std::size_t most;
    const char* reason;
  };
  const std::string whole = "éàéàéàéàéà";
  const Row rows[] = {{Charset::Iso6937, 5, "an accent and its letter stay together"},
                      {Charset::Utf8, 6, "so do the bytes of a character behind the selector"},
                      {Charset::Iso8859_15, 5, "every piece has the selector of three bytes"}};
  for (const Row& row : rows) {
    std::string_view left = whole;
    std::size_t characters = 0;
    for (int pieces = 0; !left.empty() && pieces < 10; ++pieces) {
      const std::size_t before = left.size();
      const std::string piece = takePiece(left, row.charset, row.most);
      EXPECT_LE(piece.size(), row.most) << row.reason;
      EXPECT_EQ(piece, encodeText(whole.substr(whole.size() - before, before - left.size()), row.charset));
      characters += (before - left.size()) / 2;
    }
    EXPECT_EQ(characters, 10U) << row.reason;
  }
}

TEST(Lineup, CanBeEncodedAndDrawn) {
  std::set<unsigned> numbers;
  std::set<unsigned> identifiers;
  for (const Multiplex& multiplex : sampleNetwork(true).multiplexes) {
    for (const Service& service : multiplex.services) {
      EXPECT_TRUE(numbers.insert(service.number).second) << "the number of " << service.name << " is taken";
      EXPECT_TRUE(identifiers.insert(service.id).second) << "the identifier of " << service.name << " is taken";
      EXPECT_NO_THROW(encodeText(service.name, service.charset)) << service.name;
      for (const Programme& programme : service.programmes) {
        for (std::string_view text : {programme.title, programme.text, programme.details}) {
          while (!text.empty()) ASSERT_NO_THROW(takePiece(text, service.charset, 200)) << programme.title;
        }
      }
      EXPECT_LE(textWidth(service.caption), 120) << service.caption << " is wider than the picture";
      for (const char letter : service.caption) EXPECT_NE(&glyphOf(letter), &glyphOf('~')) << service.caption;
    }
  }
}

TEST(Moments, AreReadInLocalTimeOrUtc) {
  useZone("CET-1CEST,M3.5.0,M10.5.0/3");
  struct Row {
    const char* text;
    std::int64_t epoch;
  };
  const Row rows[] = {{"2026-07-01T12:00", 1782900000},
                      {"2026-07-01T12:00:30Z", 1782907230},
                      {"2026-01-01T00:30:05", 1767223805},
                      {"1782900000", 1782900000},
                      {"0", 0},
                      {"2038-04-14T00:00Z", 2154816000}};
  for (const Row& row : rows) EXPECT_EQ(readMoment(row.text).time_since_epoch().count(), row.epoch) << row.text;
  for (const char* text : {"", "now", "2026-02-30T12:00", "2026-07-01", "2026-07-01T24:00", "2026-07-01T12:60Z", "12x",
                           "-1", "2038-04-14T00:00:01Z", "99999999999999999999", "2026-07-01T12:00Zx"}) {
    EXPECT_THROW(readMoment(text), std::invalid_argument) << text;
  }
  for (const char* zone : {"", "Nowhere/Land", "../../etc/passwd", "/etc/passwd", "CE1", "<A", "ABC", "ABC+"}) {
    EXPECT_THROW(useZone(zone), std::invalid_argument) << zone;
  }
  useZone("UTC");
}

}  // namespace
}  // namespace broadcaster

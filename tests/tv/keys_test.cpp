// Keys of a terminal, as its bytes come.
#include <gtest/gtest.h>

#include "Keys.h"
#include "PlayChoice.h"

namespace tv {
namespace {

TEST(Keys, AreFoundInWhatATerminalSends) {
  struct Row {
    std::string bytes;
    std::vector<Key> keys;
    std::string left;
    const char* why;
  };
  const std::vector<Row> rows{
      {"+-m as", {Key::VOLUME_UP, Key::VOLUME_DOWN, Key::MUTE, Key::PAUSE, Key::AUDIO, Key::SUBTITLES}, "", "letters"},
      {"\033[A\033[B", {Key::NEXT, Key::PREVIOUS}, "", "arrows"},
      {"\033OA\033[5~\033[6~q", {Key::NEXT, Key::NEXT, Key::PREVIOUS, Key::QUIT}, "", "other arrows and pages"},
      {"\033[", {}, "\033[", "half a key"},
      {"xyzq", {Key::QUIT}, "", "others mean nothing"},
      {"\033[Hq", {Key::QUIT}, "", "nor do keys that are longer"},
  };
  for (const auto& row : rows) {
    std::string bytes = row.bytes;
    std::vector<Key> keys;
    for (std::size_t before = 0; bytes.size() != before && !bytes.empty();) {
      before = bytes.size();
      const Key key = takeKey(bytes);
      if (key != Key::NONE) keys.push_back(key);
    }
    EXPECT_EQ(keys, row.keys) << row.why;
    EXPECT_EQ(bytes, row.left) << row.why;
  }
}

TEST(Languages, GoRoundOnceEach) {
  using Languages = std::vector<std::string>;
  const struct {
    Languages there;
    std::string selected, next;
    const char* why;
  } rows[] = {{{"fra", "eng", "fra"}, "fra", "eng", "one that is there twice hides none"},
              {{"fra", "eng", "fra"}, "eng", "fra", "and counts once"},
              {{"ita", "ita"}, "ita", "", "no other"},
              {{"ita", "eng"}, "deu", "ita", "from one that is gone to the first"},
              {{}, "deu", "", "none at all"}};
  for (const auto& row : rows) EXPECT_EQ(nextLanguage(row.there, row.selected), row.next) << row.why;
  EXPECT_EQ(differentLanguages({"fra", "eng", "fra"}), (Languages{"fra", "eng"}));
}

}  // namespace
}  // namespace tv

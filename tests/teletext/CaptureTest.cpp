#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <tuple>

#include "middleware/player/TeletextDecoder.h"
#include "middleware/stream/PacketReader.h"
#include "tests/si/Captures.h"

namespace durix {
namespace {

/// All texts that each page had, by "page.subpage" with the digits as they are written.
using Texts = std::map<std::string, std::set<std::string>>;

std::string nameOf(const TeletextAddress& address) {
  char text[16];
  std::snprintf(text, sizeof text, "%u.%04u", address.page, address.subpage);
  return text;
}

Texts textsOf(const std::filesystem::path& file, std::uint16_t pid) {
  Texts texts;
  std::unique_ptr<TeletextDecoder> decoder;
  decoder = std::make_unique<TeletextDecoder>("", [&](const TeletextAddress& address) {
    const auto page = decoder->page(address);
    ASSERT_TRUE(page.has_value()) << nameOf(address);
    std::string text;
    for (const std::string& line : page->lines()) text += (text.empty() ? "" : "\n") + line;
    texts[nameOf(address)].insert(text);
  });
  const auto reader = PacketReader::open(file);
  while (const auto packet = reader->next()) {
    if (packet->pid() == pid) decoder->feed(*packet);
  }
  return texts;
}

/// Every page of a broadcast, in every state that it was seen in, is what another decoder made of it.
TEST(TeletextOfBroadcasts, EqualsTheReferenceText) {
  const auto folder = test::captureFolder() / "teletext";
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no recordings in " << folder << "; set TV_CAPTURES";
  std::size_t compared = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::ifstream file(entry.path());
    const auto reference = nlohmann::json::parse(file);
    const auto texts = textsOf(test::captureFolder() / reference["capture"].get<std::string>(), reference["pid"]);
    EXPECT_EQ(texts.size(), reference["pages"].size()) << entry.path();
    for (const auto& [name, page] : reference["pages"].items()) {
      const auto found = texts.find(name);
      for (const auto& state : page["distinct"]) {
        const std::string text = state["text"];
        EXPECT_TRUE(found != texts.end() && found->second.contains(text))
            << entry.path().filename() << ' ' << name << "\nexpected\n"
            << text << "\nhad\n"
            << (found == texts.end() ? "nothing" : *found->second.begin());
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 0U);
}

/// With one packet in a hundred lost, less comes, but nothing that the whole broadcast does not have.
TEST(TeletextOfBroadcasts, ShowsNoPageThatLacksSomething) {
  const auto folder = test::captureFolder();
  const std::tuple<const char*, const char*, std::uint16_t> rows[] = {
      {"der-rai-loss1pct.ts", "it-rai-dvbt-2022.ts", 0x0240},
      {"der-rai-loss1pct.ts", "it-rai-dvbt-2022.ts", 0x0241},
      {"der-rai-loss1pct.ts", "it-rai-dvbt-2022.ts", 0x0242},
      {"der-rai-loss1pct.ts", "it-rai-dvbt-2022.ts", 0x0257},
  };
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no recordings in " << folder << "; set TV_CAPTURES";
  for (const auto& [damaged, whole, pid] : rows) {
    const Texts all = textsOf(folder / whole, pid);
    const Texts some = textsOf(folder / damaged, pid);
    EXPECT_GT(some.size(), all.size() / 2) << pid;
    for (const auto& [name, texts] : some) {
      for (const auto& text : texts)
        EXPECT_TRUE(all.contains(name) && all.at(name).contains(text)) << name << '\n' << text;
    }
  }
}

}  // namespace
}  // namespace durix

#include "guide/ChannelOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <random>

using channel_order::Key;
using channel_order::Line;
using channel_order::Positions;

namespace {

TEST(ChannelOrder, PutsTelevisionBeforeRadioBeforeTheRest) {
  struct Row {
    const char* reason;
    Key first;
    Key second;
  };
  const Row rows[] = {
      {"number within television", {1, 2, "B"}, {1, 5, "A"}},
      {"name breaks a tie", {1, 5, "A"}, {1, 5, "B"}},
      {"names are bytes: letters beyond ASCII last", {2, 5, "a"}, {2, 5, "\xC3\x84"}},
      {"numbers of television are signed", {1, -1, "B"}, {1, 0, "A"}},
      {"type counts before number", {1, 900, "Z"}, {2, 1, "A"}},
      {"radio before the rest", {2, 900, "Z"}, {0, 1, "A"}},
      {"numbers of the rest are unsigned", {0, 7, "B"}, {0, -1, "A"}},
      {"the rest is one, whatever its type", {7, 1, "B"}, {0, 2, "A"}},
  };
  for (const Row& row : rows) {
    EXPECT_TRUE(channel_order::goesBefore(row.first, row.second)) << row.reason;
    EXPECT_FALSE(channel_order::goesBefore(row.second, row.first)) << row.reason;
  }
  EXPECT_FALSE(channel_order::goesBefore({0, 7, "A"}, {0, 7, "B"})) << "names do not count in the rest";
  EXPECT_EQ(channel_order::byNumber({{1, 5, "B"}, {1, 5, "A"}, {2, 2, ""}, {7, 1, ""}, {1, 5, "B"}}),
            (Positions{1, 0, 4, 2, 3}));
}

TEST(ChannelOrder, ReadsTheLinesOfAnyFile) {
  struct Row {
    const char* reason;
    std::string text;
    std::vector<std::pair<int, int>> lines;
  };
  const Row rows[] = {
      {"two lines", "1025.8916\n1026.8916\n", {{1025, 8916}, {1026, 8916}}},
      {"runs of separators are one, and none is needed at the end", "\n\n.12..1.\n\n7.8", {{12, 1}, {7, 8}}},
      {"one field, three fields", "12\n12.1.3\n7.8\n", {{7, 8}}},
      {"leading integers, or 0", " 12x.1 \r\na.-+\n", {{12, 1}, {0, 0}}},
      {"identifiers of 2^31 and above are negative", "-2147483648.-1\n", {{-2147483647 - 1, -1}}},
      {"numbers too long", "99999999999999999999.1\n", {{2147483647, 1}}},
      {"zero bytes", std::string("1\0002.3\n", 6), {{1, 3}}},
  };
  for (const Row& row : rows) {
    std::vector<std::pair<int, int>> read;
    for (const Line& line : channel_order::parseLines(row.text)) read.emplace_back(line.id, line.network);
    EXPECT_EQ(read, row.lines) << row.reason;
  }
}

// The rules as the contract words them, pair by pair.
Positions pairwiseBest(const std::vector<Key>& keys, const std::vector<int>& qualities) {
  Positions list(keys.size());
  std::iota(list.begin(), list.end(), 0);
  Positions result;
  while (!list.empty()) {
    std::size_t best = list.front();
    Positions rest;
    for (auto other = list.begin() + 1; other != list.end(); ++other) {
      if (keys[*other].name != keys[best].name || keys[*other].type != keys[best].type) {
        rest.push_back(*other);
      } else if (static_cast<unsigned>(qualities[best]) < static_cast<unsigned>(qualities[*other])) {
        best = *other;
      }
    }
    result.push_back(best);
    list = rest;
  }
  return result;
}

Positions pairwiseUser(const std::vector<Line>& lines, const std::vector<std::uint32_t>& ids,
                       const std::vector<int>& networks) {
  Positions result;
  const auto add = [&](std::size_t i) {
    if (std::find(result.begin(), result.end(), i) == result.end()) result.push_back(i);
  };
  for (const Line& line : lines) {
    for (std::size_t i = 0; i < ids.size(); ++i) {
      if (static_cast<std::int32_t>(ids[i]) == line.id && networks[i] == line.network) add(i);
    }
  }
  for (std::size_t i = 0; i < ids.size(); ++i) add(i);
  return result;
}

TEST(ChannelOrder, GivesWhatComparingEveryPairGivesAndAsksOnce) {
  std::mt19937 random(1);  // always the same lists
  const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  for (int round = 0; round < 300; ++round) {
    std::vector<Key> keys;
    std::vector<int> qualities;
    std::vector<int> networks;
    std::vector<std::uint32_t> ids;
    std::vector<Line> lines;
    for (int i = below(40); i > 0; --i) {
      keys.push_back({below(3), 0, std::string(1, static_cast<char>('A' + below(9)))});
      qualities.push_back(below(4) - 1);
      ids.push_back(static_cast<std::uint32_t>(below(12) - 1));
      networks.push_back(below(2));
      lines.push_back({below(24) - 1, below(3)});
    }
    std::map<std::size_t, int> asked;
    const auto answer = [&](const std::vector<int>& answers) {
      return [&](std::size_t i) {
        ++asked[i];
        return answers[i];
      };
    };
    EXPECT_EQ(channel_order::bestOfEachName(keys, answer(qualities)), pairwiseBest(keys, qualities));
    for (std::size_t i = 0; i < keys.size(); ++i) {
      const auto same = [&](const Key& key) { return key.name == keys[i].name && key.type == keys[i].type; };
      EXPECT_EQ(asked[i], std::count_if(keys.begin(), keys.end(), same) > 1 ? 1 : 0);
    }
    asked.clear();
    EXPECT_EQ(channel_order::byUser(lines, ids, answer(networks)), pairwiseUser(lines, ids, networks));
    for (std::size_t i = 0; i < ids.size(); ++i) {
      const auto names = [&](const Line& line) { return line.id == static_cast<std::int32_t>(ids[i]); };
      EXPECT_EQ(asked[i], std::any_of(lines.begin(), lines.end(), names) ? 1 : 0);
    }
  }
}

}  // namespace

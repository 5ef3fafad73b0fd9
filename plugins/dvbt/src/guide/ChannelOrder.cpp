#include "guide/ChannelOrder.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <string_view>
#include <unordered_map>

#include "support/Text.h"

namespace channel_order {
namespace {

/// The types 1 and 2 stand before all others.
int typeRank(int type) {
  return type == 1 || type == 2 ? type : 3;
}

std::uint64_t identity(std::uint32_t id, std::int32_t network) {
  return (std::uint64_t{id} << 32U) | static_cast<std::uint32_t>(network);
}

}  // namespace

std::vector<Line> parseLines(const std::string& text) {
  std::vector<std::string> lines;
  tokenize(text, &lines, "\n");
  std::vector<Line> parsed;
  std::vector<std::string> fields;
  for (const std::string& line : lines) {
    fields.clear();
    tokenize(line, &fields, ".");
    if (fields.size() == 2) parsed.push_back({decimalValue(fields[0]), decimalValue(fields[1])});
  }
  return parsed;
}

bool goesBefore(const Key& a, const Key& b) {
  const int rank = typeRank(a.type);
  if (rank != typeRank(b.type)) return rank < typeRank(b.type);
  if (rank == 3) return static_cast<unsigned>(a.number) < static_cast<unsigned>(b.number);
  if (a.number != b.number) return a.number < b.number;
  return a.name < b.name;
}

Positions byNumber(const std::vector<Key>& keys) {
  Positions positions(keys.size());
  std::iota(positions.begin(), positions.end(), 0);
  std::stable_sort(positions.begin(), positions.end(),
                   [&](std::size_t a, std::size_t b) { return goesBefore(keys[a], keys[b]); });
  return positions;
}

Positions byUser(const std::vector<Line>& lines, const std::vector<std::uint32_t>& ids,
                 const std::function<int(std::size_t)>& network) {
  // A service waits under its identifier until a line has it; then its network is read and it waits under both.
  std::unordered_map<std::uint32_t, Positions> withId;
  std::unordered_map<std::uint64_t, Positions> withIdentity;
  if (!lines.empty()) {
    for (std::size_t i = 0; i < ids.size(); ++i) withId[ids[i]].push_back(i);
  }

  Positions result;
  result.reserve(ids.size());
  std::vector<bool> taken(ids.size());
  for (const Line& line : lines) {
    const auto id = static_cast<std::uint32_t>(line.id);  // larger ones are written as negative numbers
    if (const auto named = withId.extract(id)) {
      for (const std::size_t i : named.mapped()) withIdentity[identity(id, network(i))].push_back(i);
    }
    if (const auto matching = withIdentity.extract(identity(id, line.network))) {
      for (const std::size_t i : matching.mapped()) {
        result.push_back(i);
        taken[i] = true;
      }
    }
  }
  for (std::size_t i = 0; i < ids.size(); ++i) {
    if (!taken[i]) result.push_back(i);
  }
  return result;
}

Positions bestOfEachName(const std::vector<Key>& keys, const std::function<int(std::size_t)>& quality) {
  struct Group {
    std::size_t place;                       // in the result
    std::optional<std::uint32_t> quality{};  // of the best; not asked while it is alone
  };
  struct Hash {
    std::size_t operator()(const Key* key) const {
      return std::hash<std::string>()(key->name) ^ static_cast<std::size_t>(key->type);
    }
  };
  struct Same {
    bool operator()(const Key* a, const Key* b) const { return a->type == b->type && a->name == b->name; }
  };
  const auto qualityOf = [&](std::size_t i) { return static_cast<std::uint32_t>(quality(i)); };

  Positions result;
  std::unordered_map<const Key*, Group, Hash, Same> groups;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const auto [entry, isFirst] = groups.try_emplace(&keys[i], Group{result.size()});
    if (isFirst) {
      result.push_back(i);
      continue;
    }
    Group& group = entry->second;
    std::size_t& best = result[group.place];
    if (!group.quality) group.quality = qualityOf(best);
    const std::uint32_t rival = qualityOf(i);
    if (*group.quality >= rival) continue;
    best = i;
    group.quality = rival;
  }
  return result;
}

}  // namespace channel_order

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// The rules of the channel list, on values that were read once for each reload: nothing is asked while a list is being
/// sorted. Every result is a list of positions in the list that was given.
namespace channel_order {

/// What decides the place of a service.
struct Key {
  int type;  // 1, 2, or anything else, which goes last
  int number;
  std::string name;
};

/// A line of the user's order.
struct Line {
  std::int32_t id;
  std::int32_t network;
};

using Positions = std::vector<std::size_t>;

/// The lines "id.network" of the user's order. One with another number of fields than two is left out; a field that is
/// no number counts as 0.
std::vector<Line> parseLines(const std::string& text);

/// True when a goes before b: types 1, 2, others; then by number (of others unsigned); then by name (not of others).
bool goesBefore(const Key& a, const Key& b);

/// Stable.
Positions byNumber(const std::vector<Key>& keys);

/// First what the lines name, in their order; then the rest as it was. `network` is asked once for a service whose
/// identifier the lines name, and for no other.
Positions byUser(const std::vector<Line>& lines, const std::vector<std::uint32_t>& ids,
                 const std::function<int(std::size_t)>& network);

/// One for each name and type: the first of the highest quality (unsigned), in the place of its first. `quality` is
/// asked once for a service that has a double, and for no other.
Positions bestOfEachName(const std::vector<Key>& keys, const std::function<int(std::size_t)>& quality);

}  // namespace channel_order

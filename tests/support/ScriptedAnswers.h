#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/ScriptedMiddleware.h"

/// What the scripted calls have in common: how their arguments are written, how things are handed out.
namespace scripted {

inline ScriptedMiddleware& middleware() {
  return *ScriptedMiddleware::current();
}

/// Holds the script for the scope; no hook of a test is called meanwhile.
inline std::scoped_lock<std::recursive_mutex> world() {
  return std::scoped_lock(middleware().world);
}

// Without a script (before and after a test) the middleware is there and has nothing.
inline durix_return_code note(const char* name, const std::string& arguments = {}) {
  return ScriptedMiddleware::current() == nullptr ? 1 : middleware().call(name, arguments);
}

inline std::string text(const char* value) {
  return value == nullptr ? "null" : value;
}
inline std::string number(std::int64_t value) {
  return std::to_string(value);
}
inline std::string name(const durix_provider* provider) {
  return provider == nullptr ? "null" : "provider " + number(provider->identity);
}
inline std::string name(const durix_esg_object* object) {
  return object == nullptr ? "null" : number(object->id);
}
inline std::string name(const durix_player* player) {
  return player == nullptr ? "null" : "player " + std::to_string(ScriptedMiddleware::numberOf(player));
}

/// What is scripted there, or nothing; makes no entry.
template <typename Map>
typename Map::mapped_type valueOf(const Map& map, const typename Map::key_type& key) {
  const auto found = map.find(key);
  return found == map.end() ? typename Map::mapped_type{} : found->second;
}

inline bool handsOutNothing(const char* call) {
  return middleware().emptyHanded.count(call) != 0;
}

/// A copy that the plugin releases: with ostiv_mem_free, or with the system's free when `calloc` is the system's.
template <typename Item>
void giveArray(const char* call, const std::vector<Item>& items, Item** out, std::uint32_t* count,
               void* (*calloc)(std::size_t, std::size_t) = ostiv_mem_calloc) {
  if (handsOutNothing(call)) {
    *count = 3;
    return;
  }
  *out = static_cast<Item*>(calloc(items.size() + 1, sizeof(Item)));
  std::copy(items.begin(), items.end(), *out);
  *count = static_cast<std::uint32_t>(items.size());
}

inline char* copyOf(const std::string& value) {
  auto* const copy = static_cast<char*>(ostiv_mem_calloc(value.size() + 1, 1));
  value.copy(copy, value.size());
  return copy;
}

}  // namespace scripted

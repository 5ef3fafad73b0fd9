#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "durix/durix.h"

/// What the middleware answers about services and the order file, and what it has been asked. One lives at a time.
class ScriptedMiddleware {
 public:
  ScriptedMiddleware();
  ~ScriptedMiddleware();  // checks that all memory came back

  using Value = std::variant<std::string, int, bool, std::vector<int>>;
  /// A service with the usual attributes.
  void addService(std::uint32_t id, const std::string& name, std::vector<int> types, int number);
  Value& attribute(std::uint32_t id, durix_attribute attribute) { return _attributes[{id, attribute}]; }
  void forget(std::uint32_t id, durix_attribute attribute) { _attributes.erase({id, attribute}); }

  std::vector<durix_esg_object> services;
  std::string orderFile;             // there is none while it is empty
  std::uint32_t lostBytes = 0;       // that it was larger when it was opened
  std::function<void()> onServices;  // run inside the calls
  std::function<void()> onText;

  /// The calls since the last time, such as "25 of 7" (an attribute) or "services".
  std::vector<std::string> calls();
  void note(const std::string& call);
  const Value* find(const durix_esg_object* object, durix_attribute attribute) const;

 private:
  std::map<std::pair<std::uint32_t, durix_attribute>, Value> _attributes;
  std::mutex _mutex;
  std::vector<std::string> _calls;  // guarded by _mutex
};

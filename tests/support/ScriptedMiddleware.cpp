#include "tests/support/ScriptedMiddleware.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>

#include "host/HostClock.h"
#include "host/HostLog.h"

namespace {

ScriptedMiddleware* standing = nullptr;

std::array<char, 1 << 16> playerAddresses;  // nothing is there; a player is known by its place

}  // namespace

std::uint32_t Event::id() const {
  std::uint32_t id = 0;
  std::memcpy(&id, _bytes.data(), sizeof id);
  return id;
}

ScriptedMiddleware::ScriptedMiddleware() {
  standing = this;
  ::setenv("TZ", "UTC", 1);  // local times are the same everywhere
  ::tzset();
  host::setClock([this] { return time.load(); });
  host::setLogSink([this](const host::LogLine& line) {
    note(line.level + " " + line.message);
    const std::lock_guard<std::mutex> lock(_mutex);
    _origins[line.message] = line.category + " " + line.file;
  });
}

ScriptedMiddleware::~ScriptedMiddleware() {
  host::setLogSink(nullptr);
  host::setClock(nullptr);
  standing = nullptr;
}

ScriptedMiddleware* ScriptedMiddleware::current() {
  return standing;
}

void ScriptedMiddleware::addProvider(std::uint32_t identity, std::uint32_t protocol, std::uint32_t type) {
  providers.push_back({protocol, type, identity, "Network", {0, 0}});
}

void ScriptedMiddleware::addService(std::uint32_t id, const std::string& name, int type, int number) {
  services.push_back({1, id, 0});
  texts[{id, DURIX_ATTRIBUTE_NAME}] = name;
  numbers[{id, DURIX_ATTRIBUTE_STREAM_TYPES}] = type;
  numbers[{id, DURIX_ATTRIBUTE_CHANNEL_NUMBER}] = number;
}

void ScriptedMiddleware::addProgram(std::uint32_t service, std::uint32_t id, const std::string& title, int start,
                                    int end) {
  events[service].push_back({2, id, 0});
  texts[{id, DURIX_ATTRIBUTE_NAME}] = title;
  texts[{id, DURIX_ATTRIBUTE_START_TIME_STR}] = std::to_string(start);
  texts[{id, DURIX_ATTRIBUTE_END_TIME_STR}] = std::to_string(end);
  numbers[{id, DURIX_ATTRIBUTE_START_TIME}] = start;
  numbers[{id, DURIX_ATTRIBUTE_END_TIME}] = end;
}

void ScriptedMiddleware::deliver(Event event) {
  std::vector<Registration> told;
  {
    const std::scoped_lock lock(world);
    told = registrations;
  }
  for (const Registration& registration : told) {
    if (registration.event != event.id()) continue;
    decltype(_inside)::iterator entry;
    {
      const std::scoped_lock lock(_delivery);
      entry = _inside.emplace(registration.handler, std::this_thread::get_id());
    }
    registration.handler(event.data(), registration.user);
    const std::scoped_lock lock(_delivery);
    _inside.erase(entry);
    _left.notify_all();
  }
}

void ScriptedMiddleware::waitUntilLeft(durix_event_handler handler) {
  std::unique_lock lock(_delivery);
  _left.wait(lock, [&] {
    const auto [first, last] = _inside.equal_range(handler);
    return std::all_of(first, last, [](const auto& entry) { return entry.second == std::this_thread::get_id(); });
  });
}

void ScriptedMiddleware::receiverOn(std::uint32_t protocol, std::uint32_t type) {
  deliver(Event(DURIX_EVENT_RECEIVER_ON)
              .put(DURIX_OFFSET_RECEIVER_ON_PROTOCOL, protocol)
              .put(DURIX_OFFSET_RECEIVER_ON_TYPE, type));
}

void ScriptedMiddleware::scanFinished(const Lines& names) {
  Event event(DURIX_EVENT_DISCOVER_FINISHED);
  event.put(DURIX_OFFSET_DISCOVER_SERVICE_COUNT, static_cast<std::uint32_t>(names.size()));
  std::size_t offset = DURIX_OFFSET_DISCOVER_SERVICE_NAMES;
  for (const std::string& name : names) {
    event.text(offset, name);
    offset += DURIX_DISCOVER_NAME_SIZE;
  }
  deliver(event);
}

void ScriptedMiddleware::setTime(std::int64_t seconds) {
  time = seconds;
  host::clockChanged();
  host::settle();
}

Lines ScriptedMiddleware::take() {
  return takeWhere([](const Line& line) { return line.isOwn; });
}

Lines ScriptedMiddleware::takeOfOtherThreads() {
  return takeWhere([](const Line& line) { return !line.isOwn; });
}

Lines ScriptedMiddleware::takeIf(const std::function<bool(const std::string&)>& wanted) {
  return takeWhere([&](const Line& line) { return wanted(line.text); });
}

Lines ScriptedMiddleware::takeWhere(const std::function<bool(const Line&)>& wanted) {
  const std::lock_guard<std::mutex> lock(_mutex);
  Lines taken;
  std::erase_if(_lines, [&](Line& line) {
    const bool isWanted = wanted(line);
    if (isWanted) taken.push_back(std::move(line.text));
    return isWanted;
  });
  return taken;
}

std::string ScriptedMiddleware::originOf(const std::string& message) {
  const std::lock_guard<std::mutex> lock(_mutex);
  return _origins[message];
}

int ScriptedMiddleware::calls(const std::string& name) {
  const std::lock_guard<std::mutex> lock(_mutex);
  return _counts[name];
}

void ScriptedMiddleware::note(const std::string& line) {
  const std::lock_guard<std::mutex> lock(_mutex);
  _lines.push_back({line, std::this_thread::get_id() == _ownThread});
}

void ScriptedMiddleware::count(const std::string& name) {
  const std::lock_guard<std::mutex> lock(_mutex);
  ++_counts[name];
}

durix_return_code ScriptedMiddleware::call(const std::string& name, const std::string& arguments) {
  const std::string line = name + "(" + arguments + ")";
  note(line);
  count(name);
  const auto lookUp = [&](auto& script) {
    const auto found = script.find(line);
    return found == script.end() ? script.find(name) : found;
  };
  if (const auto found = lookUp(during); found != during.end()) {
    const std::function<void()> work = found->second;  // may take itself away
    work();
  }
  if (++_calls == failNth) return 1;
  const auto failure = lookUp(failing);
  return failure == failing.end() ? 0 : failure->second;
}

durix_player* ScriptedMiddleware::newPlayer() {
  return playerOf(++_players);
}

durix_player* ScriptedMiddleware::playerOf(std::uintptr_t number) {
  return reinterpret_cast<durix_player*>(playerAddresses.data() + number);
}

std::uintptr_t ScriptedMiddleware::numberOf(const durix_player* player) {
  return static_cast<std::uintptr_t>(reinterpret_cast<const char*>(player) - playerAddresses.data());
}

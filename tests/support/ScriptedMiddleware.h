#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "durix/durix.h"
#include "durix/durix_player.h"
#include "durix/durix_recorder.h"

using Lines = std::vector<std::string>;

/// An event record as the middleware writes it: fields at their offsets.
class Event {
 public:
  explicit Event(std::uint32_t id) : _bytes(2048) { put(0, id); }

  template <typename Value>
  Event& put(std::size_t offset, const Value& value) {
    std::memcpy(_bytes.data() + offset, &value, sizeof value);
    return *this;
  }
  Event& text(std::size_t offset, const std::string& value) {
    std::memcpy(_bytes.data() + offset, value.data(), value.size());
    return *this;
  }
  durix_event_data* data() { return reinterpret_cast<durix_event_data*>(_bytes.data()); }
  std::uint32_t id() const;

 private:
  std::vector<char> _bytes;
};

/// A middleware that answers as scripted and fails as told, with the host's clock and log. Every call becomes a line
/// "call(arguments)", every log line "LEVEL text", in order; what other threads than the test's own do is kept apart.
/// One lives at a time; the calls of the contract, which the test program defines, are answered by it.
class ScriptedMiddleware {
 public:
  using Objects = std::vector<durix_esg_object>;
  using Attribute = std::pair<std::uint32_t, durix_attribute>;  // of the object with that identifier
  struct Registration {
    std::uint32_t event;
    durix_event_handler handler;
    void* user;
  };

  ScriptedMiddleware();
  ScriptedMiddleware(const ScriptedMiddleware&) = delete;
  ScriptedMiddleware& operator=(const ScriptedMiddleware&) = delete;
  virtual ~ScriptedMiddleware();

  static ScriptedMiddleware* current();

  void addProvider(std::uint32_t identity, std::uint32_t protocol = 1, std::uint32_t type = 1);
  void addService(std::uint32_t id, const std::string& name, int type, int number);
  /// Times are seconds since the epoch.
  void addProgram(std::uint32_t service, std::uint32_t id, const std::string& title, int start, int end);

  /// Hands an event to every handler that is registered for it, on this thread.
  void deliver(Event event);
  void receiverOn(std::uint32_t protocol = 1, std::uint32_t type = 1);
  void scanFinished(const Lines& names);
  /// Sets the clock and returns when every timeout that is due has been served.
  void setTime(std::int64_t seconds);

  /// The lines since the last time: of the test's own thread, of the others, of all those that `wanted` holds for.
  Lines take();
  Lines takeOfOtherThreads();
  Lines takeIf(const std::function<bool(const std::string&)>& wanted);
  void drop() { take(); }
  /// The category and the source path of the last log line with this message.
  std::string originOf(const std::string& message);
  int calls() const { return _calls; }
  int calls(const std::string& name);  // of that name, by any thread
  int liveAllocations() const { return _liveAllocations; }
  std::atomic<int> openFiles = 0;

  // ---- what it answers; a test that changes it while other threads ask holds `world` ----
  std::recursive_mutex world;
  std::vector<durix_provider> providers;
  Objects services;
  Objects hiddenServices;                   // given while nothing is hidden
  std::map<std::uint32_t, Objects> events;  // by service
  std::map<std::uint32_t, Objects> feeds;   // by service or event
  std::map<Attribute, std::string> texts;
  std::map<Attribute, int> numbers;
  std::map<Attribute, std::vector<int>> arrays;  // else the number alone
  std::vector<durix_device> devices = std::vector<durix_device>(1);
  std::map<std::uint32_t, std::string> properties;
  std::map<std::string, std::string> files;
  std::string library = "/lib";
  std::vector<ostiv_directory_entry> listing;  // of its locations
  std::vector<Registration> registrations;
  std::vector<std::uint8_t> request;   // the data of the last device request
  std::list<durix_esg_object> timers;  // every one that was ever made
  Objects listedTimers;
  Objects recordings;
  std::uint32_t nextTimer = 900;
  std::atomic<std::int64_t> time = 1000000;
  std::size_t readSoFar = 0;    // of the file that was opened last
  std::uint32_t lostBytes = 0;  // of a file between its opening and its reading

  std::map<durix_player*, durix_render_data> renders;  // as given last
  std::uint32_t position = 0;                          // of every player, seconds
  std::uint32_t duration = 0;

  // ---- what it does besides; set while no other thread asks ----
  std::map<std::string, durix_return_code> failing;  // by the call's name, or by its whole line
  bool hasMemory = true;
  bool failuresWrite = false;                           // reads of attributes that fail write all the same
  int failNth = 0;                                      // the n-th call of all fails, counted from 1
  std::set<std::string> emptyHanded;                    // calls that succeed and hand out null, counted as 3
  std::map<std::string, std::function<void()>> during;  // done inside the call of this name, or this whole line
  std::function<void(Event)> post;                      // gets the events that follow from calls

  // ---- used by the scripted calls ----
  /// Notes a call; its return code.
  durix_return_code call(const std::string& name, const std::string& arguments);
  void note(const std::string& line);
  void count(const std::string& name);
  void allocated() { ++_liveAllocations; }
  void released() { --_liveAllocations; }
  /// Returns when no other thread is inside this handler.
  void waitUntilLeft(durix_event_handler handler);
  durix_player* newPlayer();
  static std::uintptr_t numberOf(const durix_player* player);  // the first one made is 1
  static durix_player* playerOf(std::uintptr_t number);

 private:
  struct Line {
    std::string text;
    bool isOwn;
  };
  Lines takeWhere(const std::function<bool(const Line&)>& wanted);

  const std::thread::id _ownThread = std::this_thread::get_id();
  std::atomic<int> _liveAllocations = 0;
  std::atomic<int> _calls = 0;
  std::atomic<std::uintptr_t> _players = 0;

  std::mutex _mutex;
  // guarded by _mutex
  std::vector<Line> _lines;
  std::map<std::string, int> _counts;           // by the call's name
  std::map<std::string, std::string> _origins;  // by message

  std::mutex _delivery;
  std::condition_variable _left;
  // guarded by _delivery
  std::multimap<durix_event_handler, std::thread::id> _inside;
};

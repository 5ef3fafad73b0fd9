#pragma once

#include <atomic>
#include <cstdint>
#include <cstring>
#include <functional>
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
#include "velmora/BroadcastPlugin.h"

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

/// The platform around a whole plugin: a middleware that answers as scripted and fails as told, the host's notices, the
/// log and the clock. Everything that the test's own thread sees happen becomes a line, in order: "call(arguments)",
/// "LEVEL text" or "> notice"; what other threads do is kept apart. One stage stands at a time.
class Stage : public PluginListener {
 public:
  Stage();
  ~Stage() override;

  static Stage* current();

  /// The plugin, made through the entry point, with this stage as its listener.
  BroadcastPlugin* plugin();
  /// A plugin that has been started, with what that wrote dropped.
  BroadcastPlugin* startedPlugin();
  /// Closes the plugin if there is one.
  void close();

  /// Hands an event to every handler that is registered for it, on this thread.
  void deliver(Event event);
  void receiverOn(std::uint32_t protocol = 1, std::uint32_t type = 1);
  void scanFinished(const Lines& names);

  /// The lines since the last time.
  Lines take();
  Lines takeOfOtherThreads();
  /// The category and the source path of the last log line with this message.
  std::string originOf(const std::string& message);
  void drop() { take(); }

  // ---- what the middleware answers; set while no other thread asks ----
  void addProvider(std::uint32_t identity, std::uint32_t protocol = 1, std::uint32_t type = 1);
  void addService(std::uint32_t id, const std::string& name, int type, int number);
  /// Puts a locations file into the library directory, which from now on is one on disk, and into its listing.
  void addLocations(const std::string& fileName, const std::string& xml);
  std::vector<durix_provider> providers;
  std::vector<durix_esg_object> services;
  std::vector<durix_esg_object> hiddenServices;                   // given while nothing is hidden
  std::map<std::uint32_t, std::vector<durix_esg_object>> events;  // by service
  std::map<std::pair<std::uint32_t, durix_attribute>, std::string> texts;
  std::map<std::pair<std::uint32_t, durix_attribute>, int> numbers;
  std::map<std::pair<std::uint32_t, durix_attribute>, std::vector<int>> arrays;  // else the number alone
  std::map<std::uint32_t, std::vector<durix_esg_object>> feeds;                  // by service or event
  std::map<std::uint32_t, std::string> properties;
  std::map<std::string, std::string> files;
  std::string library = "/lib";
  std::vector<ostiv_directory_entry> listing;           // of its locations
  std::map<std::string, durix_return_code> failing;     // by the call's name, or by its whole line
  int failNth = 0;                                      // the n-th call of all fails, counted from 1
  std::set<std::string> emptyHanded;                    // calls that succeed and hand out null, counted as 3
  std::map<std::string, std::function<void()>> during;  // done inside the call of this name
  std::int64_t time = 1000000;

  // ---- used by the scripted calls ----
  /// Notes a call; its return code.
  durix_return_code call(const std::string& name, const std::string& arguments);
  void note(const std::string& line);
  int liveAllocations() const { return _liveAllocations; }
  void allocated() { ++_liveAllocations; }
  void released() { --_liveAllocations; }
  int calls() const { return _calls; }
  std::atomic<int> openFiles = 0;
  std::size_t readSoFar = 0;  // of the file that was opened last
  struct Registration {
    std::uint32_t event;
    durix_event_handler handler;
    void* user;
  };
  std::vector<Registration> registrations;

  // ---- the host's notices ----
  void notifyDiscover(Plugin* plugin, bool finished, bool success, unsigned progress, unsigned frequency,
                      unsigned serviceCount, Lines serviceNames) override;
  void notifyStatistics(Plugin* plugin, unsigned frequency, unsigned bandwidth, bool locked, unsigned char quality,
                        unsigned char battery) override;
  void notifyPlayer(Plugin* plugin, bool isStarted, bool hasError) override;
  void pluginStateChanged(Plugin* plugin, PluginState before, PluginState now) override;
  void notifyServiceUpdate(Plugin* plugin, std::vector<Service*>* services) override;
  std::function<void()> onNotice;  // done inside each of them

 private:
  void tell(const std::string& notice);

  BroadcastPlugin* _plugin = nullptr;
  const std::thread::id _ownThread = std::this_thread::get_id();
  std::atomic<int> _liveAllocations = 0;
  std::atomic<int> _calls = 0;

  std::mutex _mutex;
  // guarded by _mutex
  Lines _lines;
  Lines _others;
  std::map<std::string, std::string> _origins;  // by message
};

/// One line below the other, so that a difference is shown as such.
std::string asText(const Lines& lines);

/// The expected transcript of that name, without comments (lines that begin with "#") and empty lines.
std::string expected(const std::string& name);

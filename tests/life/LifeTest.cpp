#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>

#include "host/HostClock.h"
#include "host/HostState.h"
#include "middleware/durix_tools.h"
#include "tests/support/Eventually.h"
#include "tests/support/TinyStream.h"
#include "velmora/BroadcastPlugin.h"
#include "velmora/Recorder.h"

namespace durix::test {
namespace {

using Names = std::vector<std::string>;

/// The plugin's library, which brings the middleware's. Where its compiler makes unique symbols it stays mapped after
/// the last one is gone.
class Library {
 public:
  Library() : _handle(dlopen(PLUGIN, RTLD_NOW | RTLD_GLOBAL)) {
    if (_handle == nullptr) throw std::runtime_error(dlerror());
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() { EXPECT_EQ(dlclose(_handle), 0); }

  template <typename Function>
  Function* find(const char* name) const {
    void* const address = dlsym(_handle, name);
    if (address == nullptr) throw std::runtime_error(dlerror());
    return reinterpret_cast<Function*>(address);
  }

 private:
  void* const _handle;
};

/// Waits for what the plugin tells.
class Watch : public PluginListener {
 public:
  void notifyDiscover(Plugin*, bool finished, bool success, unsigned, unsigned, unsigned, Names found) override {
    const std::scoped_lock lock(_mutex);
    if (finished && success) _found = std::move(found);
    _scanned = _scanned || finished;
    _changed.notify_all();
  }
  void pluginStateChanged(Plugin*, PluginState, PluginState now) override {
    const std::scoped_lock lock(_mutex);
    _state = now;
    _changed.notify_all();
  }

  bool waitFor(PluginState state) {
    std::unique_lock lock(_mutex);
    return _changed.wait_for(lock, LONGEST_WAIT, [&] { return _state == state; });
  }
  Names waitForScan() {
    std::unique_lock lock(_mutex);
    _changed.wait_for(lock, LONGEST_WAIT, [&] { return _scanned; });
    return _found;
  }

 private:
  std::mutex _mutex;
  std::condition_variable _changed;
  // guarded by _mutex
  PluginState _state = PLUGIN_INACTIVE;
  bool _scanned = false;
  Names _found;
};

Names namesOf(const std::vector<Service*>& services) {
  Names names;
  for (Service* const service : services) names.push_back(service->getName());
  return names;
}

/// A television's directories: what is on air, and what the libraries keep from one life to the next.
struct Home {
  Home() {
    const TinyMultiplex multiplex{.services = {{.id = 1, .name = "One"}, {.id = 2, .name = "Two", .type = 0x02}},
                                  .time = 1'000'000'000};
    write(air / "474000000.ts", multiplex.bytes());
    ::setenv("DURIX_RECEIVERS", ("dvb-t=file:" + air.path().string() + ",time=stream").c_str(), 1);
  }
  bool logTells(const std::string& text) const { return contentsOf(data / "tv.log").find(text) != std::string::npos; }

  TemporaryDirectory air, data;
};

std::ptrdiff_t threads() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

/// Whoever plays or records does it, or says why not.
void watch(BroadcastPlugin& plugin, Service& service, const Home& home) {
  Player* const player = plugin.createPlayer(&service, nullptr, nullptr);
  const bool playing = player->start(true);
  EXPECT_NE(playing, home.logTells("a player is started, but nothing can be played yet"));
  EXPECT_EQ(service.isPlaying(), playing);
  EXPECT_TRUE(player->stop());
  EXPECT_FALSE(service.isPlaying());
  Player* const second = plugin.createSecondaryPlayer(&service, nullptr, nullptr);
  EXPECT_TRUE(plugin.destroySecondaryPlayer(second));
  delete player;
}

void askForATimer(BroadcastPlugin& plugin, Service& service, const Home& home) {
  Recorder& recorder = *plugin.getRecorder();
  EXPECT_TRUE(recorder.isAvailable());
  const int soon = static_cast<int>(host::now()) + 3600;
  Scheduling* const made = recorder.record("Later", &service, soon, soon + 60);
  EXPECT_NE(made != nullptr, home.logTells("a timer is to be added, but nothing can be recorded yet"));
  EXPECT_NE(made != nullptr, !recorder.getLastError().empty());
  EXPECT_EQ(recorder.getScheduled().size(), made != nullptr ? 1U : 0U);
  EXPECT_TRUE(made == nullptr || recorder.cancelScheduling(made));
}

void scan(BroadcastPlugin& plugin, Watch& watch) {
  ASSERT_TRUE(watch.waitFor(PLUGIN_DISCOVER_PENDING));
  durix_scan_frequency frequency{474'000'000, 8'000'000, -1, -1, -1, -1, -1};
  const durix_scan_configuration configuration{1, &frequency};
  ASSERT_TRUE(plugin.discover(&configuration, BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T, true));
  EXPECT_EQ(watch.waitForScan(), (Names{"One", "Two"}));
}

/// From `vm_init` to `close`; only the first life scans, the others find what is stored.
void live(const Library& library, const Home& home, bool isFirst) {
  auto* const entry = library.find<BroadcastPlugin*()>("vm_init");
  BroadcastPlugin* const plugin = entry();
  EXPECT_EQ(entry(), plugin);
  Watch listener;
  plugin->addListener(&listener);
  host::setClock([time = library.find<std::uint32_t(std::int64_t*)>("ostiv_time_get_system_time")] {
    std::int64_t now = 0;
    time(&now);
    return now;
  });
  ASSERT_TRUE(plugin->init(home.data.path().c_str(), TV_SOURCE_DIR "/share"));
  plugin->getRecorder()->init();
  if (isFirst) scan(*plugin, listener);
  ASSERT_TRUE(listener.waitFor(PLUGIN_ACTIVE));
  const std::vector<Service*> services = plugin->getServices();
  ASSERT_EQ(namesOf(services), (Names{"One", "Two"}));
  EXPECT_EQ(services[0]->getStreamType(), AvContent::STREAM_TV);
  EXPECT_EQ(services[1]->getStreamType(), AvContent::STREAM_RADIO);
  EXPECT_EQ(plugin->getDevices().size(), 1U);
  EXPECT_FALSE(plugin->getCountriesAndFlags().empty());
  plugin->openEsgDataFeeds();
  watch(*plugin, *services[0], home);
  askForATimer(*plugin, *services[0], home);
  plugin->setPlayableStatus({});
  Player* const late = plugin->createPlayer(services[1], nullptr, nullptr);
  plugin->close();
  EXPECT_TRUE(late->stop()) << "a player outlives its plugin";
  delete late;
  host::setClock({});
}

// Twice in one loading, and loaded twice: what one life leaves behind shows in the next.
TEST(Life, EndsWithoutATraceAndBeginsAnew) {
  const Home home;
  ASSERT_TRUE(host::open(home.data.path().string()));
  std::thread([] {}).join();  // with the first thread, ThreadSanitizer starts one that stays
  for (int life = 0; life < 4;) {
    const auto before = threads();
    const Library library;
    for (const int end = life + 2; life < end; ++life) {
      SCOPED_TRACE("life " + std::to_string(life));
      live(library, home, life == 0);
      if (HasFailure()) return;
      EXPECT_EQ(library.find<decltype(durix_tools_memory_live)>("durix_tools_memory_live")(), 0U);
      EXPECT_EQ(library.find<decltype(durix_tools_memory_mixups)>("durix_tools_memory_mixups")(), 0U);
      EXPECT_TRUE(eventually([&] { return threads() == before; })) << "threads that are left";
    }
  }
}

TEST(Library, ExportsItsEntryPointAndItsClassesByName) {
  std::set<std::string> plain, classes;
  FILE* const list = popen(LIST_SYMBOLS " " PLUGIN, "r");
  ASSERT_NE(list, nullptr);
  char line[4096];
  while (std::fgets(line, sizeof line, list) != nullptr) {
    const char* const type = std::find(line, line + 18, ' ') + 1;
    std::string name(type + 2);
    name.erase(name.find_last_not_of('\n') + 1);
    if (*type == 'T' && name.find_first_of(" (:") == std::string::npos) plain.insert(name);
    if (const auto colons = name.find("::"); colons < name.find('(')) classes.insert(name.substr(0, colons));
  }
  EXPECT_EQ(pclose(list), 0);
  EXPECT_EQ(plain, std::set<std::string>{"vm_init"}) << "no other function is unmangled";
  for (const char* own : {"BCLocation", "BroadcastListener", "BroadcastPlayer", "BroadcastPluginImpl",
                          "BroadcastProvider", "BroadcastRecorder", "BroadcastRecorderPlaylist", "BroadcastRecording",
                          "BroadcastScheduling", "BroadcastTeletextPlayer", "ChannelListOption", "LocationsXmlParser",
                          "MwListener", "ProgramChangedNotifier", "ProgramImpl", "ReceiverControl", "ServiceImpl"}) {
    EXPECT_TRUE(classes.contains(own)) << own;
  }
}

}  // namespace
}  // namespace durix::test

#include <gtest/gtest.h>

#include <deque>
#include <thread>

#include "host/HostClock.h"
#include "tests/support/Eventually.h"
#include "tests/support/ScriptedMiddleware.h"
#include "velmora/BroadcastPlugin.h"
#include "velmora/Recorder.h"
#include "velmora/Velmora.h"

extern "C" BroadcastPlugin* vm_init();

namespace {

using durix::test::eventually;

constexpr int ROUNDS = 40;
constexpr std::uint32_t FIRST_SERVICE = 11;
constexpr int SERVICES = 6;
constexpr std::uint32_t FIRST_PROGRAM = 1000;

/// The middleware's one thread for events.
class Dispatcher {
 public:
  explicit Dispatcher(ScriptedMiddleware& middleware) : _middleware(middleware), _thread([this] { run(); }) {}
  Dispatcher(const Dispatcher&) = delete;
  Dispatcher& operator=(const Dispatcher&) = delete;
  ~Dispatcher() {
    {
      const std::scoped_lock lock(_mutex);
      _isEnding = true;
      _changed.notify_all();
    }
    _thread.join();
  }

  void post(Event event) {
    const std::scoped_lock lock(_mutex);
    _queue.push_back(std::move(event));
    _changed.notify_all();
  }
  void drain() {
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [this] { return _queue.empty(); });
  }

 private:
  void run() {
    std::unique_lock lock(_mutex);
    for (;;) {
      _changed.wait(lock, [this] { return _isEnding || !_queue.empty(); });
      if (_queue.empty()) return;
      const Event event = _queue.front();
      lock.unlock();
      _middleware.deliver(event);
      lock.lock();
      _queue.pop_front();  // only now: an empty queue means that all is done
      _changed.notify_all();
    }
  }

  ScriptedMiddleware& _middleware;
  std::mutex _mutex;
  std::condition_variable _changed;
  std::deque<Event> _queue;
  bool _isEnding = false;
  std::thread _thread;  // last: it uses all the others
};

/// Counts what the host is told, and asks back from inside.
class Counter : public PluginListener, public RecorderListener {
 public:
  explicit Counter(BroadcastPlugin& plugin) : _plugin(plugin) {}

  void notifyDiscover(Plugin*, bool, bool, unsigned, unsigned, unsigned, Lines) override { ++progress; }
  void notifyStatistics(Plugin*, unsigned, unsigned, bool, unsigned char, unsigned char) override { ++statistics; }
  void notifyPlayer(Plugin*, bool, bool) override { ++players; }
  void notifyServiceUpdate(Plugin*, std::vector<Service*>* services) override {
    EXPECT_EQ(services->size(), std::size_t{SERVICES});
    ++updates;
    ask();
  }
  void notifyProgramUpdate(Plugin*, Service*, std::vector<Program*>*) override { ask(); }
  void notifyProgramStarted(Plugin*, Service*, Program*) override { ask(); }
  void notifyProgramEnded(Plugin*, Service*, Program*) override { ask(); }
  void notifyRecordingActive(Scheduling*) override { ++active; }
  void notifyRecordingDeactive(Scheduling*) override { ++deactive; }

  std::atomic<int> progress = 0, statistics = 0, players = 0, updates = 0, active = 0, deactive = 0;

 private:
  void ask() {
    EXPECT_EQ(_plugin.getServices().size(), std::size_t{SERVICES});
    _plugin.getPrograms();
  }
  BroadcastPlugin& _plugin;
};

struct Screen : PlayerListener {
  void imageReceived(FFPic*) override {}
  void playerStarted() override { ++started; }
  void playerError() override { ADD_FAILURE() << "no player fails here"; }
  void playerStopped() override { ++stopped; }
  void playerBlocked() override {}
  void playerUnblocked() override {}

  std::atomic<int> started = 0, stopped = 0;
};

class Hammer : public testing::Test {
 protected:
  Hammer() {
    middleware.files["/lib/scan_conf.txt"] = "lang:eng\nlang:deu\n";
    middleware.addProvider(1);
    for (std::uint32_t i = 0; i < SERVICES; ++i) addService(FIRST_SERVICE + i);
    middleware.post = [this](Event event) { dispatcher->post(std::move(event)); };
    plugin->addListener(&counter);
    plugin->init("/data", "/lib");
    recorder = plugin->getRecorder();
    recorder->init();
    recorder->addRecorderListener(&counter);
    middleware.receiverOn();
    services = plugin->getServices();
  }

  void addService(std::uint32_t id) {
    middleware.addService(id, "S" + std::to_string(id), AvContent::STREAM_TV, static_cast<int>(id));
    middleware.numbers[{id, DURIX_ATTRIBUTE_SOURCE_ID}] = static_cast<int>(id % 3);
    const std::uint32_t video = 10 * id;
    middleware.feeds[id] = {{3, video, 0}, {3, video + 1, 0}, {3, video + 2, 0}};
    middleware.numbers[{video, DURIX_ATTRIBUTE_CHANNEL_NUMBER}] = static_cast<int>(id);
    middleware.numbers[{video, DURIX_ATTRIBUTE_FEED_TYPE}] = DURIX_FEED_VIDEO;
    middleware.numbers[{video + 1, DURIX_ATTRIBUTE_FEED_TYPE}] = DURIX_FEED_AUDIO;
    middleware.numbers[{video + 2, DURIX_ATTRIBUTE_FEED_TYPE}] = DURIX_FEED_AUDIO;
    middleware.texts[{video + 1, DURIX_ATTRIBUTE_LANGUAGE}] = "eng";
    middleware.texts[{video + 2, DURIX_ATTRIBUTE_LANGUAGE}] = "deu";
  }

  // ---- what goes on at once ----

  void broadcast() {
    for (int round = 0; round < ROUNDS; ++round) {
      {
        const std::scoped_lock lock(middleware.world);
        for (std::uint32_t i = 0; i < SERVICES; ++i) {
          const std::uint32_t id = FIRST_PROGRAM + SERVICES * static_cast<std::uint32_t>(round) + i;
          const int start = 1'000'000 + 5 * round;
          middleware.addProgram(FIRST_SERVICE + i, id, "P" + std::to_string(id), start, start + 5);
        }
      }
      for (const std::uint32_t id :
           {DURIX_EVENT_PROGRAM_EVENTS_CHANGED, DURIX_EVENT_SERVICES_CHANGED, DURIX_EVENT_RECEIVER_STATISTICS,
            DURIX_EVENT_RECEIVER_LOCK, DURIX_EVENT_DISCOVER_PROGRESS, DURIX_EVENT_PROVIDERS_CHANGED}) {
        dispatcher->post(Event(id));
      }
      const std::uint32_t service = FIRST_SERVICE + static_cast<std::uint32_t>(round) % SERVICES;
      dispatcher->post(Event(DURIX_EVENT_FEEDS_CHANGED)
                           .put(DURIX_OFFSET_FEEDS_CHANGED_STATE, 1)
                           .put(DURIX_OFFSET_FEEDS_CHANGED_SERVICE, service));
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }

  void passTime() {
    for (int second = 0; second < 5 * ROUNDS; ++second) {
      ++middleware.time;
      host::clockChanged();
      std::this_thread::yield();
    }
  }

  void ask() {
    for (int round = 0; round < ROUNDS; ++round) {
      EXPECT_EQ(plugin->getServices().size(), services.size());
      for (Program* const program : plugin->getPrograms()) program->getStartTimeUtc();
      plugin->search(std::vector<std::string>{"p10"});
      plugin->getProgramsWithTitles({"P1000", "P1007"});
      plugin->getConflicting({services[0]});
      plugin->getDevices();
      plugin->getCountriesAndFlags();
      recorder->getSchedulings();
      recorder->getScheduled();
      recorder->getRecorded();
      recorder->getLastError();
      for (Service* const service : services) {
        service->getCurrentProgram();
        service->getPrograms(true);
        service->isPlayable();
      }
    }
  }

  void order() {
    for (int round = 0; round < ROUNDS; ++round) {
      std::vector<Service*> turned(services.rbegin(), services.rend());
      plugin->setServiceOrder(round % 2 == 0 ? turned : services);
      plugin->openEsgDataFeeds();
      if (round % 3 == 0) plugin->closeEsgDataFeeds();
    }
  }

  /// Each line sets one property of the middleware.
  void set() {
    OptionGroup* const group = plugin->getOptions()->front();
    for (int round = 0; round < ROUNDS; ++round) {
      const char* const language = round % 2 == 0 ? "deu" : "eng";
      group->getOption("settings.option.id.audio.language")->setValue(language);
      group->getOption("settings.option.id.esg.language")->setValue(language);
      group->getOption("settings.option.id.hide.radio")->setValue(round % 2 == 0);
      plugin->setRecordingsPath("/recordings");
      Velmora::getInstance()->setProperty("plugin.broadcast.esg_update", round % 2 == 0 ? "false" : "true");
    }
  }
  static constexpr int SETTINGS = 5;

  void use(Player* player, Screen& screen) {
    EXPECT_TRUE(player->start(true));
    EXPECT_TRUE(eventually([&] { return screen.started == 1; }));
    player->setVolume(30);
    player->changeAudioLanguage("deu");
    player->getCurrentPos();
    EXPECT_TRUE(player->stop());
    EXPECT_TRUE(eventually([&] { return screen.stopped == 1; }));
  }

  void watch(Service* service, int times = ROUNDS) {
    for (int round = 0; round < times; ++round) {
      Screen screen;
      Player* const player = plugin->createPlayer(service, nullptr, &screen);
      use(player, screen);
      delete player;
    }
  }

  void watchBesides(Service* service) {
    for (int round = 0; round < ROUNDS; ++round) {
      Screen screen;
      Player* const player = plugin->createSecondaryPlayer(service, nullptr, &screen);
      use(player, screen);
      EXPECT_TRUE(plugin->destroySecondaryPlayer(player));
      delete plugin->createTeletextPlayer(service, nullptr, nullptr);
    }
  }

  /// One timer that records, one that is taken back.
  void record(Service* service) {
    for (int round = 0; round < ROUNDS; ++round) {
      const int soon = static_cast<int>(host::now()) + 1000;
      const Scheduling* const records = recorder->record("Now", service, soon, soon + 60);
      Scheduling* const cancelled = recorder->record("Later", service, soon + 60, soon + 120);
      ASSERT_TRUE(records != nullptr && cancelled != nullptr);
      dispatcher->post(Event(DURIX_EVENT_TIMER_ACTIVE).put(DURIX_OFFSET_TIMER_ID, records->getId()));
      EXPECT_TRUE(eventually([&] { return counter.active == round + 1; }));
      dispatcher->post(Event(DURIX_EVENT_TIMER_DEACTIVE).put(DURIX_OFFSET_TIMER_ID, records->getId()));
      EXPECT_TRUE(recorder->cancelScheduling(cancelled));
      EXPECT_TRUE(eventually([&] { return counter.deactive == 2 * (round + 1); })) << "told of both";
    }
  }

  ScriptedMiddleware middleware;
  std::unique_ptr<Dispatcher> dispatcher = std::make_unique<Dispatcher>(middleware);
  BroadcastPlugin* const plugin = vm_init();
  Counter counter{*plugin};
  Recorder* recorder = nullptr;
  std::vector<Service*> services;
};

TEST_F(Hammer, LosesNothingAndLeavesNothing) {
  const int updatesBefore = counter.updates;
  const int settingsBefore = middleware.calls("durix_property_set");
  {
    std::vector<std::jthread> threads;
    threads.emplace_back([this] { broadcast(); });
    threads.emplace_back([this] { passTime(); });
    threads.emplace_back([this] { ask(); });
    threads.emplace_back([this] { ask(); });
    threads.emplace_back([this] { order(); });
    threads.emplace_back([this] { set(); });
    threads.emplace_back([this] { watch(services[0]); });
    threads.emplace_back([this] { watch(services[1]); });
    threads.emplace_back([this] { watchBesides(services[2]); });
    threads.emplace_back([this] { record(services[3]); });
  }
  watch(services[0], 1);  // what second players have registered goes with a main one
  dispatcher->drain();
  // A pass that was running when the last event came may have been past some of the services.
  middleware.deliver(Event(DURIX_EVENT_PROGRAM_EVENTS_CHANGED));
  EXPECT_TRUE(eventually([&] { return plugin->getPrograms().size() == std::size_t{SERVICES} * ROUNDS; }));
  host::settle();
  std::map<std::string, int> times;
  for (const Lines& lines : {middleware.take(), middleware.takeOfOtherThreads()}) {
    for (const std::string& line : lines) ++times[line];
  }
  for (int i = 0; i < SERVICES * ROUNDS; ++i) {
    const std::string id = std::to_string(FIRST_PROGRAM + static_cast<std::uint32_t>(i));
    EXPECT_EQ(times["durix_attribute_get_str(" + id + ".22)"], 1) << "a programme is made and read once";
  }

  EXPECT_EQ(counter.statistics, ROUNDS);
  EXPECT_EQ(counter.progress, ROUNDS);
  EXPECT_EQ(counter.players, 2 * (3 * ROUNDS + 1)) << "started and stopped";
  // What else changes which services can be played: a second player's coming and going, a timer's start, end and
  // removal.
  EXPECT_EQ(counter.updates - updatesBefore, ROUNDS + 2 * (2 + 3) * ROUNDS);
  EXPECT_EQ(middleware.calls("durix_property_set") - settingsBefore, SETTINGS * ROUNDS);
  EXPECT_EQ(middleware.calls("durix_player_create"), 4 * ROUNDS + 1);
  EXPECT_EQ(middleware.calls("durix_player_destroy"), 4 * ROUNDS + 1);
  EXPECT_EQ(middleware.calls("durix_player_start"), 3 * ROUNDS + 1);
  EXPECT_EQ(middleware.calls("durix_player_stop"), 3 * ROUNDS + 1);
  EXPECT_EQ(middleware.calls("durix_recorder_add_timer"), 2 * ROUNDS);
  EXPECT_EQ(middleware.calls("durix_recorder_remove_timer"), ROUNDS);
  EXPECT_TRUE(recorder->getScheduled().empty());
  EXPECT_EQ(recorder->getRecorded().size(), 1U);

  {
    const int told = counter.statistics;
    std::jthread late([this] {
      for (int i = 0; i < ROUNDS; ++i) dispatcher->post(Event(DURIX_EVENT_RECEIVER_STATISTICS));
    });
    plugin->close();
    late.join();
    dispatcher.reset();
    EXPECT_LE(counter.statistics, told + ROUNDS);
  }
  EXPECT_EQ(middleware.calls("durix_feed_open"), middleware.calls("durix_feeds_close"));
  EXPECT_TRUE(middleware.registrations.empty());
  EXPECT_EQ(middleware.openFiles, 0);
  EXPECT_EQ(middleware.liveAllocations(), 0);
}

}  // namespace

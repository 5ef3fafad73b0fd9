#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "tests/host/Support.h"
#include "tests/host/TestPlugin.h"
#include "velmora/Recorder.h"
#include "velmora/Velmora.h"

namespace {

using Call = std::function<void()>;

class TestRecorder : public Recorder {
 public:
  using Recorder::Recorder;
  bool isAvailable() override { return true; }
  void init() override {}
  void deactivate() override {}
  Scheduling* record(Program*) override { return nullptr; }
  Scheduling* record(std::string, Service*, int, int) override { return nullptr; }
  bool modifyScheduling(Scheduling*, int, int, std::string) override { return false; }
  bool cancelScheduling(Scheduling*) override { return false; }
  Scheduling* getSchedulingForProgram(Program*) override { return nullptr; }
  Recording* timeshift(Service*, int) override { return nullptr; }
  void endTimeshift(Recording*) override {}
  std::vector<Playlist*> getPlaylists() override { return {}; }
  bool isRecordingsActive() override { return false; }
  std::vector<Playlist*> getRecordings() override { return {}; }
  std::vector<Playlist*> getSchedulings() override { return {}; }
  std::vector<Recording*> getRecorded() override { return {}; }
  std::vector<Scheduling*> getScheduled() override { return {}; }
  bool deleteRecording(Recording*) override { return false; }
  std::vector<Scheduling*> getConflicting(Program*) override { return {}; }
  std::string getLastError() override { return {}; }
  void refresh() override {}
  bool setRecordingDirectory(std::string) override { return false; }
  std::string getRecordingDirectory() override { return {}; }
  std::vector<Service*> getActiveSchedulingsServices() override { return {}; }
};

/// One kind of source and its listeners, in the words that all kinds share.
class Source {
 public:
  virtual ~Source() = default;
  virtual void add(Call onCall) = 0;    // a further listener
  virtual void remove(size_t nth) = 0;  // takes it out and deletes it
  virtual void tell() = 0;
};

template <class Listener>
class SourceOf : public Source {
 public:
  void add(Call onCall) override {
    listeners.push_back(std::make_unique<Listener>());
    listeners.back()->call = std::move(onCall);
    enter(*listeners.back());
  }
  void remove(size_t nth) override {
    const auto listener = std::move(listeners[nth]);
    leave(*listener);
  }

 protected:
  virtual void enter(Listener& listener) = 0;
  virtual void leave(Listener&) {}  // a listener that dies leaves in any case
  std::vector<std::unique_ptr<Listener>> listeners;
};

// The destructor of each listener leaves first, as a subclass with state of its own has to.
struct OnPlugin : PluginListener {
  void notifyStatistics(Plugin*, unsigned, unsigned, bool, unsigned char, unsigned char) override { call(); }
  Call call;
};
struct OnRecorder : RecorderListener {
  void notifyDeviceFull(Scheduling*) override { call(); }
  Call call;
};
struct OnOption : OptionListener {
  void optionChanged(Option*) override { call(); }
  Call call;
};

class PluginSource : public SourceOf<OnPlugin> {
  void enter(OnPlugin& listener) override { plugin.addListener(&listener); }
  void leave(OnPlugin& listener) override { plugin.removeListener(&listener); }
  void tell() override { plugin.sendNotifyStatistics(&plugin, 0, 0, false, 0, 0); }
  TestPlugin plugin;
};
class RecorderSource : public SourceOf<OnRecorder> {
  void enter(OnRecorder& listener) override { recorder.addRecorderListener(&listener); }
  void leave(OnRecorder& listener) override { recorder.removeRecorderListener(&listener); }
  void tell() override { recorder.sendNotifyDeviceFull(nullptr); }
  TestRecorder recorder{nullptr};
};
class OptionSource : public SourceOf<OnOption> {
  void enter(OnOption& listener) override { option.addOptionListener(&listener); }
  void leave(OnOption& listener) override { option.removeOptionListener(&listener); }
  void tell() override { option.setValue(std::to_string(++value)); }
  Option option;
  std::atomic<int> value = 0;
};

/// Each test runs on every kind of source: they promise the same.
class Listeners : public ::testing::TestWithParam<const char*> {
 protected:
  static std::unique_ptr<Source> make() {
    const std::string kind = GetParam();
    if (kind == "plugin") return std::make_unique<PluginSource>();
    if (kind == "recorder") return std::make_unique<RecorderSource>();
    return std::make_unique<OptionSource>();
  }
};

INSTANTIATE_TEST_SUITE_P(Of, Listeners, ::testing::Values("plugin", "recorder", "option"),
                         [](const auto& kind) { return std::string(kind.param); });

TEST_P(Listeners, AreToldInOrderUntilTheyLeave) {
  const auto source = make();
  std::string told;
  for (const char name : {'a', 'b', 'c'}) source->add([&told, name] { told += name; });
  source->tell();
  source->remove(1);
  source->tell();
  EXPECT_EQ(told, "abcac");
}

TEST_P(Listeners, ThatLeaveDuringADeliveryAreNoLongerToldInIt) {
  const auto source = make();
  std::string told;
  source->add([&] {
    told += 'a';
    if (told == "a") source->remove(1);
  });
  source->add([&] { told += 'b'; });
  source->add([&] { told += 'c'; });
  source->tell();
  EXPECT_EQ(told, "ac");
}

TEST_P(Listeners, MayComeDuringADelivery) {
  const auto source = make();
  int late = 0;
  bool added = false;
  source->add([&] {
    if (!std::exchange(added, true)) source->add([&] { ++late; });
  });
  source->tell();
  EXPECT_EQ(late, 0);
  source->tell();
  EXPECT_EQ(late, 1);
}

TEST_P(Listeners, AreWaitedForWhenAnotherThreadRemovesThem) {
  const auto source = make();
  Flag entered;
  Flag release;
  std::atomic<bool> returned = false;
  source->add([&] {
    entered.raise();
    EXPECT_TRUE(release.wait());
    giveOthersTime();
    returned = true;
  });
  std::thread teller([&] { source->tell(); });
  ASSERT_TRUE(entered.wait());
  Flag removing;
  bool waited = false;
  std::thread remover([&] {
    removing.raise();
    source->remove(0);
    waited = returned;
  });
  ASSERT_TRUE(removing.wait());
  giveOthersTime();
  release.raise();
  remover.join();
  teller.join();
  EXPECT_TRUE(waited);
}

TEST_P(Listeners, ThatBlockHoldUpNoOtherDelivery) {
  const auto source = make();
  Flag entered;
  Flag release;
  std::atomic<int> calls = 0;
  source->add([&] {
    if (++calls > 1) return;
    entered.raise();
    EXPECT_TRUE(release.wait());
  });
  std::thread teller([&] { source->tell(); });
  ASSERT_TRUE(entered.wait());
  source->tell();  // no lock is held meanwhile
  EXPECT_EQ(calls, 2);
  release.raise();
  teller.join();
}

TEST_P(Listeners, ThatThrowKeepTheNewsFromNobody) {
  const LogCapture log;
  const auto source = make();
  int told = 0;
  source->add([] { throw std::runtime_error("not my day"); });
  source->add([&] { ++told; });
  source->tell();
  EXPECT_EQ(told, 1);
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0].level, "ERR");
}

TEST_P(Listeners, SurviveComingAndGoingUnderDelivery) {
  const auto source = make();
  std::atomic<bool> done = false;
  std::atomic<int> calls = 0;
  std::thread teller([&] {
    while (!done) source->tell();
  });
  for (size_t round = 0; round < 100; ++round) {
    source->add([&] { ++calls; });
    source->remove(round);
  }
  done = true;
  teller.join();
  const int before = calls;
  source->tell();
  EXPECT_EQ(calls, before);
}

TEST(PluginListeners, AreTheSameForThoseWhoWalkThemUnderTheLock) {
  auto plugin = std::make_unique<TestPlugin>();
  OnPlugin first;
  auto second = std::make_unique<OnPlugin>();
  plugin->addListener(&first);
  plugin->addListener(&first);  // once
  plugin->addListener(second.get());
  plugin->addListener(nullptr);
  EXPECT_EQ(plugin->walked(), (std::vector<PluginListener*>{&first, second.get()}));
  second.reset();
  EXPECT_EQ(plugin->walked(), std::vector<PluginListener*>{&first});
  plugin.reset();  // the listener that stays outlives its plugin
}

TEST(PluginListeners, HearOfAStateOnlyWhenItIsAnother) {
  struct States : PluginListener {
    void pluginStateChanged(Plugin*, PluginState before, PluginState now) override {
      changes.emplace_back(before, now);
    }
    std::vector<std::pair<PluginState, PluginState>> changes;
  } listener;
  TestPlugin plugin;
  plugin.addListener(&listener);
  EXPECT_EQ(plugin.getState(), PLUGIN_INACTIVE);
  for (const PluginState state : {PLUGIN_INACTIVE, PLUGIN_DISCOVERING, PLUGIN_DISCOVERING, PLUGIN_ACTIVE}) {
    plugin.setState(state);
  }
  const decltype(listener.changes) expected = {{PLUGIN_INACTIVE, PLUGIN_DISCOVERING},
                                               {PLUGIN_DISCOVERING, PLUGIN_ACTIVE}};
  EXPECT_EQ(listener.changes, expected);
}

TEST(PropertyListeners, HearOfChangesBelowTheirPrefixUntilTheyDie) {
  struct Named : PropertyListener {
    void notifyPropertyChanged(std::string name, std::string value) override { heard += name + "=" + value + ";"; }
    std::string heard;
  };
  Velmora& velmora = *Velmora::getInstance();
  auto wide = std::make_unique<Named>();
  Named narrow;
  velmora.addPropertyListener("test.listen", wide.get());
  velmora.addPropertyListener("test.listen.deep", &narrow);
  velmora.setProperty("test.listen.deep.a", "1");
  velmora.setProperty("test.listen.deep.a", "1");  // no change
  velmora.setProperty("test.other", "1");
  velmora.setProperty("test.listen.b", "2");
  EXPECT_EQ(wide->heard, "test.listen.deep.a=1;test.listen.b=2;");
  wide.reset();
  velmora.setProperty("test.listen.deep.a", "3");
  EXPECT_EQ(narrow.heard, "test.listen.deep.a=1;test.listen.deep.a=3;");
}

}  // namespace

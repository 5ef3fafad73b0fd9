#include <gtest/gtest.h>

#include "BroadcastPluginImpl.h"
#include "Stage.h"
#include "tests/support/Eventually.h"
#include "velmora/VmProperties.h"

using durix::test::eventually;

namespace {

constexpr int NOW = 1000000;  // the stage's first second

std::string idsOf(const std::vector<Program*>& programs) {
  std::string ids;
  for (const Program* const program : programs) ids += " " + std::to_string(program->getId());
  return ids;
}

/// A stage that also writes down what the host is told of programmes.
class GuideStage : public Stage {
 public:
  ~GuideStage() override { close(); }

  void notifyProgramUpdate(Plugin* /*plugin*/, Service* service, std::vector<Program*>* programs) override {
    tellOf("programmes", service, *programs);
  }
  void notifyCurrentProgram(Plugin* /*plugin*/, Service* service, Program* program) override {
    tellOf("current", service, {program});
  }
  void notifyProgramEnded(Plugin* /*plugin*/, Service* service, Program* program) override {
    tellOf("ended", service, {program});
  }
  void notifyProgramStarted(Plugin* /*plugin*/, Service* service, Program* program) override {
    tellOf("started", service, {program});
  }

 private:
  void tellOf(const std::string& what, Service* service, const std::vector<Program*>& programs) {
    note("> " + what + " " + std::to_string(service->getId()) + ":" + idsOf(programs));
  }
};

class Guide : public testing::Test {
 protected:
  /// An active plugin that shows the services 11 to 10 + `count` and has found no programmes yet.
  void load(int count) {
    const char* const names[] = {"One", "Two", "Three", "Four"};
    for (int i = 0; i < count; ++i) stage.addService(11U + static_cast<unsigned>(i), names[i], 1, i + 1);
    stage.addProvider(1);
    plugin = static_cast<BroadcastPluginImpl*>(stage.startedPlugin());
    stage.receiverOn();
    dropPass(count);
  }
  /// Waits for a pass of the updater that finds no programmes.
  void dropPass(int services) {
    int asked = 0;
    EXPECT_TRUE(eventually([&] {
      for (const std::string& line : stage.takeOfOtherThreads()) asked += line.ends_with("has no programs") ? 1 : 0;
      return asked == services;
    }));
    stage.drop();
  }
  std::string pass() {
    plugin->updatePrograms();
    return asText(stage.take());
  }
  /// What the timers do at each of these times.
  Lines at(const std::vector<int>& times) {
    Lines all;
    for (const int time : times) {
      stage.setTime(NOW + time);
      all.push_back("@" + std::to_string(time));
      for (const std::string& line : stage.takeOfOtherThreads()) all.push_back(line);
    }
    return all;
  }
  void add(std::uint32_t service, std::uint32_t id, const std::string& title, int start, int end) {
    stage.addProgram(service, id, title, NOW + start, NOW + end);
    stage.texts[{id, DURIX_ATTRIBUTE_PARENTAL_RATING}] = "0";
  }
  void setInterval(const char* interval) {
    VmProperties properties;
    if (interval != nullptr) properties.setProperty("notification_interval", interval);
    plugin->configure(&properties);
  }
  void addFeed(std::uint32_t service, std::uint32_t feed, int number) {
    stage.feeds[service].push_back({3, feed, 0});
    stage.numbers[{feed, DURIX_ATTRIBUTE_CHANNEL_NUMBER}] = number;
  }
  /// One service with two new programmes, one without programmes, two that give none.
  void addNews() {
    add(11, 102, "Film", 200, 400);
    add(11, 101, "News", -100, 200);
    stage.texts[{101, DURIX_ATTRIBUTE_DESCRIPTION}] = "Of the day";
    stage.texts[{101, DURIX_ATTRIBUTE_PARENTAL_RATING}] = "12";
    stage.events[12] = {};
    stage.failing = {{"durix_program_events_get(14)", 9}};
  }

  GuideStage stage;
  BroadcastPluginImpl* plugin = nullptr;
};

TEST_F(Guide, IsCollectedOnceForEachEvent) {
  load(4);
  addNews();
  EXPECT_EQ(pass(), expected("guide_collected"));
  for (const char* const message : {"durix_program_events_get(serviceId = 13), has no programs",
                                    "durix_program_events_get Failed, return_code = 9"}) {
    EXPECT_EQ(stage.originOf(message), "BC_PLUGIN plugins/dvbt/src/BroadcastPluginImpl") << message;
  }
  stage.texts[{101, DURIX_ATTRIBUTE_NAME}] = "Old news";
  EXPECT_EQ(pass(), expected("guide_known"));
  EXPECT_EQ(plugin->getProgram(101)->getTitle(), "News");

  add(13, 103, "", 0, 0);
  for (const char* const call : {"str(103.22)", "str(103.16)", "str(103.4)", "int(103.2)", "str(103.3)", "int(103.1)"})
    stage.failing["durix_attribute_get_" + std::string(call)] = 7;
  stage.texts.erase({103, DURIX_ATTRIBUTE_PARENTAL_RATING});
  EXPECT_EQ(pass(), expected("guide_refused"));
  EXPECT_EQ(stage.originOf("ProgramChangedNotifier did not find current or next Program"),
            "BC_PLUGIN plugins/dvbt/src/ProgramChangedNotifier");
  stage.close();
  EXPECT_EQ(stage.liveAllocations(), 0);
}

TEST_F(Guide, IsCollectedAfterAnEvent) {
  load(4);
  addNews();
  stage.deliver(Event(DURIX_EVENT_PROGRAM_EVENTS_CHANGED));
  EXPECT_TRUE(eventually([&] { return stage.calls("ostiv_log_debug") == 1; }));
  EXPECT_EQ(asText(stage.takeOfOtherThreads()), expected("guide_collected"));
  EXPECT_EQ(stage.take(), Lines{"INFO DURIX_EVENT_PROGRAM_EVENTS_CHANGED"});
}

TEST_F(Guide, IsAnnouncedAfterTheInterval) {
  load(2);
  add(11, 101, "News", 5000, 6000);
  add(11, 102, "Film", 4000, 5000);
  add(12, 201, "Sport", 5000, 6000);
  pass();
  Lines lines = at({0});
  add(11, 103, "Late", 6000, 7000);
  pass();  // its notice is dropped: one is pending
  for (const std::string& line : at({1, 2})) lines.push_back(line);
  setInterval("10");
  add(12, 202, "Later", 7000, 8000);
  pass();
  for (const std::string& line : at({11, 12})) lines.push_back(line);
  setInterval(nullptr);
  add(12, 203, "Latest", 8000, 9000);
  pass();
  for (const std::string& line : at({12})) lines.push_back(line);
  EXPECT_EQ(asText(lines), expected("guide_announced"));

  stage.drop();
  plugin->timerExpired(nullptr, nullptr);
  const Lines nothing{"INFO BroadcastPluginImpl::_updateData(), _updateData.size() = 0 ",
                      "ERR BroadcastPluginImpl::timerExpired entered when _updateData.size()<1 !"};
  EXPECT_EQ(stage.take(), nothing);
  for (const std::string& line : nothing) {
    EXPECT_EQ(stage.originOf(line.substr(line.find(' ') + 1)), "BC_PLUGIN plugins/dvbt/src/BroadcastPluginImpl");
  }
}

TEST_F(Guide, IsAnnouncedForEveryServiceAfterAScan) {
  load(2);
  add(11, 101, "Over", -500, -100);
  add(11, 102, "News", -100, 5000);
  stage.texts[{101, DURIX_ATTRIBUTE_END_TIME_STR}] = "1970-01-12T13:45:00";
  stage.texts[{102, DURIX_ATTRIBUTE_END_TIME_STR}] = "1970-01-12T15:10:00";
  pass();
  at({1});
  stage.events.clear();
  stage.scanFinished({"One", "Two"});
  dropPass(2);
  EXPECT_EQ(at({2}),
            (Lines{"@2", "INFO BroadcastPluginImpl::_updateData(), _updateData.size() = 2 ", "> programmes 11: 102",
                   "INFO BroadcastPluginImpl::_updateData(), _updateData.size() = 1 ", "> programmes 12:"}));
}

TEST_F(Guide, TellsWhenProgrammesEndAndStart) {
  load(2);
  add(11, 101, "News", -100, 100);
  add(11, 102, "Film", 100, 200);
  add(11, 103, "Sport", 260, 300);
  add(12, 201, "Talk", 150, 190);
  EXPECT_NE(pass().find("> current 11: 101\n"), std::string::npos);
  at({1});
  const Lines lines = at({99, 100, 150, 190, 200, 259, 260, 300, 400});
  EXPECT_EQ(asText(lines), expected("guide_programmes_change"));
  for (const std::string& line : lines) {
    if (!line.starts_with("INFO")) continue;
    EXPECT_EQ(stage.originOf(line.substr(5)), "BC_PLUGIN plugins/dvbt/src/ProgramChangedNotifier");
  }

  // The service is parked until it has news, and disarmed when they come while the plugin is not active.
  add(11, 104, "Late", 500, 600);
  EXPECT_EQ(pass().find(">"), std::string::npos) << "nothing is on air";
  at({401});
  EXPECT_EQ(at({500}), (Lines{"@500", "> started 11: 104",
                              "INFO ProgramChangedNotifier Next PROGRAM STARTED One:Late at 1000500Z"}));
  plugin->setState(PLUGIN_DISCOVERING);
  add(11, 105, "Latest", 600, 700);
  pass();
  at({501});
  EXPECT_EQ(at({600, 700}), (Lines{"@600", "@700"}));
}

TEST_F(Guide, RotatesItsFeeds) {
  load(3);
  addFeed(11, 501, 5);
  addFeed(12, 502, 5);
  addFeed(13, 503, 7);
  addFeed(13, 504, 9);
  plugin->openEsgDataFeeds();
  EXPECT_EQ(asText(stage.take()), expected("guide_feeds_opened"));
  Lines lines = at({29, 30, 60, 90});
  stage.failing = {{"durix_feed_open(503)", 1}};
  for (const std::string& line : at({120})) lines.push_back(line);
  stage.failing = {{"durix_esg_object_feeds_get(12)", 1}};
  for (const std::string& line : at({150, 180})) lines.push_back(line);
  EXPECT_EQ(asText(lines), expected("guide_feeds"));

  stage.failing = {};
  plugin->getRecorder()->init();
  Scheduling* const recording = plugin->getRecorder()->record("Film", plugin->getServices()[0], NOW + 5000, NOW + 6000);
  ASSERT_NE(recording, nullptr);
  stage.drop();
  EXPECT_EQ(at({210}).back(), "durix_feed_open(503)");
  recording->setActive(true);
  EXPECT_EQ(at({240}), (Lines{"@240", "durix_feeds_close(503,1)"})) << "the recording needs the receiver";
  plugin->openEsgDataFeeds();
  EXPECT_EQ(stage.take(), Lines{});
  recording->setActive(false);
  EXPECT_EQ(at({270}), Lines{"@270"}) << "it goes on only when it is opened again";
  stage.failing = {{"durix_services_get", 1}};
  plugin->openEsgDataFeeds();
  EXPECT_EQ(stage.take(), (Lines{"INFO getting services for the provider = Network", "durix_services_get(provider 1)",
                                 "INFO durix_services_get NOT Successful"}));
  stage.failing = {};
  plugin->openEsgDataFeeds();
  stage.drop();
  plugin->closeEsgDataFeeds();
  plugin->closeEsgDataFeeds();
  EXPECT_EQ(stage.take(), Lines{"durix_feeds_close(501,1)"});
  EXPECT_EQ(at({300}), Lines{"@300"});
}

TEST_F(Guide, AnswersTheHost) {
  load(2);
  add(11, 102, "Evening NEWS", 200, 400);
  add(11, 101, "Film", -100, 200);
  stage.texts[{101, DURIX_ATTRIBUTE_DESCRIPTION}] = "Nothing new";
  add(12, 201, "Film", -50, 300);
  add(12, 202, "film", 300, 86400);
  pass();
  EXPECT_EQ(idsOf(plugin->getPrograms()), " 101 102 201 202");
  EXPECT_EQ(plugin->findProgram(201), plugin->getPrograms()[2]);
  EXPECT_EQ(plugin->getProgram(203), nullptr);
  EXPECT_EQ(idsOf(plugin->search(Lines{"NeW"})), " 101 102");
  EXPECT_EQ(idsOf(plugin->getProgramsWithTitles({"Evening NEWS", "Film", "Opera"})), " 101 102");
  EXPECT_EQ(idsOf(plugin->getProgramsWithTitles({"Film", "Film", "Film"})), " 101 101 201") << "current and in the day";
  for (const PluginState state : {PLUGIN_ERROR, PLUGIN_INACTIVE, PLUGIN_DISCOVERING, PLUGIN_DISCOVER_PENDING}) {
    plugin->setState(state);
    EXPECT_EQ(idsOf(plugin->search(Lines{""})).empty(), state == PLUGIN_INACTIVE) << state;
    EXPECT_EQ(idsOf(plugin->getProgramsWithTitles({"Film"})), "") << state;
  }
  stage.drop();
  plugin->update();
  plugin->esgUpdateEnable(false);
  plugin->allowUpdates();
  EXPECT_EQ(stage.take(), (Lines{"> state 3", "durix_property_set(16,false)", "durix_allow_updates()"}));
}

TEST_F(Guide, StopsInMidPass) {
  struct Row {
    const char* reason;
    std::function<void()> stop;
  };
  const durix_scan_configuration nothing{0, nullptr};
  const Row rows[] = {{"a scan", [&] { plugin->discover(&nothing, BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T, true); }},
                      {"the end", [&] { stage.close(); }}};
  load(2);
  for (const Row& row : rows) {
    for (int i = 0; i < 2000; ++i) add(11, 20000U + static_cast<unsigned>(i), "P", 2000 + i, 2001 + i);
    // Every read takes a while, so that the pass has far to go when it is stopped.
    stage.during["durix_attribute_get_str"] = [] { std::this_thread::sleep_for(std::chrono::milliseconds(1)); };
    stage.takeOfOtherThreads();
    const int before = stage.calls("durix_attribute_get_str");
    EXPECT_TRUE(eventually([&] {
      stage.deliver(Event(DURIX_EVENT_PROGRAM_EVENTS_CHANGED));
      return stage.calls("durix_attribute_get_str") > before + 20;
    }));
    row.stop();
    const Lines lines = stage.takeOfOtherThreads();
    ASSERT_GT(lines.size(), 2U);
    EXPECT_EQ(lines.back(), "ERR ProgramUpdater disabled when running!") << row.reason;
    EXPECT_TRUE(lines[lines.size() - 2].ends_with(".23)")) << "the event at hand is read to its end";
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "durix_program_events_get(12)"), 0) << row.reason;
    if (row.reason == std::string("the end")) break;
    EXPECT_TRUE(plugin->getPrograms().empty());
    EXPECT_EQ(at({5}), Lines{"@5"}) << "nothing is announced";
    stage.during.clear();
    stage.events.clear();
    stage.scanFinished({"One", "Two"});
    dropPass(2);
  }
  EXPECT_EQ(stage.liveAllocations(), 0);
}

}  // namespace

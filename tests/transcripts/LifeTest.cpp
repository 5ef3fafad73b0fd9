#include <dlfcn.h>
#include <gtest/gtest.h>

#include "Stage.h"
#include "velmora/Recorder.h"
#include "velmora/Velmora.h"

namespace {

TEST(Life, StartsEverythingInOrder) {
  Stage stage;
  stage.plugin();
  EXPECT_EQ(stage.take(), Lines{"INFO ENTER vm_init()"});
  EXPECT_TRUE(stage.plugin()->init("/data", "/lib"));
  EXPECT_EQ(asText(stage.take()), expected("init"));
  EXPECT_EQ(Velmora::getInstance()->getProperty("system.library_directory"), "/lib");
}

TEST(Life, ClosesEverythingInOrder) {
  Stage stage;
  stage.startedPlugin();
  stage.close();
  EXPECT_EQ(asText(stage.take()), expected("close"));
  EXPECT_EQ(stage.liveAllocations(), 0);
}

TEST(Life, TellsWhatFailsWhileClosing) {
  Stage stage;
  stage.failing = {{"durix_player_deinit", 3}, {"durix_deinit", 4}};
  stage.startedPlugin();
  stage.close();
  const Lines lines = stage.take();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "INFO Error while closing player Broadcast Plugin"), 1);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "INFO Error while closing Broadcast Plugin"), 1);
}

TEST(Life, GoesOnWithoutMiddleware) {
  Stage stage;
  stage.failing = {{"durix_init", 1}, {"durix_player_init", 1}, {"durix_recorder_create", 1}};
  EXPECT_FALSE(stage.plugin()->init("/data", "/lib"));
  const Lines lines = stage.take();
  for (const char* line : {"ERR durix_player_init Failed error", "ERR Error creating Recorder", "INFO Init Return"}) {
    EXPECT_EQ(std::count(lines.begin(), lines.end(), line), 1) << line;
  }
  EXPECT_EQ(stage.plugin()->getOptions()->front()->getOptions().size(), 9U);
  stage.close();
  // The handle that the failed call wrote is not used.
  const Lines closing = stage.take();
  EXPECT_EQ(std::count(closing.begin(), closing.end(), "durix_deinit(null)"), 1);
}

TEST(Life, KnowsItself) {
  Stage stage;
  BroadcastPlugin* const plugin = stage.plugin();
  EXPECT_EQ(plugin->getType(), 1);
  EXPECT_EQ(plugin->getId(), "BC_PLUGIN");
  EXPECT_EQ(plugin->getName(), "Broadcast Plugin");
  EXPECT_EQ(plugin->getTitle(), "Some plugin");
  EXPECT_EQ(plugin->getTimeshiftDuration(), 120);
  EXPECT_EQ(plugin->getRecorder(), nullptr);
  EXPECT_EQ(plugin->getState(), PLUGIN_INACTIVE);
  EXPECT_EQ(plugin->getPlayerType(nullptr), 0);
}

TEST(Life, BeginsAnewAfterClose) {
  Stage stage;
  stage.startedPlugin();
  const std::vector<Stage::Registration> late = stage.registrations;
  stage.close();
  stage.drop();
  // An event that comes too late finds the gate shut, and makes no plugin.
  for (const Stage::Registration& registration : late) {
    registration.handler(Event(registration.event).data(), registration.user);
  }
  EXPECT_EQ(stage.take(), Lines{});
  EXPECT_TRUE(stage.plugin()->init("/data", "/lib"));
  EXPECT_EQ(stage.plugin()->getState(), PLUGIN_INACTIVE);
}

TEST(Life, ClosesBeforeItStarted) {
  Stage stage;
  stage.plugin();
  stage.close();
  EXPECT_EQ(stage.liveAllocations(), 0);
}

TEST(Life, StartsOnceOnly) {
  Stage stage;
  stage.startedPlugin();
  EXPECT_TRUE(stage.plugin()->init("/data", "/lib"));
  EXPECT_EQ(stage.take(), Lines{});
}

TEST(Life, ExportsEntryPointAndClassesByName) {
  Stage stage;
  stage.plugin();
  void* const self = dlopen(nullptr, RTLD_NOW);
  for (const char* symbol :
       {"vm_init", "_ZN15ReceiverControl13listReceiversEv", "_ZN19BroadcastPluginImpl11getInstanceEv"}) {
    EXPECT_NE(dlsym(self, symbol), nullptr) << symbol;
  }
  dlclose(self);
}

/// Everything that a plugin does in a life: found, scanned, watched, asked, closed.
void liveThrough(Stage& stage) {
  stage.addProvider(1);
  stage.addService(11, "One", 1, 1);
  stage.addService(12, "Two", 2, 2);
  BroadcastPlugin* const plugin = stage.plugin();
  plugin->init("/data", "/lib");
  if (Recorder* const recorder = plugin->getRecorder()) recorder->init();
  stage.receiverOn();
  plugin->getServices();
  plugin->openEsgDataFeeds();
  plugin->setServiceOrder(plugin->getServices());
  plugin->setPlayableStatus(plugin->getServices());
  plugin->getDevices();
  Player* const player =
      plugin->getServices().empty() ? nullptr : plugin->createPlayer(plugin->getServices().front(), nullptr, nullptr);
  if (player != nullptr) player->start(true);
  plugin->discover("anywhere", BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T, true);
  stage.scanFinished({"One"});
  stage.deliver(Event(DURIX_EVENT_SERVICES_CHANGED));
  stage.deliver(Event(DURIX_EVENT_PROGRAM_EVENTS_CHANGED));
  stage.deliver(Event(DURIX_EVENT_RECEIVER_OFF));
  stage.close();
  delete player;
}

TEST(FailureSweep, SurvivesTheFailureOfEveryCall) {
  int calls = 0;
  {
    Stage stage;
    liveThrough(stage);
    calls = stage.calls();
  }
  ASSERT_GT(calls, 100);
  for (int n = 1; n <= calls; ++n) {
    Stage stage;
    stage.failNth = n;
    liveThrough(stage);
    EXPECT_EQ(stage.liveAllocations(), 0) << "with call " << n << " failing";
  }
}

}  // namespace

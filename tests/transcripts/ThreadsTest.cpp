#include <gtest/gtest.h>

#include <thread>

#include "BroadcastPluginImpl.h"
#include "Stage.h"

namespace {

void deliverEverything(Stage& stage) {
  for (std::uint32_t id = 0; id <= 42; ++id) stage.deliver(Event(id));
}

TEST(Events, OfOtherNumbersOrWithoutARecordDoNothing) {
  Stage stage;
  BroadcastPlugin* const plugin = stage.startedPlugin();
  BroadcastPluginImpl::_mw_event(nullptr, nullptr);
  for (const std::uint32_t id : {0U, 8U, 16U, 17U, 18U, 20U, 21U, 26U, 29U, 30U, 31U, 33U, 37U, 42U, 0xFFFFFFFFU}) {
    BroadcastPluginImpl::_mw_event(Event(id).data(), plugin);
  }
  EXPECT_EQ(stage.take(), Lines{});
}

TEST(Events, BeforeTheStartFindNothingYet) {
  Stage stage;
  stage.plugin();
  stage.drop();
  for (const std::uint32_t id : {1U, 2U, 3U, 6U, 7U, 9U, 32U, 38U, 41U}) {
    BroadcastPluginImpl::_mw_event(Event(id).data(), nullptr);
  }
  EXPECT_EQ(stage.take().front(), "INFO DURIX_EVENT_RECEIVER_ON");
}

TEST(Close, WaitsForAnEventThatIsBeingHandled) {
  Stage stage;
  stage.addProvider(1);  // without services: the handler waits for the middleware, twice, then unmounts it
  std::atomic<bool> isInside = false;
  std::atomic<bool> isThrough = false;
  std::atomic<bool> wasThrough = false;
  stage.during["ostiv_time_sleep"] = [&] {
    isInside = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
  };
  stage.during["durix_provider_unmount"] = [&] { isThrough = true; };
  stage.during["durix_recorder_deactivate"] = [&] { wasThrough = isThrough.load(); };
  stage.startedPlugin();
  std::thread middleware([&] { stage.receiverOn(); });
  while (!isInside) std::this_thread::yield();
  stage.close();
  middleware.join();
  EXPECT_TRUE(wasThrough) << "the first step after the wait came while the handler ran";
}

TEST(Close, TurnsAwayEventsOfOtherThreads) {
  Stage stage;
  stage.addProvider(1);
  stage.startedPlugin();
  const std::vector<Stage::Registration> registered = stage.registrations;
  stage.during["durix_player_deinit"] = [&] {
    stage.registrations = registered;
    std::thread([&] { deliverEverything(stage); }).join();
  };
  stage.close();
  EXPECT_EQ(stage.takeOfOtherThreads(), Lines{});
  EXPECT_EQ(stage.take().back(), "durix_deinit(handle)");
}

TEST(Notices, MayAskThePluginAnything) {
  Stage stage;
  stage.addProvider(1);
  stage.addService(11, "One", 1, 1);
  BroadcastPlugin* const plugin = stage.startedPlugin();
  int asked = 0;
  stage.onNotice = [&] {
    ++asked;
    plugin->getServices();
    plugin->getPrograms();
    plugin->search(std::vector<std::string>{"x"});
    plugin->getOptions();
    plugin->getCountriesAndFlags();
    plugin->getDevices();
    plugin->getState();
  };
  stage.receiverOn();
  deliverEverything(stage);
  plugin->discover("", BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T, true);
  stage.scanFinished({"One"});
  const int before = asked;
  EXPECT_GT(before, 10);
  stage.close();
  EXPECT_GT(asked, before) << "the last change of state, of a plugin that is all but gone";
}

TEST(Scan, MayBeStartedWhileEventsArrive) {
  Stage stage;
  stage.addProvider(1);
  stage.addService(11, "One", 1, 1);
  stage.addService(12, "Two", 1, 2);
  stage.events[11] = {{2, 500, 0}, {2, 501, 0}};
  BroadcastPlugin* const plugin = stage.startedPlugin();
  const durix_scan_configuration nothing{0, nullptr};
  std::thread middleware([&] {
    for (int i = 0; i < 50; ++i) {
      stage.receiverOn();
      stage.scanFinished({"One"});
      stage.deliver(Event(DURIX_EVENT_PROGRAM_EVENTS_CHANGED));
      stage.deliver(Event(DURIX_EVENT_RECEIVER_OFF));
    }
  });
  for (int i = 0; i < 50; ++i) plugin->discover(&nothing, BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T, true);
  middleware.join();
  stage.scanFinished({"One"});
  EXPECT_EQ(plugin->getServices().size(), 2U);
  stage.close();
  EXPECT_EQ(stage.liveAllocations(), 0);
}

}  // namespace

#include "ProgramChangedNotifier.h"

#include <gtest/gtest.h>

#include "GuideMiddleware.h"
#include "NotingListener.h"
#include "ProgramImpl.h"
#include "ServiceImpl.h"
#include "plugin_channels/TestPlugin.h"
#include "support/Gate.h"

namespace {

using Texts = std::vector<std::string>;

/// One service with the programmes 11 (100 to 200), 12 (200 to 300) and 13 (350 to 400).
class ProgramChangedNotifierTest : public testing::Test {
 protected:
  ProgramChangedNotifierTest() {
    plugin.setState(PLUGIN_ACTIVE);
    plugin.addListener(&listener);
    middleware.addService(1);
    middleware.addEvent(1, 11, 100, 200);
    middleware.addEvent(1, 12, 200, 300);
    middleware.addEvent(1, 13, 350, 400);
    for (const std::uint32_t id : {11U, 12U, 13U}) service.addProgram(new ProgramImpl({2, id, 0}, &service, &plugin));
    service.update();
  }
  Texts update(std::int64_t time) {
    middleware.setTime(time);
    notifier.update(&service);
    return middleware.calls();
  }
  Texts at(std::int64_t time) {
    middleware.lines();
    middleware.setTime(time);
    return middleware.calls();
  }

  GuideMiddleware middleware;
  TestPlugin plugin;
  NotingListener listener{[this](const std::string& text) { middleware.note(text); }};
  ServiceImpl service{{1, 1, 0}, &plugin};
  ProgramChangedNotifier notifier;
};

TEST_F(ProgramChangedNotifierTest, FollowsTheProgrammesOfAService) {
  EXPECT_EQ(update(150), Texts{"current 1: 11"});
  EXPECT_EQ(at(199), Texts{});
  EXPECT_EQ(at(200), (Texts{"ended 1: 11", "started 1: 12"}));
  EXPECT_EQ(middleware.lines(), (Texts{"INFO ProgramChangedNotifier Current PROGRAM ENDED S1:P11 at 200Z",
                                       "INFO ProgramChangedNotifier Next PROGRAM STARTED S1:P12 at 200Z"}));
  EXPECT_EQ(at(300), Texts{"ended 1: 12"});
  EXPECT_EQ(at(349), Texts{}) << "a gap";
  EXPECT_EQ(at(350), Texts{"started 1: 13"});
  EXPECT_EQ(at(400), Texts{"ended 1: 13"});
  EXPECT_EQ(at(10000), Texts{}) << "parked";
  EXPECT_EQ(middleware.lines(), Texts{});

  // New programmes and an update wake the service.
  middleware.addEvent(1, 14, 11000, 12000);
  service.addProgram(new ProgramImpl({2, 14, 0}, &service, &plugin));
  service.update();
  EXPECT_EQ(update(10500), Texts{}) << "nothing is on air";
  EXPECT_EQ(at(11000), Texts{"started 1: 14"});
}

TEST_F(ProgramChangedNotifierTest, SaysSoWhenThereIsNothingToWaitFor) {
  EXPECT_EQ(update(500), Texts{});
  EXPECT_EQ(middleware.lines().back(), "ERR ProgramChangedNotifier did not find current or next Program");
  plugin.setState(PLUGIN_INACTIVE);
  EXPECT_EQ(update(150), Texts{});
  EXPECT_EQ(middleware.lines(), Texts{});
  EXPECT_EQ(at(200), Texts{});
}

TEST_F(ProgramChangedNotifierTest, KeepsOneRecordForAService) {
  update(150);
  EXPECT_EQ(update(160), Texts{"current 1: 11"});
  EXPECT_EQ(at(200), (Texts{"ended 1: 11", "started 1: 12"}));
  notifier.removeTimer(&service);
  EXPECT_EQ(at(300), Texts{});
  update(250);
  notifier.clear();
  EXPECT_EQ(at(300), Texts{});
}

TEST_F(ProgramChangedNotifierTest, LeavesARecordAloneThatAListenerHasReplaced) {
  update(150);
  listener.onNotice = [this] { notifier.removeTimer(&service); };
  EXPECT_EQ(at(200), Texts{"ended 1: 11"}) << "disarmed: nothing starts";
  EXPECT_EQ(update(210), Texts{"current 1: 12"});
  EXPECT_EQ(at(300), Texts{}) << "disarmed inside the notice of the current programme";

  int updates = 0;
  listener.onNotice = [&] {
    if (++updates == 2) notifier.update(&service);  // inside the end of 12
  };
  update(210);
  EXPECT_EQ(at(300), (Texts{"ended 1: 12", "current 1: 12", "ended 1: 12"})) << "armed anew, and due at once";
}

TEST_F(ProgramChangedNotifierTest, TellsTheCurrentProgrammeBeforeItsEnd) {
  // On air by the rule for shared ends, and its end is due at once, on another thread.
  middleware.setTime(300);
  notifier.update(&service);
  EXPECT_EQ(at(300), (Texts{"current 1: 12", "ended 1: 12"}));
}

TEST_F(ProgramChangedNotifierTest, IgnoresDataThatNamesNoRecord) {
  ProgramChangedInfo stranger{&service, nullptr, ProgramChangedInfo::CURRENT_ENDS};
  middleware.lines();
  notifier.timerExpired(nullptr, &stranger);
  EXPECT_EQ(middleware.lines(), Texts{});
  notifier.timerExpired(nullptr, nullptr);
  EXPECT_EQ(middleware.lines(), Texts{"ERR ProgramChangedNotifier Failed to receive userdata!"});
  gate::shutAndWait();
  notifier.timerExpired(nullptr, nullptr);
  EXPECT_EQ(middleware.lines(), Texts{}) << "closing";
}

}  // namespace

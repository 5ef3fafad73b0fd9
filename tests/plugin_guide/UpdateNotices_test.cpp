#include "guide/UpdateNotices.h"

#include <gtest/gtest.h>

#include "GuideMiddleware.h"
#include "NotingListener.h"
#include "ProgramImpl.h"
#include "ServiceImpl.h"
#include "plugin_channels/TestPlugin.h"

namespace {

using Texts = std::vector<std::string>;

class UpdateNoticesTest : public testing::Test, public TimerListener {
 protected:
  UpdateNoticesTest() {
    plugin.addListener(&listener);
    notices.createTimer(this);
    middleware.setTime(1000);
  }
  void timerExpired(VmTimer* timer, void* /*data*/) override {
    EXPECT_TRUE(notices.owns(timer));
    notices.timerExpired();
  }
  void setInterval(const std::string& interval) {
    VmProperties properties;
    properties.setProperty("notification_interval", interval);
    plugin.configure(&properties);
  }
  void queue(Service& service, std::vector<Program*> programs) { notices.notifyProgramUpdate(&service, &programs); }

  GuideMiddleware middleware;
  TestPlugin plugin;
  NotingListener listener{[this](const std::string& text) { middleware.note(text); }};
  UpdateNotices notices{plugin};
  ServiceImpl first{{1, 1, 0}, &plugin};
  ServiceImpl second{{1, 2, 0}, &plugin};
  ProgramImpl program{{2, 11, 0}, &first, &plugin};
  ProgramImpl later{{2, 12, 0}, &first, &plugin};
};

TEST_F(UpdateNoticesTest, TellsTheFirstNewsOfEachServiceAfterTheInterval) {
  setInterval("10");
  queue(first, {&program});
  queue(second, {});
  queue(first, {&later});  // dropped: one is pending
  middleware.setTime(1009);
  EXPECT_EQ(middleware.calls(), Texts{});
  middleware.setTime(1010);
  EXPECT_EQ(middleware.calls(), (Texts{"update 1: 11", "update 2:"}));
  EXPECT_EQ(middleware.lines(), (Texts{"INFO BroadcastPluginImpl::_updateData(), _updateData.size() = 2 ",
                                       "INFO BroadcastPluginImpl::_updateData(), _updateData.size() = 1 "}));
  queue(first, {&later});
  middleware.setTime(1020);
  EXPECT_EQ(middleware.calls(), Texts{"update 1: 12"});
}

TEST_F(UpdateNoticesTest, TakesAnIntervalThatIsNoNumberAsNone) {
  for (const char* const interval : {"", "soon"}) {
    setInterval(interval);
    queue(first, {&program});
    middleware.setTime(middleware.time);
    EXPECT_EQ(middleware.calls(), Texts{"update 1: 11"}) << interval;
  }
}

TEST_F(UpdateNoticesTest, MayBeAskedFromInsideANotice) {
  setInterval("0");
  bool again = true;
  listener.onNotice = [&] {
    if (again) queue(first, {&later});  // the notice being sent is not pending any more
    again = false;
  };
  queue(first, {&program});
  middleware.setTime(middleware.time);
  EXPECT_EQ(middleware.calls(), (Texts{"update 1: 11", "update 1: 12"}));
}

TEST_F(UpdateNoticesTest, SaysSoWhenNothingIsPending) {
  setInterval("5");
  queue(first, {&program});
  notices.deleteAll();
  middleware.setTime(1005);
  EXPECT_EQ(middleware.calls(), Texts{});
  EXPECT_EQ(middleware.lines(), (Texts{"INFO BroadcastPluginImpl::_updateData(), _updateData.size() = 0 ",
                                       "ERR BroadcastPluginImpl::timerExpired entered when _updateData.size()<1 !"}));
  queue(first, {&program});
  notices.deleteTimer();
  notices.clearTimer();
  queue(second, {});  // no timer: kept, and dropped with the rest
  middleware.setTime(2000);
  EXPECT_EQ(middleware.calls(), Texts{});
}

}  // namespace

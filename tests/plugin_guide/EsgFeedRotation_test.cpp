#include "guide/EsgFeedRotation.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <utility>

#include "GuideMiddleware.h"
#include "tuning/ProviderRegistry.h"

namespace {

using Texts = std::vector<std::string>;

class EsgFeedRotationTest : public testing::Test, public TimerListener, public ProviderHost, public EsgFeedHost {
 protected:
  EsgFeedRotationTest() {
    providers.fetchProviders();
    providers.setActive(providers.providers().front());
    rotation.createTimer(this);
    middleware.setTime(0);
    middleware.lines();
  }
  void setFeeds(const std::vector<std::vector<int>>& numbers) {
    for (const std::vector<int>& feeds : numbers) {
      const auto id = static_cast<std::uint32_t>(middleware.services.size() + 1);
      middleware.addService(id);
      middleware.setFeeds(id, feeds);
    }
  }
  Texts open() {
    rotation.openEsgDataFeeds();
    return middleware.calls();
  }
  Texts turn() {
    middleware.setTime(middleware.time + 30);
    return middleware.calls();
  }

  void timerExpired(VmTimer* timer, void* /*data*/) override {
    EXPECT_TRUE(rotation.owns(timer));
    rotation.esgDataTimerExpired();
  }
  durix_handle* durixHandle() override { return nullptr; }
  BroadcastProtocolType receiverProtocolType() override { return BROADCAST_PROTOCOL_DVB; }
  ReceiverType receiverType() override { return RECEIVER_DVB_T; }
  void setUpdaterEnabled(bool /*enabled*/) override {}
  bool isRecordingsActive() override {
    if (onQuestion) onQuestion();
    return recording;
  }

  GuideMiddleware middleware;
  bool recording = false;
  std::function<void()> onQuestion;  // the recorder is asked, which takes its lock
  ProviderRegistry providers{*this};
  EsgFeedRotation rotation{providers, *this};
};

TEST_F(EsgFeedRotationTest, OpensTheNextMultiplexEveryTurn) {
  setFeeds({{5}, {5}, {7, 9}});
  EXPECT_EQ(open(), Texts{"durix_feed_open(1005)"});
  EXPECT_EQ(turn(), (Texts{"durix_feeds_close(1005,1)", "durix_feed_open(1007)"}));
  EXPECT_EQ(turn(), Texts{"durix_feeds_close(1007,1)"}) << "nothing new from here on: back to the first service";
  EXPECT_EQ(turn(), Texts{"durix_feed_open(1005)"});
  middleware.setTime(middleware.time + 29);
  EXPECT_EQ(middleware.calls(), Texts{});
  rotation.closeEsgDataFeeds();
  EXPECT_EQ(middleware.calls(), Texts{"durix_feeds_close(1005,1)"});
  EXPECT_EQ(turn(), Texts{});
  EXPECT_EQ(open(), Texts{"durix_feed_open(1007)"}) << "the number of the last feed outlives the rotation";
}

TEST_F(EsgFeedRotationTest, TakesServicesAsTheContractSays) {
  struct Row {
    const char* reason;
    std::vector<std::vector<int>> feeds;
    std::map<std::string, durix_return_code> failing;
    std::vector<Texts> turns;
  };
  const Row rows[] = {
      {"a service without a feed holds the rotation", {{}, {6}}, {}, {{}, {}}},
      {"also in the middle", {{5}, {}, {6}}, {}, {{"durix_feed_open(1005)"}, {"durix_feeds_close(1005,1)"}, {}}},
      {"a feed that does not open is passed",
       {{5}, {6}},
       {{"durix_feed_open(1005)", 3}},
       {{"durix_feed_open(1005)", "durix_feed_open(1006)"},
        {"durix_feeds_close(1006,1)"},
        {
            "durix_feed_open(1005)",
        }}},
      {"the number 0 is one as any other", {{0}}, {}, {{"durix_feed_open(1000)"}, {"durix_feeds_close(1000,1)"}, {}}},
      {"no services", {}, {}, {{}, {}}}};
  for (const Row& row : rows) {
    EsgFeedRotation own(providers, *this);
    middleware.services.clear();
    middleware.feeds.clear();
    setFeeds(row.feeds);
    middleware.failing = row.failing;
    own.openEsgDataFeeds();
    for (const Texts& expected : row.turns) {
      EXPECT_EQ(middleware.calls(), expected) << row.reason;
      own.esgDataTimerExpired();
    }
    own.closeEsgDataFeeds();
    middleware.calls();
  }
}

TEST_F(EsgFeedRotationTest, NeedsAnActiveProviderAndNoRecording) {
  setFeeds({{5}, {6}});
  recording = true;
  EXPECT_EQ(open(), Texts{});
  recording = false;
  EXPECT_EQ(open(), Texts{"durix_feed_open(1005)"});
  EXPECT_EQ(middleware.lines(), Texts{"INFO getting services for the provider = Network"});
  recording = true;
  EXPECT_EQ(turn(), Texts{"durix_feeds_close(1005,1)"}) << "the receiver is free for the recording";
  recording = false;
  EXPECT_EQ(turn(), Texts{}) << "it goes on only when it is opened again";
  EXPECT_EQ(open(), Texts{"durix_feed_open(1006)"});
  providers.setActive(nullptr);
  EXPECT_EQ(open(), Texts{});
}

TEST_F(EsgFeedRotationTest, LeavesTheReceiverToAPlayerUntilTheNextTurn) {
  setFeeds({{5}, {6}});
  open();
  rotation.closeCurrentDataFeed();
  rotation.closeCurrentDataFeed();
  EXPECT_EQ(middleware.calls(), Texts{"durix_feeds_close(1005,1)"});
  EXPECT_EQ(turn(), Texts{"durix_feed_open(1006)"});
}

TEST_F(EsgFeedRotationTest, RotatesOnceHoweverOftenItIsOpened) {
  setFeeds({{5}, {6}, {7}});
  open();
  EXPECT_EQ(open(), (Texts{"durix_feeds_close(1005,1)", "durix_feed_open(1006)"}));
  EXPECT_EQ(turn(), (Texts{"durix_feeds_close(1006,1)", "durix_feed_open(1007)"}));
}

TEST_F(EsgFeedRotationTest, TakesBackWhatATurnOpensAfterTheClose) {
  setFeeds({{5}, {6}});
  open();
  middleware.during["durix_feed_open"] = [this] { rotation.closeEsgDataFeeds(); };
  EXPECT_EQ(turn(), (Texts{"durix_feeds_close(1005,1)", "durix_feed_open(1006)", "durix_feeds_close(1006,1)"}));
  EXPECT_EQ(turn(), Texts{});
}

TEST_F(EsgFeedRotationTest, ClosesWithoutWaitingForATurnThatWaitsForTheRecorder) {
  setFeeds({{5}, {6}});
  open();
  std::promise<void> asked;
  std::promise<void> answered;
  onQuestion = [&, first = true]() mutable {
    if (!std::exchange(first, false)) return;
    asked.set_value();
    answered.get_future().wait();
  };
  std::thread clock([this] { middleware.setTime(30); });
  asked.get_future().wait();
  EXPECT_EQ(middleware.calls(), Texts{"durix_feeds_close(1005,1)"});
  // As from a notice of the recorder; and once more, with a rotation in between that has armed its first turn.
  rotation.closeEsgDataFeeds();
  EXPECT_EQ(open(), Texts{"durix_feed_open(1006)"});
  rotation.closeEsgDataFeeds();
  EXPECT_EQ(middleware.calls(), Texts{"durix_feeds_close(1006,1)"});
  EXPECT_EQ(open(), Texts{"durix_feed_open(1005)"});
  answered.set_value();
  clock.join();
  EXPECT_EQ(middleware.calls(), Texts{});
  EXPECT_EQ(turn(), (Texts{"durix_feeds_close(1005,1)", "durix_feed_open(1006)"})) << "one turn, of the last rotation";
}

}  // namespace

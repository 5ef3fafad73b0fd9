#include "guide/EsgFeedRotation.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <utility>

#include "FakeMiddleware.h"
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
      middleware.feedNumbers[id] = feeds;
    }
  }
  Texts open() {
    rotation.openEsgDataFeeds();
    return middleware.calls();
  }
  Texts turn() {
    middleware.setTime(middleware.time() + 30);
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

  FakeMiddleware middleware;
  bool recording = false;
  std::function<void()> onQuestion;  // the recorder is asked, which takes its lock
  ProviderRegistry providers{*this};
  EsgFeedRotation rotation{providers, *this};
};

TEST_F(EsgFeedRotationTest, OpensTheNextMultiplexEveryTurn) {
  setFeeds({{5}, {5}, {7, 9}});
  EXPECT_EQ(open(), Texts{"open 5"});
  EXPECT_EQ(turn(), (Texts{"close 5", "open 7"}));
  EXPECT_EQ(turn(), Texts{"close 7"}) << "nothing new from here on: back to the first service";
  EXPECT_EQ(turn(), Texts{"open 5"});
  middleware.setTime(middleware.time() + 29);
  EXPECT_EQ(middleware.calls(), Texts{});
  rotation.closeEsgDataFeeds();
  EXPECT_EQ(middleware.calls(), Texts{"close 5"});
  EXPECT_EQ(turn(), Texts{});
  EXPECT_EQ(open(), Texts{"open 7"}) << "the number of the last feed outlives the rotation";
}

TEST_F(EsgFeedRotationTest, TakesServicesAsTheContractSays) {
  struct Row {
    const char* reason;
    std::vector<std::vector<int>> feeds;
    std::map<int, durix_return_code> openCode;
    std::vector<Texts> turns;
  };
  const Row rows[] = {{"a service without a feed holds the rotation", {{}, {6}}, {}, {{}, {}}},
                      {"also in the middle", {{5}, {}, {6}}, {}, {{"open 5"}, {"close 5"}, {}}},
                      {"a feed that does not open is passed",
                       {{5}, {6}},
                       {{5, 3}},
                       {{"open 5", "open 6"},
                        {"close 6"},
                        {
                            "open 5",
                        }}},
                      {"the number 0 is one as any other", {{0}}, {}, {{"open 0"}, {"close 0"}, {}}},
                      {"no services", {}, {}, {{}, {}}}};
  for (const Row& row : rows) {
    EsgFeedRotation own(providers, *this);
    middleware.services.clear();
    setFeeds(row.feeds);
    middleware.openCode = row.openCode;
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
  EXPECT_EQ(open(), Texts{"open 5"});
  EXPECT_EQ(middleware.lines(), Texts{"INFO getting services for the provider = Net"});
  recording = true;
  EXPECT_EQ(turn(), Texts{"close 5"}) << "the receiver is free for the recording";
  recording = false;
  EXPECT_EQ(turn(), Texts{}) << "it goes on only when it is opened again";
  EXPECT_EQ(open(), Texts{"open 6"});
  providers.setActive(nullptr);
  EXPECT_EQ(open(), Texts{});
}

TEST_F(EsgFeedRotationTest, LeavesTheReceiverToAPlayerUntilTheNextTurn) {
  setFeeds({{5}, {6}});
  open();
  rotation.closeCurrentDataFeed();
  rotation.closeCurrentDataFeed();
  EXPECT_EQ(middleware.calls(), Texts{"close 5"});
  EXPECT_EQ(turn(), Texts{"open 6"});
}

TEST_F(EsgFeedRotationTest, RotatesOnceHoweverOftenItIsOpened) {
  setFeeds({{5}, {6}, {7}});
  open();
  EXPECT_EQ(open(), (Texts{"close 5", "open 6"}));
  EXPECT_EQ(turn(), (Texts{"close 6", "open 7"}));
}

TEST_F(EsgFeedRotationTest, TakesBackWhatATurnOpensAfterTheClose) {
  setFeeds({{5}, {6}});
  open();
  middleware.onFeedOpen = [this] { rotation.closeEsgDataFeeds(); };
  EXPECT_EQ(turn(), (Texts{"close 5", "open 6", "close 6"}));
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
  rotation.closeEsgDataFeeds();  // as from a notice of the recorder
  answered.set_value();
  clock.join();
  EXPECT_EQ(middleware.calls(), Texts{"close 5"});
  EXPECT_EQ(turn(), Texts{});
}

}  // namespace

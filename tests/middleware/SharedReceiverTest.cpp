// Scan, guide and what plays or records share the receivers, and what they receive.
#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <set>

#include "Support.h"
#include "middleware/api/Instance.h"
#include "middleware/durix_tools.h"
#include "tests/si/EventBuilder.h"

namespace durix::test {
namespace {

using std::chrono::milliseconds;
constexpr std::int64_t EVENING = 1'600'027'200;
constexpr std::uint16_t EIT = 0x12;
const TinyMultiplex FIRST{.transportStream = 1, .services = {{.id = 1, .name = "One"}}, .time = EVENING};
const TinyMultiplex SECOND{.transportStream = 2, .services = {{.id = 3, .name = "Three"}}, .time = EVENING};

// Somebody who plays or records: takes packets and does nothing with them.
class Viewer : public PacketTaker {
 public:
  Viewer(std::int32_t frequency, ReceiverUse use) {
    const auto instance = Instance::current();
    const auto catalogue = instance->store().catalogue();
    for (const auto& [id, multiplex] : catalogue->multiplexes) {
      if (multiplex.tuning.frequency == frequency) _share = instance->tuners().open(multiplex, use, *this);
    }
  }
  std::optional<End> ended() const { return _isEnded ? std::optional(_end.load()) : std::nullopt; }

 private:
  void take(const PacketView&) override {}
  void end(End reason) override {
    _end = reason;
    _isEnded = true;
  }

  std::atomic<End> _end{End::Closed};
  std::atomic<bool> _isEnded{false};
  std::unique_ptr<TunedShare> _share;
};

class SharedReceiverTest : public ::testing::Test {
 protected:
  void SetUp() override {
    durix_tools_clock_replace([](void*) { return EVENING; }, nullptr);
    air("474", FIRST, {"First"});
    air("482", SECOND, {"Second"});
  }
  void TearDown() override { durix_tools_clock_replace(nullptr, nullptr); }

  // A multiplex of half a second with a programme of its service, which has another name in each part.
  void air(const std::string& name, const TinyMultiplex& multiplex, const std::vector<std::string>& titles) {
    StreamBuilder stream;
    std::uint64_t clock = 0;
    for (std::size_t i = 0; i < titles.size(); ++i) {
      const auto version = static_cast<std::uint8_t>(i);
      const EventHead head{
          .service = multiplex.services.front().id, .version = version, .transportStream = multiplex.transportStream};
      stream.add(EIT, {eitSection(head, {{.id = 1, .start = EVENING, .title = titles[i]}})});
      for (std::size_t step = 0; step < 10 / titles.size(); ++step) stream.addPcr(0x100, clock += 27'000'000 / 20);
    }
    write(_tv.airDirectory() / (name + ".ts"), join({multiplex.bytes(), stream.bytes()}));
  }

  void start(int tuners) {
    const std::string directory = _tv.airDirectory().string();
    ASSERT_EQ(_tv.start("dvb-t=file:" + directory + ",time=stream,tuners=" + std::to_string(tuners)), DURIX_OK);
    ASSERT_TRUE(_tv.scan({474, 482}));
    _tv.log().clear();
  }

  // Titles of a service's programmes, and their numbers.
  std::set<std::pair<std::string, std::uint32_t>> programmes(const std::string& name) const {
    std::set<std::pair<std::string, std::uint32_t>> found;
    for (const auto& service : _tv.services()) {
      if (_tv.text(service, DURIX_ATTRIBUTE_NAME) != name) continue;
      durix_esg_object* array = nullptr;
      std::uint32_t count = 0;
      if (durix_program_events_get(&service, &array, &count) != DURIX_OK) continue;
      for (std::uint32_t i = 0; i < count; ++i) found.emplace(_tv.text(array[i], DURIX_ATTRIBUTE_NAME), array[i].id);
      ostiv_mem_free(array);
    }
    return found;
  }
  std::string title(const std::string& name) const {
    const auto found = programmes(name);
    return found.size() == 1 ? found.begin()->first : std::to_string(found.size());
  }

  durix_esg_object guideFeed(const std::string& name) const {
    for (const auto& service : _tv.services()) {
      if (_tv.text(service, DURIX_ATTRIBUTE_NAME) == name) return _tv.feeds(service).at(0);
    }
    return {};
  }
  static bool hasGoneRound() {
    durix_tools_guide_state state{};
    return durix_tools_guide(&state) == DURIX_OK && state.gone_round != 0;
  }

  Middleware _tv;
};

TEST_F(SharedReceiverTest, TheGuideTakesWhatIsReceivedAnywayOnce) {
  air("474", FIRST, {"Before", "After"});
  start(1);
  const Viewer viewer(474, ReceiverUse::Live);
  ASSERT_TRUE(_tv.log().waitFor(DURIX_EVENT_PROGRAM_EVENTS_CHANGED));
  ASSERT_TRUE(eventually([&] { return title("One") == "After"; }));
  const auto found = programmes("One");
  std::this_thread::sleep_for(milliseconds(1500));  // three more loops
  EXPECT_EQ(programmes("One"), found) << "a stream that begins again brings nothing";
  EXPECT_EQ(title("Three"), "0");
}

TEST_F(SharedReceiverTest, TheGuideTakesNothingWhenItIsSwitchedOff) {
  start(1);
  ASSERT_EQ(durix_property_set(_tv.handle(), DURIX_PROPERTY_ESG_UPDATE, "false"), DURIX_OK);
  const Viewer viewer(474, ReceiverUse::Live);
  std::this_thread::sleep_for(milliseconds(2500));
  EXPECT_EQ(title("One"), "0");
}

TEST_F(SharedReceiverTest, TheGuideWaitsForAFreeReceiver) {
  start(1);
  const auto feed = guideFeed("Three");
  {
    const Viewer viewer(474, ReceiverUse::Live);
    ASSERT_EQ(durix_feed_open(&feed, 0), DURIX_OK);
    ASSERT_TRUE(eventually([&] { return title("One") == "First"; })) << "what is received";
    EXPECT_TRUE(eventually(hasGoneRound)) << "as far as it can for now";
    EXPECT_EQ(title("Three"), "0");
    EXPECT_FALSE(viewer.ended());
  }
  EXPECT_TRUE(eventually([&] { return title("Three") == "Second"; }));
  EXPECT_TRUE(eventually(hasGoneRound));
  EXPECT_EQ(durix_feeds_close(&feed, 1, 0), DURIX_OK);
}

TEST_F(SharedReceiverTest, TheGuideUsesASecondReceiver) {
  start(2);
  const auto feed = guideFeed("Three");
  const Viewer viewer(474, ReceiverUse::Recording);
  ASSERT_EQ(durix_feed_open(&feed, 0), DURIX_OK);
  EXPECT_TRUE(eventually(hasGoneRound));
  EXPECT_EQ(title("Three"), "Second");
  EXPECT_EQ(durix_feeds_close(&feed, 1, 0), DURIX_OK);
}

TEST_F(SharedReceiverTest, TheSideDoorTellsWhoUsesWhat) {
  start(3);
  const Viewer viewer(474, ReceiverUse::Live);
  const Viewer recorder(474, ReceiverUse::Recording);
  const Viewer other(482, ReceiverUse::Live);
  std::vector<durix_tools_use> uses;
  const auto note = [](const durix_tools_use* use, void* list) {
    static_cast<std::vector<durix_tools_use>*>(list)->push_back(*use);
  };
  std::uint32_t receivers = 0;
  ASSERT_EQ(durix_tools_uses(&receivers, note, &uses), DURIX_OK);
  EXPECT_EQ(receivers, 3U);
  ASSERT_EQ(uses.size(), 2U);
  EXPECT_EQ(uses[0].use, static_cast<std::uint32_t>(DURIX_TOOLS_USE_RECORDING));
  EXPECT_EQ(uses[0].users, 2U);
  EXPECT_EQ(uses[0].frequency, 474);
  EXPECT_EQ(uses[1].use, static_cast<std::uint32_t>(DURIX_TOOLS_USE_LIVE));
  EXPECT_EQ(static_cast<std::int32_t>(uses[1].multiplex),
            _tv.number(guideFeed("Three"), DURIX_ATTRIBUTE_CHANNEL_NUMBER));
}

TEST_F(SharedReceiverTest, AScanNeedsAReceiverThatDoesNotRecord) {
  const struct {
    int tuners;
    ReceiverUse use;
    bool isScanned, isEnded;
  } cases[] = {{1, ReceiverUse::Recording, false, false},
               {1, ReceiverUse::Live, true, true},
               {2, ReceiverUse::Recording, true, false},
               {2, ReceiverUse::Live, true, false}};
  for (const auto& [tuners, use, isScanned, isEnded] : cases) {
    SCOPED_TRACE(std::to_string(tuners) + " tuners, use " + std::to_string(static_cast<int>(use)));
    start(tuners);
    {
      const Viewer viewer(474, use);
      auto frequency = tuning(482);
      const durix_scan_configuration configuration{1, &frequency};
      const auto code = durix_discover_start(_tv.handle(), 0, 1, &configuration, true);
      EXPECT_EQ(code == DURIX_OK, isScanned);
      if (!isScanned) {
        EXPECT_EQ(Instance::current()->scan().report().frequencies.size(), 2U) << "that of the scan before";
      }
      EXPECT_TRUE(!isScanned || _tv.log().waitFor(DURIX_EVENT_DISCOVER_FINISHED));
      EXPECT_TRUE(!isEnded || eventually([&] { return viewer.ended().has_value(); }));
      EXPECT_EQ(viewer.ended(), isEnded ? std::optional(PacketTaker::End::Taken) : std::nullopt);
    }
    EXPECT_TRUE(_tv.scan({474})) << "afterwards there is one in any case";
    ASSERT_EQ(_tv.stop(), DURIX_OK);
  }
}

TEST_F(SharedReceiverTest, AScanIsCancelledByARecordingThatNeedsItsReceiver) {
  start(1);
  std::vector<durix_scan_frequency> many(20'000, tuning(490));
  const durix_scan_configuration configuration{static_cast<std::uint32_t>(many.size()), many.data()};
  ASSERT_EQ(durix_discover_start(_tv.handle(), 0, 1, &configuration, true), DURIX_OK);
  const Viewer viewer(474, ReceiverUse::Recording);
  ASSERT_TRUE(_tv.log().waitFor(DURIX_EVENT_DISCOVER_FINISHED));
  EXPECT_LT(_tv.log().events(DURIX_EVENT_DISCOVER_PROGRESS).size(), many.size());
  EXPECT_FALSE(viewer.ended());
}

}  // namespace
}  // namespace durix::test

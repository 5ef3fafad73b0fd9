// A service is received: what it consists of, its feeds, the event that they have changed.
#include "middleware/reception/ServiceReception.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <vector>

#include "middleware/api/Failure.h"
#include "middleware/events/EventQueue.h"
#include "middleware/receivers/ReceiverPool.h"
#include "middleware/store/Store.h"
#include "tests/si/StreamBuilder.h"
#include "tests/support/Eventually.h"
#include "tests/support/TinyStream.h"

namespace durix::test {
namespace {

constexpr std::uint16_t PMT = 0x100;
constexpr durix_scan_frequency TUNING{474, 8'000'000, -1, -1, -1, -1, -1};
const Bytes FRENCH = descriptor(0x0A, join({text("FRA"), {0}}));
const Bytes ENGLISH = descriptor(0x0A, join({text("eng"), {0}}));

Bytes pmt(const std::vector<std::pair<std::uint16_t, Bytes>>& sounds, std::uint8_t version) {
  Bytes streams = join({{0x1B}, word(0xE200), word(0xF000)});
  for (const auto& [pid, language] : sounds) {
    streams =
        join({streams, {0x04}, word(0xE000U | pid), word(0xF000U | static_cast<unsigned>(language.size())), language});
  }
  return section({.table = 0x02, .extension = 1, .version = version}, join({word(0xE200), word(0xF000), streams}));
}

// What the feeds of a service are, by identifier.
std::map<std::uint32_t, std::string> feedsIn(const Store& store, std::uint32_t service) {
  std::map<std::uint32_t, std::string> feeds;
  const auto catalogue = store.catalogue();
  for (const auto& feed : catalogue->service(service)->feeds) {
    feeds[feed.id] = std::to_string(feed.type) + " " + std::to_string(feed.pid) + feed.language;
  }
  return feeds;
}

class ServiceReceptionTest : public ::testing::Test, public ServiceTaker {
 protected:
  void SetUp() override {
    ScannedService service{.originalNetworkId = 1, .transportStreamId = 1, .serviceId = 1, .name = "One"};
    service.kind = ServiceKind::Television;
    ScanYield::Multiplex multiplex{
        .tuning = TUNING, .reception = {}, .isDescribed = true, .isWhole = true, .services = {service}};
    _store.takeScan({.receiver = ReceiverType::DvbT, .multiplexes = {multiplex}});
    _service = _store.catalogue()->services.begin()->first;
    _events->add(DURIX_EVENT_FEEDS_CHANGED, countChange, this, EventQueue::Scope::All);
    _events->allow();
  }
  void TearDown() override {
    _reception.reset();
    _tuners.reset();
    _events->stop();
  }

  // The tables one after the other, each for a third of a second of five packets of its picture.
  void receive(const std::vector<Bytes>& tables) {
    StreamBuilder stream;
    std::uint64_t clock = 0;
    for (const auto& table : tables) {
      stream.add(0, {patSection(1, {{1, PMT}})}).add(PMT, {table});
      for (int i = 0; i < 5; ++i) stream.addPcr(0x200, clock += 27'000'000 / 15);
    }
    write(_air / "474.ts", stream.bytes());
    std::vector<std::unique_ptr<Broadcast>> broadcasts;
    broadcasts.push_back(
        std::make_unique<DirectoryBroadcast>(ReceiverSettings{.type = ReceiverType::DvbT, .directory = _air.path()}));
    _pool = std::make_unique<ReceiverPool>(std::move(broadcasts), [](const Broadcast&, Presence::Change) {});
    _tuners = std::make_unique<Tuners>(*_events, *_pool);
    _reception = std::make_unique<ServiceReception>(ServiceReception::Parts{*_tuners, _store, *_events}, _service,
                                                    ReceiverUse::Live, *this);
  }

  using Feeds = std::map<std::uint32_t, std::string>;

  // What the store had each time that a programme was told.
  std::vector<Feeds> feeds(std::size_t count) {
    EXPECT_TRUE(eventually([&] {
      const std::scoped_lock lock(_mutex);
      return _feeds.size() >= count;
    }));
    const std::scoped_lock lock(_mutex);
    return _feeds;
  }

  std::atomic<int> _changes{0};  // that were announced
  std::atomic<bool> _isEarly{false};

  TemporaryDirectory _data, _air;
  Store _store{_data.path()};
  std::shared_ptr<EventQueue> _events = EventQueue::create();
  std::unique_ptr<ReceiverPool> _pool;
  std::unique_ptr<Tuners> _tuners;
  std::uint32_t _service = 0;

 private:
  static void countChange(durix_event_data*, void* user) { ++static_cast<ServiceReceptionTest*>(user)->_changes; }

  void takeProgram(const Program&) override {
    const std::scoped_lock lock(_mutex);
    _feeds.push_back(feedsIn(_store, _service));
  }
  void takePacket(const PacketView&) override {
    const std::scoped_lock lock(_mutex);
    if (_feeds.empty()) _isEarly = true;
  }
  void end(PacketTaker::End) override {}

  std::mutex _mutex;
  std::vector<Feeds> _feeds;
  std::unique_ptr<ServiceReception> _reception;
};

TEST_F(ServiceReceptionTest, KeepsTheFeedsOfAServiceUpToDate) {
  receive({pmt({{0x201, FRENCH}}, 0), pmt({{0x201, FRENCH}, {0x202, ENGLISH}}, 1), pmt({{0x202, ENGLISH}}, 2)});
  const auto told = feeds(4);  // the fourth one is the first again
  ASSERT_GE(told.size(), 4U);
  const auto idOf = [](const Feeds& feeds, const std::string& text) {
    const auto found = std::ranges::find(feeds, text, [](const auto& entry) { return entry.second; });
    return found == feeds.end() ? 0 : found->first;
  };
  const std::string video = "2 512";
  const std::string french = "1 513fra";
  const std::string english = "1 514eng";
  EXPECT_EQ(told[0].size(), 3U) << "guide data, picture, sound";
  EXPECT_EQ(told[1].size(), 4U);
  EXPECT_EQ(told[2].size(), 3U);
  EXPECT_EQ(idOf(told[2], french), 0U);
  for (std::size_t i = 1; i < 4; ++i) {
    EXPECT_EQ(told[i].begin()->first, told[0].begin()->first);
    EXPECT_NE(idOf(told[i], video), 0U);
    EXPECT_EQ(idOf(told[i], video), idOf(told[0], video)) << "what stays keeps its identifier";
  }
  EXPECT_EQ(idOf(told[1], french), idOf(told[0], french));
  EXPECT_NE(idOf(told[1], english), 0U);
  EXPECT_EQ(idOf(told[2], english), idOf(told[1], english));
  EXPECT_EQ(told[3], told[0]) << "and what comes back has its old one";
  EXPECT_TRUE(eventually([&] { return _changes >= 4; }));
  EXPECT_FALSE(_isEarly) << "no packet before its programme";
}

TEST_F(ServiceReceptionTest, AnnouncesNoChangeOfWhatIsNoFeed) {
  receive({pmt({{0x201, FRENCH}}, 0), pmt({{0x201, FRENCH}}, 1)});
  feeds(4);
  EXPECT_EQ(_changes, 1) << "the first feeds of all";
}

TEST_F(ServiceReceptionTest, HasNoServiceThatNobodyKnows) {
  receive({pmt({}, 0)});
  Failure failure(Code::Failed);
  try {
    const ServiceReception unknown(ServiceReception::Parts{*_tuners, _store, *_events}, _service + 1, ReceiverUse::Live,
                                   *this);
  } catch (const Failure& caught) {
    failure = caught;
  }
  EXPECT_EQ(failure.code(), Code::UnknownObject);
}

}  // namespace
}  // namespace durix::test

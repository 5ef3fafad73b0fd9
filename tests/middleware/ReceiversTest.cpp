#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>

#include "Support.h"
#include "middleware/api/Failure.h"
#include "middleware/receivers/Broadcast.h"
#include "middleware/receivers/Presence.h"
#include "middleware/receivers/ReceiverSettings.h"
#include "middleware/receivers/ReceptionReport.h"

namespace durix::test {
namespace {

std::string described(const std::vector<ReceiverSettings>& receivers) {
  std::string text;
  for (const auto& one : receivers) {
    text += std::string(nameOf(one.type)) + "|" + one.directory.string() + "|" +
            (one.time == TimeMode::Stream ? "stream" : "now") + "|" + std::to_string(one.tuners) + ";";
  }
  return text;
}

TEST(ReceiverSettings, AreReadFromTheirText) {
  struct Row {
    std::string text, result;  // an empty result: refused
    std::string why;
  };
  for (const Row& row : {
           Row{"dvb-t=file:/air", "DVB-T|/air|now|1;", "the defaults"},
           Row{"DVB-S=file:/air,time=stream,tuners=2", "DVB-S|/air|stream|2;", "case and options"},
           Row{" isdb-t=file:/a  isdb-t=file:/b,tuners=16 ", "ISDB-T|/a|now|1;ISDB-T|/b|now|16;", "several"},
           Row{"dvb-c=file:/my%20air%2Cold%25", "DVB-C|/my air,old%|now|1;", "escaped separators and blanks"},
           Row{"dvb-t=file:/a=b%zz%4", "DVB-T|/a=b%zz%4|now|1;", "what is no escape stands for itself"},
           Row{"atsc=file:/a,time=now,time=stream", "ATSC|/a|stream|1;", "the last one counts"},
           Row{"dvb-t=file:/a dvb-c=file:/b", "", "two types"},
           Row{"dvb-x=file:/a", "", "unknown type"},
           Row{"dvb-t", "", "no source"},
           Row{"dvb-t=", "", "empty source"},
           Row{"dvb-t=file:", "", "no directory"},
           Row{"dvb-t=/air", "", "no kind of source"},
           Row{"dvb-t=udp:/list", "", "not supported yet"},
           Row{"dvb-t=file:/a,tuners=0", "", "no tuner"},
           Row{"dvb-t=file:/a,tuners=17", "", "too many"},
           Row{"dvb-t=file:/a,tuners=2x", "", "no number"},
           Row{"dvb-t=file:/a,time=later", "", "unknown time"},
           Row{"dvb-t=file:/a,speed=2", "", "unknown option"},
       }) {
    try {
      EXPECT_EQ(described(parseReceivers(row.text)), row.result) << row.why;
    } catch (const Failure& failure) {
      EXPECT_EQ("", row.result) << row.why << ": " << failure.what();
      EXPECT_NE(std::string(failure.what()), "") << "says why";
    }
  }
  EXPECT_TRUE(parseReceivers("").empty());
}

TEST(Presence, AnnouncesAtOnceAndWithdrawsOnlyWhatStaysAway) {
  Presence presence;
  const Presence::Time start{};
  struct Row {
    int second;
    bool isThere;
    std::string change;
  };
  for (const Row& row : {Row{0, false, ""}, Row{1, true, "on"}, Row{2, true, ""}, Row{3, false, ""}, Row{7, false, ""},
                         Row{8, true, ""},                                              // a short drop
                         Row{9, false, ""}, Row{13, false, ""}, Row{14, false, "off"},  // five seconds
                         Row{60, false, ""}, Row{61, true, "on"}}) {
    const auto change = presence.see(row.isThere, start + std::chrono::seconds(row.second));
    EXPECT_EQ(!change ? "" : *change == Presence::Change::Announced ? "on" : "off", row.change) << row.second;
  }
}

TEST(DirectoryBroadcast, KnowsWhenItsStreamsWereOnAir) {
  constexpr std::int64_t TOLD = 1'600'000'000;
  constexpr std::int64_t EVENT = 1'500'000'000;
  const TinyMultiplex silent{.services = {{.id = 1, .name = "One"}}};
  auto withEvent = silent;
  withEvent.event = EVENT;
  auto laterEvent = silent;
  laterEvent.event = EVENT + 3600;
  auto withTime = withEvent;
  withTime.time = TOLD;
  auto otherTime = silent;
  otherTime.time = TOLD + 3600;
  struct Row {
    std::vector<std::pair<std::string, TinyMultiplex>> files;
    std::optional<std::int64_t> time;
    std::string why;
  };
  for (const Row& row : {
           Row{{}, std::nullopt, "nothing on air"},
           Row{{{"474", silent}}, std::nullopt, "no time, no event"},
           Row{{{"474", withTime}}, TOLD, "a time is better than an event"},
           Row{{{"1474", withTime}, {"474", otherTime}}, TOLD + 3600, "by frequency, not by name"},
           Row{{{"474", withEvent}, {"490", otherTime}}, TOLD + 3600, "the first stream that has a time"},
           Row{{{"474", laterEvent}, {"490", withEvent}}, EVENT, "the earliest event when none has"},
           Row{{{"1474", withTime}, {"474H", otherTime}}, TOLD + 3600, "whatever the polarisation"},
           Row{{{"notes", withTime}, {"474-old", withTime}, {"474HV", withTime}, {"H", withTime}},
               std::nullopt,
               "not a frequency"},
       }) {
    const TemporaryDirectory directory;
    for (const auto& [name, multiplex] : row.files) write(directory / (name + ".ts"), multiplex.bytes());
    const DirectoryBroadcast broadcast({.type = ReceiverType::DvbT, .directory = directory.path()});
    EXPECT_EQ(broadcast.firstTime().best(), row.time) << row.why;
  }
}

TEST(Receivers, AreAnnouncedOneByOneWithTheirNumbers) {
  struct Row {
    std::string type;
    std::uint32_t protocol, receiver;
  };
  for (const Row& row :
       {Row{"dvb-t", 1, 1}, Row{"dvb-c", 1, 2}, Row{"dvb-s", 1, 3}, Row{"atsc", 2, 4}, Row{"isdb-t", 3, 5}}) {
    Middleware middleware;
    ASSERT_EQ(middleware.start(row.type + "=file:" + middleware.airDirectory().string() + ",tuners=2"), DURIX_OK);
    for (int i = 0; i < 2; ++i) ASSERT_TRUE(middleware.log().waitFor(DURIX_EVENT_RECEIVER_ON));
    for (const auto& seen : middleware.log().events(DURIX_EVENT_RECEIVER_ON)) {
      EXPECT_EQ(std::pair(seen.protocol, seen.receiver), std::pair(row.protocol, row.receiver));
    }
    EXPECT_EQ(middleware.property(DURIX_PROPERTY_CONNECTION_TYPE), "Local");
  }
}

TEST(Receivers, ComeAndGoWithTheirDirectory) {
  Middleware middleware;
  const auto later = middleware.airDirectory() / "later";
  const auto away = middleware.airDirectory() / "away";
  const auto waitFor = [&](std::uint32_t event) {
    return middleware.log().waitFor(event) && middleware.log().waitFor(event);  // both tuners
  };
  ASSERT_EQ(middleware.start("dvb-t=file:" + later.string() + ",tuners=2"), DURIX_OK);
  EXPECT_TRUE(middleware.log().events(DURIX_EVENT_RECEIVER_ON).empty());
  std::filesystem::create_directory(later);
  EXPECT_TRUE(waitFor(DURIX_EVENT_RECEIVER_ON));
  std::filesystem::rename(later, away);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  std::filesystem::rename(away, later);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  EXPECT_EQ(middleware.log().events().size(), 2U) << "a short drop is nobody's business";
  std::filesystem::remove(later);
  EXPECT_TRUE(waitFor(DURIX_EVENT_RECEIVER_OFF));
  std::filesystem::create_directory(later);
  EXPECT_TRUE(waitFor(DURIX_EVENT_RECEIVER_ON));
  EXPECT_EQ(middleware.log().events().size(), 6U);
}

TEST(Receivers, TellOfTheirLockWhileAGuideIsReceived) {
  Middleware middleware;
  middleware.air("474000000", {.services = {{.id = 1, .name = "One"}}});
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  const auto guide = middleware.feeds(middleware.services().at(0)).at(0);
  ASSERT_EQ(durix_feed_open(&guide, 0), DURIX_OK);
  EXPECT_TRUE(middleware.log().waitFor(DURIX_EVENT_RECEIVER_LOCK)) << "after the scan's own";
  EXPECT_TRUE(middleware.log().waitFor(DURIX_EVENT_RECEIVER_STATISTICS));
}

// What a handler got of the statistics of receivers, one line for each event.
struct Told {
  std::vector<std::string> lines;

  static void handler(durix_event_data* event, void* user) {
    const auto* const bytes = reinterpret_cast<const char*>(event);
    const auto number = wordAt(event, DURIX_OFFSET_EVENT);
    std::string line = number == DURIX_EVENT_RECEIVER_LOCK ? "lock" : "lock lost";
    if (number == DURIX_EVENT_RECEIVER_STATISTICS) {
      line = std::to_string(wordAt(event, DURIX_OFFSET_STATISTICS_FREQUENCY)) + " available " +
             std::to_string(wordAt(event, DURIX_OFFSET_STATISTICS_SIGNAL_AVAILABLE)) + " locked " +
             std::to_string(wordAt(event, DURIX_OFFSET_STATISTICS_SIGNAL_LOCKED)) + " quality " +
             std::to_string(static_cast<unsigned char>(bytes[DURIX_OFFSET_STATISTICS_SIGNAL_QUALITY])) + " snr '" +
             (bytes + DURIX_OFFSET_STATISTICS_SNR) + "' ber '" + (bytes + DURIX_OFFSET_STATISTICS_BER) + "' per '" +
             (bytes + DURIX_OFFSET_STATISTICS_PER) + "' mfer '" + (bytes + DURIX_OFFSET_STATISTICS_MFER) + "'";
    }
    static_cast<Told*>(user)->lines.push_back(line);
  }
};

TEST(ReceptionReport, TellsWhatWasMeasured) {
  Told told;
  std::promise<void> isOver;
  const auto queue = EventQueue::create();
  const auto add = [&](std::uint32_t event, durix_event_handler handler, void* user) {
    queue->add(event, handler, user, EventQueue::Scope::Instance);
  };
  for (const std::uint32_t event :
       {DURIX_EVENT_RECEIVER_STATISTICS, DURIX_EVENT_RECEIVER_LOCK, DURIX_EVENT_RECEIVER_LOCK_LOST}) {
    add(event, Told::handler, &told);
  }
  add(
      DURIX_EVENT_RECEIVER_OFF,
      [](durix_event_data*, void* user) { static_cast<std::promise<void>*>(user)->set_value(); }, &isOver);
  queue->allow();
  const auto pause = [] { std::this_thread::sleep_for(ReceptionReport::INTERVAL + std::chrono::milliseconds(50)); };
  ReceptionReport report(*queue, tuning(474));
  report.tell({.packets = 200, .damagedPackets = 50, .continuityErrors = 60});
  report.tell({.packets = 300, .damagedPackets = 50, .continuityErrors = 60});
  pause();
  report.tell({.packets = 1200, .damagedPackets = 50, .continuityErrors = 60});
  pause();
  report.tell({.packets = 1200, .damagedPackets = 50, .continuityErrors = 60});
  report.tellNoSignal();
  pause();
  report.tellNoSignal();
  queue->post(EventRecord(DURIX_EVENT_RECEIVER_OFF));
  isOver.get_future().wait();
  queue->stop();
  EXPECT_EQ(told.lines,
            (std::vector<std::string>{"lock", "474 available 1 locked 1 quality 76 snr '' ber '' per '2.4e-01' mfer ''",
                                      "474 available 1 locked 1 quality 100 snr '' ber '' per '0.0e+00' mfer ''",
                                      "lock lost", "474 available 1 locked 0 quality 0 snr '' ber '' per '' mfer ''",
                                      "474 available 0 locked 0 quality 0 snr '' ber '' per '' mfer ''"}));
}

}  // namespace
}  // namespace durix::test

#include <gtest/gtest.h>

#include "Support.h"
#include "middleware/api/Failure.h"
#include "middleware/receivers/Broadcast.h"
#include "middleware/receivers/Presence.h"
#include "middleware/receivers/ReceiverSettings.h"

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
           Row{{{"notes", withTime}}, std::nullopt, "not a frequency"},
       }) {
    const TemporaryDirectory directory;
    for (const auto& [name, multiplex] : row.files) write(directory / (name + ".ts"), multiplex.bytes());
    const DirectoryBroadcast broadcast({.type = ReceiverType::DvbT, .directory = directory.path()});
    EXPECT_EQ(broadcast.firstTime(), row.time) << row.why;
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

TEST(Receivers, AreAnnouncedWhenTheirDirectoryAppears) {
  Middleware middleware;
  const auto later = middleware.airDirectory() / "later";
  ASSERT_EQ(middleware.start("dvb-t=file:" + later.string()), DURIX_OK);
  EXPECT_TRUE(middleware.log().events(DURIX_EVENT_RECEIVER_ON).empty());
  std::filesystem::create_directory(later);
  EXPECT_TRUE(middleware.log().waitFor(DURIX_EVENT_RECEIVER_ON));
}

}  // namespace
}  // namespace durix::test

// What people type and what it names: channels, receivers, times, option values.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "ChannelChoice.h"
#include "Failure.h"
#include "Moment.h"
#include "OptionValues.h"
#include "ReceiverChoice.h"

namespace tv {
namespace {

/// The text of the usage error that `work` ends with; empty when it does not.
template <typename Work>
std::string usageError(Work work) {
  try {
    work();
  } catch (const UsageError& error) {
    return error.what();
  }
  return {};
}

TEST(ChannelChoice, ReadsNumberThenNameThenIdentifier) {
  const std::vector<ChannelKey> channels{
      {11, 1, "Das Erste"}, {12, 2, "ZDF"}, {13, 3, "regional"}, {14, 3, "regional"}, {15, 0, "24"},
      {16, 24, "tv4"},      {17, 0, "#11"}, {18, 30, "5"},       {19, 5, "x"},        {20, 5, "y"}};
  const struct {
    const char* text;
    std::size_t place;
    const char* why;
  } rows[] = {{"1", 0, "a number"},
              {"ZDF", 1, "a name"},
              {"#14", 3, "an identifier tells equal ones apart"},
              {"24", 5, "a number goes before a name of digits"},
              {"#11", 6, "a name goes before an identifier"},
              {"5", 7, "a number of two channels gives way to an exact name"}};
  for (const auto& row : rows) EXPECT_EQ(chooseChannel(row.text, channels), row.place) << row.why;
}

TEST(ChannelChoice, RefusesWhatIsAmbiguousOrUnknownWithCandidates) {
  const std::vector<ChannelKey> channels{
      {11, 1, "Das Erste"}, {13, 3, "A"}, {14, 3, "B"}, {15, 0, "Eins"}, {16, 7, "Eins"}};
  const struct {
    const char* text;
    std::vector<const char*> told;
    const char* why;
  } rows[] = {{"3", {"2 channels", "#13", "#14"}, "a number of two channels"},
              {"Eins", {"2 channels", "#15", "#16"}, "a name of two channels"},
              {"das erste", {"no channel", "\"Das Erste\""}, "names are exact, near ones are offered"},
              {"0", {"no channel"}, "0 is no number: unnumbered channels have it"},
              {"-1", {"no channel"}, "nor is anything below"},
              {"#99", {"no channel"}, "an unknown identifier"},
              {"#", {"no channel"}, "no identifier at all"},
              {"99999999999999999999", {"no channel"}, "a number that no integer holds"},
              {"", {"no channel"}, "nothing"}};
  for (const auto& row : rows) {
    const std::string text = usageError([&] { chooseChannel(row.text, channels); });
    ASSERT_FALSE(text.empty()) << row.why;
    for (const char* part : row.told) EXPECT_NE(text.find(part), std::string::npos) << row.why << ": " << text;
  }
}

TEST(ReceiverChoice, HandsOnTypeSourceAndOptions) {
  const struct {
    const char* text;
    const char* escaped;
    const char* why;
  } rows[] = {{"dvb-t=file:/air", "dvb-t=file:/air", "as it stands"},
              {"dvb-s=file:/air,time=stream,tuners=2", "dvb-s=file:/air,time=stream,tuners=2", "options in order"},
              {"dvb-c=file:/my air", "dvb-c=file:/my%20air", "a blank would end the receiver"},
              {"dvb-c=file:/a,b", "dvb-c=file:/a%2Cb", "a comma of the path is no option"},
              {"atsc=file:/100%", "atsc=file:/100%25", "the escape itself"},
              {"isdb-t=udp:/streams.txt", "isdb-t=udp:/streams.txt", "network streams"}};
  for (const auto& row : rows) EXPECT_EQ(readReceiver(row.text).escaped(), row.escaped) << row.why;
}

TEST(ReceiverChoice, ReadsTheEnvironmentsList) {
  const std::vector<ReceiverChoice> list = readReceiverList("  dvb-t=file:/my%20air  dvb-t=file:/b%2,tuners=2 ");
  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list[0].path, "/my air");
  EXPECT_EQ(list[1].path, "/b%2") << "a sign that escapes nothing stands for itself";
  EXPECT_EQ(list[1].options, std::vector<std::string>{"tuners=2"});
  EXPECT_TRUE(readReceiverList("").empty());
}

TEST(ReceiverChoice, RefusesWhatCannotBeMeant) {
  const struct {
    const char* text;
    const char* told;
  } rows[] = {{"", "TYPE=SOURCE"},
              {"dvb-t", "TYPE=SOURCE"},
              {"dvb-t=/air", "TYPE=SOURCE"},
              {"dvb-x=file:/air", "no type \"dvb-x\""},
              {"DVB-T=file:/air", "no type \"DVB-T\""},
              {"dvb-t=http://x", "a source is"},
              {"dvb-t=file:", "names no place"},
              {"dvb-t=file:,time=now", "names no place"},
              {"dvb-t=file:/air,time=later", "no option \"time=later\""},
              {"dvb-t=file:/air,colour=red", "no option \"colour=red\""},
              {"dvb-t=file:/air,tuners=0", "1 to 16"},
              {"dvb-t=file:/air,tuners=17", "1 to 16"},
              {"dvb-t=file:/air,tuners=2x", "1 to 16"},
              {"dvb-t=file:/air,tuners=", "1 to 16"}};
  for (const auto& row : rows) {
    const std::string text = usageError([&] { readReceiver(row.text); });
    EXPECT_NE(text.find(row.told), std::string::npos) << row.text << ": " << text;
  }
  const std::vector<ReceiverChoice> mixed = readReceiverList("dvb-t=file:/a dvb-c=file:/b");
  EXPECT_NE(usageError([&] { requireOneType(mixed); }).find("dvb-t and dvb-c"), std::string::npos);
}

class Moments : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
  }
  void TearDown() override {
    unsetenv("TZ");
    tzset();
  }
  // Saturday, 30 March 2024, 20:00 CET; the clocks go forward at 02:00 of the next day.
  static constexpr std::int64_t EVENING = 1711825200;
};

TEST_F(Moments, AreReadInLocalTime) {
  const struct {
    const char* text;
    std::int64_t time;
    const char* why;
  } rows[] = {{"20:30", EVENING + 30 * 60, "still to come today"},
              {"20:00", EVENING + 23 * 3600, "the present minute is past; the next day has 23 hours"},
              {"6:15", EVENING + 9 * 3600 + 15 * 60, "one digit for the hour, after the change"},
              {"2024-03-30T20:00", EVENING, "a date"},
              {"2024-07-01T12:00", 1719828000, "summer time"},
              {"1711825200", EVENING, "seconds since the epoch"},
              {"0", 0, "the epoch itself"}};
  for (const auto& row : rows) EXPECT_EQ(readMoment(row.text, EVENING), row.time) << row.why;
}

TEST_F(Moments, ThatAreNoneAreRefused) {
  for (const char* text :
       {"", "noon", "24:00", "12:60", "12:5", "2024-02-30T12:00", "2024-13-01T12:00", "2024-01-00T12:00",
        "2024-01-01T24:00", "2024-01-01", "-5", "12:00Z", "99999999999999999999"}) {
    EXPECT_NE(usageError([&] { readMoment(text, EVENING); }).find("no time"), std::string::npos) << text;
  }
}

TEST_F(Moments, AreShownWithTheirDateWhenItIsAnotherDay) {
  EXPECT_EQ(momentText(EVENING + 3600, EVENING), "21:00");
  EXPECT_EQ(momentText(EVENING + 4 * 3600, EVENING), "2024-03-31 00:00");
  EXPECT_EQ(momentText(EVENING - 366 * 86400, EVENING), "2023-03-30 21:00") << "the same day of another year";
}

TEST(OptionValues, AreHeldAgainstTypeAndPossibleValues) {
  Option flag;
  flag.init(OPTION_BOOL, OPTION_CATEGORY_CHANNELS, "o", "flag", "", false);
  Option number;
  number.init(OPTION_INTEGER, OPTION_CATEGORY_PLAYBACK, "o", "number", "", false);
  Option listed;
  listed.init(OPTION_INTEGER, OPTION_CATEGORY_PLAYBACK, "o", "listed", "", false);
  listed.setPossibleIntValuesList({30, 60});
  Option language;
  language.init(OPTION_TEXT_LIST, OPTION_CATEGORY_LANGUAGE, "o", "language", "", false);
  language.setPossibleStringValuesList({"eng", "deu", "eng"});
  Option open;
  open.init(OPTION_TEXT_LIST, OPTION_CATEGORY_LANGUAGE, "o", "open", "", false);
  Option action;
  action.init(OPTION_ACTION, OPTION_CATEGORY_CHANNELS, "o", "action", "", false);
  const struct {
    const Option& option;
    const char* value;
    bool fits;
    const char* why;
  } rows[] = {{flag, "true", true, ""},
              {flag, "yes", false, "only true and false"},
              {flag, "", false, "nothing is no truth"},
              {number, "90", true, ""},
              {number, "90 minutes", false, "a number and nothing else"},
              {number, "-1", false, "no length is negative"},
              {number, "4294967296", false, "more than an integer holds"},
              {listed, "60", true, ""},
              {listed, "90", false, "not on the list"},
              {language, "deu", true, ""},
              {language, "DEU", false, "values are exact"},
              {open, "anything", true, "no list, no limit"},
              {action, "now", false, "an action has no value"}};
  for (const auto& row : rows) {
    EXPECT_EQ(valueFault(row.option, row.value).empty(), row.fits) << row.option.getId() << " " << row.value << row.why;
  }
  EXPECT_EQ(possibleValues(language), (std::vector<std::string>{"eng", "deu"})) << "each once";
}

}  // namespace
}  // namespace tv

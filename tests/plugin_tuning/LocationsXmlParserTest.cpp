#include "LocationsXmlParser.h"

#include <gtest/gtest.h>

#include <memory>

#include "ScriptedPlatform.h"

namespace {

class LocationsXmlParserTest : public testing::Test {
 protected:
  /// The first location of a file with this text below `locations`.
  std::unique_ptr<BCLocation> firstLocation(const std::string& locations) {
    const std::string path = writeFile("parser.xml", "<locations>" + locations + "</locations>");
    std::unique_ptr<BCLocation> first;
    for (BCLocation* location : parser.createBCLocations(path)) {
      std::unique_ptr<BCLocation> owned(location);
      if (first == nullptr) first = std::move(owned);
    }
    return first;
  }

  ScriptedPlatform platform;
  LocationsXmlParser parser;
};

std::string described(const durix_scan_configuration& configuration) {
  std::string text;
  for (std::uint32_t i = 0; i < configuration.count; ++i) {
    const durix_scan_frequency& f = configuration.frequencies[i];
    for (const std::int32_t field :
         {f.frequency, f.bandwidth, f.symbol_rate, f.modulation, f.orbital_position, f.fec}) {
      text += std::to_string(field) + "/";
    }
    text += std::to_string(f.polarisation) + " ";
  }
  return text;
}

TEST_F(LocationsXmlParserTest, ReadsFrequenciesInDocumentOrder) {
  struct Row {
    const char* reason;
    const char* frequencies;
    const char* expected;
  };
  const Row rows[] = {
      {"every attribute",
       R"(<frequencies orbitalposition="192"><single frequency="11778000" bandwidth="8" symbolrate="27500000" fec="91"
          polarisation="V" modulation="8PSK"/></frequencies>)",
       "11778000/8/27500000/27/192/14/2 "},
      {"no attribute", "<frequencies><single/></frequencies>", "0/0/-1/-1/-1/-1/-1 "},
      {"unknown words, and text for numbers",
       R"(<frequencies orbitalposition="east"><single frequency="x" bandwidth="y" symbolrate="z" fec="11"
          polarisation="h" modulation="64qam"/></frequencies>)",
       "0/0/-1/-1/-1/-1/-1 "},
      {"a range opens in its place, its end included",
       R"(<frequencies><single frequency="5"/><range start="10" end="30" step="10" modulation="RF"/><other/>
          <single frequency="6"/></frequencies>)",
       "5/0/-1/-1/-1/-1/-1 10/0/-1/28/-1/-1/-1 20/0/-1/28/-1/-1/-1 30/0/-1/28/-1/-1/-1 6/0/-1/-1/-1/-1/-1 "},
      {"ranges without end or step, or that end before they start",
       R"(<frequencies><range start="1" end="9"/><range start="1" step="1"/><range start="9" end="8" step="1"/>
          <range start="0" end="9" step="0"/></frequencies>)",
       ""},
      {"a range stops at the largest number",
       R"(<frequencies><range start="4294967290" end="4294967296" step="4"/></frequencies>)",
       "-6/0/-1/-1/-1/-1/-1 -2/0/-1/-1/-1/-1/-1 "},
      {"numbers beyond 32 bits are the largest, negative ones wrap",
       R"(<frequencies><single frequency="4294967296" bandwidth="-2"/></frequencies>)", "-1/-2/-1/-1/-1/-1/-1 "},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    const auto location = firstLocation(std::string("<location><name>A</name>") + row.frequencies + "</location>");
    ASSERT_NE(location, nullptr);
    ASSERT_TRUE(parser.parseBCLocationData(location.get()));
    EXPECT_EQ(described(*location->scanConfiguration), row.expected);
    location->releaseScanConfiguration();
    EXPECT_EQ(platform.take(), Lines());
  }
}

TEST_F(LocationsXmlParserTest, SaysWhyALocationCannotBeScanned) {
  struct Row {
    const char* reason;
    std::string file;  // when the frequencies are asked for
    Lines lines;
    bool attached;
  };
  const std::string parse = "ERR Could not parse location A data";
  const std::string find = "ERR Could not find location A";
  const Row rows[] = {
      {"no location any more", "<locations><place/></locations>", {parse, find}, true},
      {"another root", "<places/>", {parse, find}, true},
      {"the name with another receiver",
       "<locations><location><name>A</name><type>DVB-C</type></location></locations>",
       {find},
       true},
      {"a child that is no location",
       "<locations><location/><place><name>A</name><frequencies/></place></locations>",
       {find},
       true},
      {"no frequencies", "<locations><location><name>A</name></location></locations>", {parse}, true},
      {"more frequencies than memory",
       R"(<locations><location><name>A</name><frequencies><range start="0" end="4294967295" step="1"/></frequencies>
          </location></locations>)",
       {parse},
       true},
      {"not XML", "<locations", {"ERR Could not load location file: @, error Failed to read Element name"}, false},
      {"no end of nesting",
       std::string("<locations><!-- <x> ' -->") +
           [] {
             std::string deep;
             for (int i = 0; i < 100000; ++i) deep += "<a b='/>'>";
             return deep;
           }(),
       {"ERR Could not load location file: @, error elements are nested too deep"},
       false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    const auto location = firstLocation("<location><name>A</name></location>");
    ASSERT_NE(location, nullptr);
    writeFile("parser.xml", row.file);
    EXPECT_FALSE(parser.parseBCLocationData(location.get()));
    Lines expected = row.lines;
    if (const auto at = expected[0].find('@'); at != std::string::npos) expected[0].replace(at, 1, location->filePath);
    EXPECT_EQ(platform.take(), expected);
    ASSERT_EQ(location->scanConfiguration != nullptr, row.attached);
    if (row.attached) {
      EXPECT_EQ(location->scanConfiguration->count, 0U);
    }
    location->releaseScanConfiguration();
  }
  EXPECT_FALSE(parser.parseBCLocationData(nullptr));
  EXPECT_EQ(platform.take(), Lines{"ERR Location not created!"});
}

TEST_F(LocationsXmlParserTest, ReplacesTheConfigurationWhenAskedAgain) {
  const auto location = firstLocation("<location><name>A</name><frequencies><single/></frequencies></location>");
  ASSERT_TRUE(parser.parseBCLocationData(location.get()));
  ASSERT_TRUE(parser.parseBCLocationData(location.get()));
  platform.hasMemory = false;
  EXPECT_FALSE(parser.parseBCLocationData(location.get()));
  EXPECT_EQ(location->scanConfiguration, nullptr);
}

TEST_F(LocationsXmlParserTest, KeepsNamedChildrenWithTheirReceiver) {
  struct Row {
    const char* reason;
    const char* locations;
    const char* name;  // null: nothing is kept
    ReceiverType type;
  };
  const Row rows[] = {
      {"an empty name", "<location><name/></location>", nullptr, RECEIVER_NONE},
      {"no location beside the other child", "<meta><name>A</name></meta>", nullptr, RECEIVER_NONE},
      {"any child counts once there is a location", "<meta><name>A</name></meta><location/>", "A", RECEIVER_NONE},
      {"comments and text are no elements", "<!--name-->name<location><!--name--><name>A</name></location>", "A",
       RECEIVER_NONE},
      {"an unknown receiver", "<location><name>A</name><type>dvb-t</type></location>", "A", RECEIVER_NONE},
      {"the word may stand anywhere", "<location><name>A</name><type>new ISDBT here</type></location>", "A",
       RECEIVER_ISDB_T},
      {"the order of the words is that of the table", "<location><name>A</name><type>ATSC DVB-S</type></location>", "A",
       RECEIVER_DVB_S},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    const auto location = firstLocation(row.locations);
    ASSERT_EQ(location != nullptr, row.name != nullptr);
    if (location == nullptr) continue;
    EXPECT_EQ(location->name, row.name);
    EXPECT_EQ(location->type, row.type);
  }
}

}  // namespace

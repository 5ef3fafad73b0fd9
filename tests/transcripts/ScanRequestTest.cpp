#include <gtest/gtest.h>

#include <filesystem>
#include <utility>

#include "Stage.h"
#include "velmora/Option.h"

namespace {

/// Three places, each with its own number of frequencies.
constexpr const char* PLACES = R"(<locations>
  <location><name>Air</name><icon>air.png</icon><type>DVB-T</type>
    <frequencies><range start="474000000" end="482000000" step="8000000"/></frequencies></location>
  <location><name>Cable</name><icon>cable.png</icon><type>DVB-C</type>
    <frequencies><single/><single/><single/></frequencies></location>
  <location><name>Bare</name><type>ATSC</type></location></locations>)";

const durix_scan_configuration NOTHING{0, nullptr};

/// A request for "Cable" through the plugin, by the receiver that it takes.
Lines requestLines(const char* chosen, const std::string& start) {
  Lines lines{"INFO requestSpecificDiscover UI, trying location = Cable"};
  if (*chosen != '\0') lines.push_back("INFO requestDiscover:: scan conf set location = " + std::string(chosen));
  if (start.empty()) return lines;
  for (const std::string& line : {std::string("WARN discover::"), std::string("durix_recorder_deactivate(null)"),
                                  "durix_discover_start(" + start + ")",
                                  std::string("INFO discover() started succesfull"), std::string("> state 4")}) {
    lines.push_back(line);
  }
  return lines;
}

TEST(RequestDiscover, TakesTheReceiverOfTheFirstThatIsKnown) {
  struct Row {
    const char* reason;
    std::vector<std::uint32_t> providers;  // receiver types, identities from 1
    std::vector<std::uint32_t> receivers;  // announced one after the other
    std::map<std::string, durix_return_code> failing;
    bool isStarted;
    Lines lines;
  };
  const std::vector<Row> rows = {
      {"no provider: the receiver announced last", {}, {1, 2}, {}, true, requestLines("Cable", "1,2,3,0")},
      {"the matched one, in the list but not active",
       {2},
       {2, 1},
       {{"durix_provider_activate", 1}, {"durix_services_get", 1}},
       true,
       requestLines("Cable", "1,2,3,0")},
      {"providers, but none of them chosen: the receiver again", {3}, {1}, {}, true, requestLines("Air", "1,1,2,0")},
      {"none that suits", {3}, {5}, {}, false, requestLines("", "")},
      {"providers, none of them chosen, no receiver that has a protocol", {3}, {0}, {}, false, {}},
  };
  for (const Row& row : rows) {
    Stage stage;
    stage.addLocations("places.xml", PLACES);
    std::uint32_t identity = 0;
    for (const std::uint32_t type : row.providers) stage.addProvider(++identity, 1, type);
    stage.failing = row.failing;
    BroadcastPlugin* const plugin = stage.startedPlugin();
    for (const std::uint32_t type : row.receivers) stage.receiverOn(type == 0 ? 0 : 1, type);
    stage.drop();
    EXPECT_EQ(plugin->requestDiscover("Cable", false), row.isStarted) << row.reason;
    EXPECT_EQ(asText(stage.take()), asText(row.lines)) << row.reason;
  }
}

TEST(RequestDiscover, TakesTheReceiverOfTheActiveProvider) {
  Stage stage;
  stage.addLocations("places.xml", PLACES);
  stage.addProvider(7, 1, 2);
  stage.addService(11, "One", 1, 1);
  BroadcastPlugin* const plugin = stage.startedPlugin();
  stage.receiverOn(1, 2);
  stage.receiverOn(1, 1);  // fits no provider; the active one stays
  stage.drop();
  EXPECT_TRUE(plugin->requestDiscover("Cable", true));
  const Lines lines = stage.take();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "durix_discover_start(1,2,3,1)"), 1) << asText(lines);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "durix_provider_deactivate(provider 7)"), 0)
      << "only an active plugin gives its providers up, and this one has a scan pending";
}

TEST(RequestDiscover, OfAUserWaitsForAReceiver) {
  Stage stage;
  stage.addLocations("places.xml", PLACES);
  BroadcastPlugin* const plugin = stage.startedPlugin();
  EXPECT_FALSE(plugin->requestDiscover("Cable", false));
  EXPECT_EQ(asText(stage.take()), asText(requestLines("Cable", "")));
  stage.receiverOn(1, 2);
  EXPECT_EQ(asText(stage.take()), expected("receiver_after_request"));
  EXPECT_EQ(plugin->getState(), PLUGIN_DISCOVERING);
}

TEST(RequestDiscover, WithoutANameTakesTheLocationOption) {
  Stage stage;
  stage.addLocations("places.xml", PLACES);
  BroadcastPlugin* const plugin = stage.startedPlugin();
  Option* const option = plugin->getOptions()->front()->getOption("settings.option.id.location");
  stage.receiverOn(1, 2);
  stage.drop();
  option->setValue("Cable");
  EXPECT_EQ(stage.take(), Lines{"INFO New scan conf set location = Cable"});
  EXPECT_TRUE(plugin->requestDiscover("", false));
  EXPECT_EQ(asText(stage.take()), asText(requestLines("Cable", "1,2,3,0")));
}

TEST(Locations, AreOfferedAndFilteredByReceiver) {
  Stage stage;
  stage.addLocations("broken.xml", "<locations><location>");
  stage.addLocations("places.xml", PLACES);
  stage.addLocations("fullscan-c.xml",
                     "<locations><location><name>Full Scan</name><icon>f</icon></location></locations>");
  const std::string directory = stage.library + "/locations/";
  BroadcastPlugin* const plugin = stage.plugin();
  plugin->init("/data", stage.library.c_str());
  Lines lines = stage.take();
  std::erase_if(lines, [](const std::string& line) {
    return line.find("ocation") == std::string::npos && line.find("LOCATION") == std::string::npos;
  });
  ASSERT_EQ(lines.size(), 7U) << asText(lines);
  EXPECT_TRUE(lines[2].starts_with("INFO _locations push = Full Scan"));
  EXPECT_TRUE(lines[3].starts_with("ERR Could not load location file: " + directory + "broken.xml, error "));
  lines.erase(lines.begin() + 3);
  EXPECT_EQ(lines, (Lines{"INFO loadLocationFileNames " + directory, "INFO LOCATION_FULL_SCAN found",
                          "INFO _locations push = Full Scan", "INFO _locations push = Air",
                          "INFO _locations push = Cable", "INFO _locations push = Bare"}));
  const Option* const option = plugin->getOptions()->front()->getOption("settings.option.id.location");
  EXPECT_EQ(option->getPossibleStringValuesList(), (Lines{"Full Scan", "Air", "Bare", "Cable"}));
  stage.receiverOn(1, 2);
  EXPECT_EQ(option->getPossibleStringValuesList(), (Lines{"Full Scan", "Cable"}));
  EXPECT_EQ(plugin->getCountriesAndFlags(),
            (std::map<std::string, std::string>{{"Full Scan", "f"}, {"Cable", "cable.png"}}));
}

TEST(Locations, ThatCannotBeReadAreNotScanned) {
  Stage stage;
  stage.addLocations("places.xml", PLACES);
  BroadcastPlugin* const plugin = stage.startedPlugin();
  stage.receiverOn(1, 4);
  stage.drop();
  EXPECT_FALSE(plugin->requestDiscover("Bare", false));
  EXPECT_EQ(stage.take().back(), "ERR Could not parse location Bare data");
  // The empty frequency list of the failed try is scanned the next time.
  stage.failing = {{"durix_discover_start", 1}};
  EXPECT_FALSE(plugin->requestDiscover("Bare", false));
  const Lines lines = stage.take();
  EXPECT_EQ(Lines(lines.end() - 2, lines.end()),
            (Lines{"durix_discover_start(1,4,0,0)", "INFO discover() start failed"}));
  stage.receiverOn(1, 1);
  std::filesystem::remove_all(stage.library + "/locations");
  stage.drop();
  EXPECT_FALSE(plugin->requestDiscover("Air", false));
  EXPECT_TRUE(stage.take().back().starts_with("ERR Could not load location file: " + stage.library));
}

TEST(Scan, GoesOnOverProvidersThatDoNotLetGo) {
  Stage stage;
  stage.addProvider(7, 1, 2);
  stage.addProvider(8, 1, 1);
  stage.addService(11, "One", 1, 1);
  stage.failing = {{"durix_provider_deactivate(provider 7)", 1}, {"durix_provider_unmount(provider 8)", 1}};
  BroadcastPlugin* const plugin = stage.startedPlugin();
  stage.receiverOn();
  stage.drop();
  EXPECT_TRUE(plugin->discover(&NOTHING, BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T, false));
  EXPECT_EQ(asText(stage.take()), expected("scan_with_stubborn_providers"));
}

TEST(Scan, CanBeCancelled) {
  Stage stage;
  BroadcastPlugin* const plugin = stage.startedPlugin();
  EXPECT_TRUE(plugin->discover_cancel());
  EXPECT_EQ(stage.take(), (Lines{"durix_discover_cancel()", "INFO discover_cancel() succefull"}));
  stage.failing = {{"durix_discover_cancel", 1}};
  EXPECT_FALSE(plugin->discover_cancel());
  EXPECT_EQ(stage.take(), (Lines{"durix_discover_cancel()", "INFO discover() failed"}));
}

TEST(Scan, ThatIsOverBeforeItsStartReturnsEndsAfterTheStart) {
  Stage stage;
  stage.addProvider(1);
  stage.addService(11, "One", 1, 1);
  stage.during["durix_discover_start"] = [&] { stage.scanFinished({"One"}); };
  BroadcastPlugin* const plugin = stage.startedPlugin();
  stage.receiverOn();
  stage.drop();
  EXPECT_TRUE(plugin->discover("", BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T, true));
  const Lines lines = stage.take();
  const auto started = std::find(lines.begin(), lines.end(), "> state 4");
  const auto finished = std::find(lines.begin(), lines.end(), "INFO DURIX_EVENT_DISCOVER_FINISHED");
  EXPECT_LT(started, finished);
  EXPECT_EQ(lines.back(), "> state 3");
  EXPECT_EQ(plugin->getServices().size(), 1U);
}

TEST(Scan, ThatTakesTheProviderAwayFromAFinishedOneFailsIt) {
  Stage stage;
  stage.addProvider(1);
  BroadcastPlugin* const plugin = stage.startedPlugin();
  stage.receiverOn();
  stage.drop();
  bool isFirst = true;
  stage.during["durix_provider_mount"] = [&] {
    if (std::exchange(isFirst, false)) plugin->discover("", BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T, true);
  };
  stage.scanFinished({});
  const Lines lines = stage.take();
  EXPECT_EQ(Lines(lines.end() - 3, lines.end()),
            (Lines{"ERR providerActivate failed", "> discover finished=1 success=0 100% 0 0 []", "> state 1"}));
}

}  // namespace

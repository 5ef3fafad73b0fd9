#include "tuning/LocationCatalogue.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "ScriptedPlatform.h"

namespace {

ostiv_directory_entry entry(std::uint32_t type, const std::string& name) {
  ostiv_directory_entry made{};
  made.type = type;
  name.copy(made.name, sizeof made.name);
  return made;
}

std::string location(const std::string& name, const std::string& icon, const std::string& type) {
  return "<location><name>" + name + "</name><icon>" + icon + "</icon><type>" + type +
         "</type><frequencies><single/></frequencies></location>";
}

/// Two files: "b" is there for two receivers and twice for one of them.
class LocationCatalogueTest : public testing::Test {
 protected:
  LocationCatalogueTest() {
    catalogue.loadLocationFromXml(writeFile(
        "one.xml", "<locations>" + location("b", "b1", "DVB-C") + location("Full Scan", "f", "any") + "</locations>"));
    catalogue.loadLocationFromXml(writeFile("two.xml", "<locations>" + location("b", "b2", "DVB-T") +
                                                           location("A", "a", "DVB-T") + location("b", "b3", "DVB-T") +
                                                           "</locations>"));
  }

  std::string iconNamed(const std::string& name, ReceiverType type) {
    const BCLocation* const found = catalogue.findNamed(name, type);
    return found == nullptr ? "none" : found->icon;
  }

  ScriptedPlatform platform;
  LocationCatalogue catalogue;
};

TEST_F(LocationCatalogueTest, ListsLocationFilesWithTheFullScansFirst) {
  platform.take();
  platform.listing = {entry(2, "se.xml"),
                      entry(2, "fullscan-t.xml"),
                      entry(2, "SE.XML"),
                      entry(1, "dir.xml"),
                      entry(2, "xml"),
                      entry(2, ".xml"),
                      entry(2, "fullscan"),
                      entry(2, "no.xml.bak"),
                      entry(2, std::string(251, 'x') + ".xml"),
                      entry(2, "a.fullscan.xml")};
  const std::string directory = "/library/locations/";
  EXPECT_EQ(catalogue.loadLocationFileNames(), (Lines{directory + "fullscan-t.xml", directory + "se.xml",
                                                      directory + ".xml", directory + "a.fullscan.xml"}));
  EXPECT_EQ(platform.take(), (Lines{"INFO loadLocationFileNames " + directory, "INFO LOCATION_FULL_SCAN found"}));
}

TEST_F(LocationCatalogueTest, OffersEachNameOnceWithTheFirstIcon) {
  EXPECT_EQ(platform.take(),
            (Lines{"INFO _locations push = b", "INFO _locations push = Full Scan", "INFO _locations push = A"}));
  EXPECT_EQ(catalogue.locationNames(), (Lines{"Full Scan", "A", "b"}));
  EXPECT_EQ(catalogue.getCountriesAndFlags().at("b"), "b1");
}

TEST_F(LocationCatalogueTest, OffersWhatSuitsTheReceiver) {
  EXPECT_EQ(catalogue.filterForReceiver(RECEIVER_DVB_T), (Lines{"Full Scan", "A", "b", "b"}));
  EXPECT_EQ(catalogue.getCountriesAndFlags().at("b"), "b2");
  EXPECT_EQ(catalogue.filterForReceiver(RECEIVER_DVB_S), Lines{"Full Scan"});
  EXPECT_EQ(catalogue.locationNames(), Lines{"Full Scan"});
  EXPECT_EQ(catalogue.getCountriesAndFlags().size(), 1U);
}

TEST_F(LocationCatalogueTest, FindsLocationsInLoadOrderWhateverIsOffered) {
  catalogue.filterForReceiver(RECEIVER_ATSC);
  struct Row {
    const char* reason;
    const char* name;
    ReceiverType type;
    const char* icon;
  };
  const Row rows[] = {{"the first of name and receiver", "b", RECEIVER_DVB_T, "b2"},
                      {"any receiver takes the first of the name", "b", RECEIVER_NONE, "b1"},
                      {"a location for any receiver suits all", "Full Scan", RECEIVER_DVB_S, "f"},
                      {"the name for another receiver", "A", RECEIVER_DVB_C, "none"},
                      {"case counts", "a", RECEIVER_DVB_T, "none"}};
  for (const Row& row : rows) EXPECT_EQ(iconNamed(row.name, row.type), row.icon) << row.reason;
  EXPECT_EQ(catalogue.findSuitable(RECEIVER_DVB_C)->icon, "b1");
  EXPECT_EQ(catalogue.findSuitable(RECEIVER_NONE)->icon, "f");  // only a location of type 0 suits no receiver
  Lines icons;
  catalogue.forEachNamed("b", [&](const BCLocation* found) { icons.push_back(found->icon); });
  EXPECT_EQ(icons, (Lines{"b1", "b2", "b3"}));
}

TEST_F(LocationCatalogueTest, ParsesFrequenciesOnce) {
  BCLocation* const found = catalogue.findNamed("A", RECEIVER_NONE);
  ASSERT_TRUE(catalogue.loadScanConfigurationFromXml(found));
  writeFile("two.xml", "");
  EXPECT_TRUE(catalogue.loadScanConfigurationFromXml(found));
  EXPECT_EQ(found->scanConfiguration->count, 1U);

  writeFile("one.xml", "<locations/>");
  BCLocation* const gone = catalogue.findNamed("Full Scan", RECEIVER_NONE);
  EXPECT_FALSE(catalogue.loadScanConfigurationFromXml(gone));
  // The empty configuration of the failed try counts from here on.
  EXPECT_TRUE(catalogue.loadScanConfigurationFromXml(gone));
  EXPECT_EQ(gone->scanConfiguration->count, 0U);
}

TEST_F(LocationCatalogueTest, ForgetsEverythingAtTheEnd) {
  catalogue.loadScanConfigurationFromXml(catalogue.findNamed("A", RECEIVER_NONE));
  catalogue.clear();
  EXPECT_TRUE(catalogue.empty());
  EXPECT_TRUE(catalogue.locationNames().empty());
  EXPECT_TRUE(catalogue.getCountriesAndFlags().empty());
  EXPECT_EQ(platform.liveAllocations(), 0);
}

TEST(LocationSorterTest, OrdersNames) {
  Lines names{"b", "\xC3\x96sterreich", "Full Scan", "full scan", "A", "Zypern", "ab", "Full Scan"};
  std::sort(names.begin(), names.end(), LocationCatalogue::locationSorter);
  EXPECT_EQ(names, (Lines{"Full Scan", "Full Scan", "A", "ab", "b", "full scan", "Zypern", "\xC3\x96sterreich"}));
}

}  // namespace

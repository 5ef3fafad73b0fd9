#include <gtest/gtest.h>

#include "ScriptedPlatform.h"

namespace {

TEST(FirstRequestTest, StartsAScanOnceTheUserHasAskedAndAReceiverIsReady) {
  ScriptedPlatform platform;
  ScriptedPlugin plugin;
  ProviderRegistry providers(plugin);
  LocationCatalogue locations;
  locations.loadLocationFromXml(
      writeFile("first.xml", "<locations><location><name>A</name><frequencies/></location></locations>"));
  ChannelScan early(providers, locations, plugin);
  // A location that the settings chose does not stand for a request.
  early.setCurrentScanConfiguration(locations.findNamed("A", RECEIVER_NONE));
  EXPECT_FALSE(early.requestDiscover("RECEIVER_READY", true));
  EXPECT_TRUE(early.requestDiscover("A", true)) << "the receiver was announced before";

  ChannelScan late(providers, locations, plugin);
  platform.take();
  EXPECT_FALSE(late.requestDiscover("A", true));
  EXPECT_EQ(late.currentScanConfiguration()->name, "A");
  EXPECT_TRUE(late.requestDiscover("RECEIVER_READY", true));
  EXPECT_EQ(platform.take(), (Lines{"INFO requestSpecificDiscover UI, trying location = A",
                                    "INFO requestDiscover:: scan conf set location = A",
                                    "INFO requestSpecificDiscover VM, location = RECEIVER_READY",
                                    "discover 0 frequencies, protocol 1, receiver 1, flag"}));

  ChannelScan again(providers, locations, plugin);
  again.setCurrentScanConfiguration(late.currentScanConfiguration());
  EXPECT_TRUE(again.requestDiscover("RECEIVER_READY", true)) << "a request holds for the process, not for one plugin";
}

}  // namespace

#include "tuning/ChannelScan.h"

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <thread>

#include "ScriptedPlatform.h"

namespace {

class ChannelScanTest : public testing::Test {
 protected:
  ChannelScanTest() {
    platform.providers = {{1, 2, 7, nullptr, {}}, {1, 3, 8, nullptr, {}}};
    locations.loadLocationFromXml(writeFile("scan.xml", R"(<locations>
        <location><name>T</name><type>DVB-T</type><frequencies><single/></frequencies></location>
        <location><name>C</name><type>DVB-C</type><frequencies><single/><single/></frequencies></location>
        <location><name>Broken</name><type>ATSC</type></location></locations>)"));
    scan.setReceiverReady();
    platform.take();
  }

  ScriptedPlatform platform;
  ScriptedPlugin plugin;
  ProviderRegistry providers{plugin};
  LocationCatalogue locations;
  ChannelScan scan{providers, locations, plugin};
};

TEST_F(ChannelScanTest, TakesTheReceiverOfTheProviderInUse) {
  ASSERT_TRUE(providers.fetchProviders());
  BroadcastProvider gone({1, 4, 9, nullptr, {}});
  BroadcastProvider* const cable = providers.providers()[0];
  BroadcastProvider* const satellite = providers.providers()[1];
  struct Row {
    const char* reason;
    BroadcastProvider* active;
    BroadcastProvider* matched;
    BroadcastProtocolType announced;
    const char* scanned;  // empty: none
  };
  const Row rows[] = {
      {"the active one", cable, satellite, BROADCAST_PROTOCOL_NONE, "discover 2 frequencies, protocol 1, receiver 2"},
      {"the matched one when the active one is gone", &gone, cable, BROADCAST_PROTOCOL_NONE,
       "discover 2 frequencies, protocol 1, receiver 2"},
      {"the announced receiver", &gone, &gone, BROADCAST_PROTOCOL_DVB,
       "discover 1 frequencies, protocol 1, receiver 1"},
      {"nothing to go by", nullptr, nullptr, BROADCAST_PROTOCOL_NONE, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    providers.setActive(row.active);
    providers.setMatched(row.matched);
    plugin.protocol = row.announced;
    platform.take();
    EXPECT_EQ(scan.requestDiscover("anywhere", false), *row.scanned != '\0');
    const Lines lines = platform.take();
    EXPECT_EQ(lines.empty() ? "" : lines.back(), row.scanned);
  }
}

TEST_F(ChannelScanTest, ChoosesALocationThatTheReceiverCanReceive) {
  struct Row {
    const char* reason;
    const char* asked;
    const char* option;
    const char* chosen;  // null: none
    ReceiverType receiver;
    bool started;
  };
  const Row rows[] = {
      {"by name", "C", "T", "C", RECEIVER_DVB_C, true},
      {"a name for another receiver", "C", "", "T", RECEIVER_DVB_T, true},
      {"no name: the option's", "", "C", "C", RECEIVER_DVB_C, true},
      {"any receiver takes every name", "T", "", "T", RECEIVER_NONE, true},
      {"nothing suits the receiver", "T", "", nullptr, RECEIVER_DVB_S, false},
      {"a location without frequencies", "Broken", "", "Broken", RECEIVER_ATSC, false},
      {"it is chosen all the same, and nothing is left to scan", "Broken", "", "Broken", RECEIVER_ATSC, true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    plugin.option = row.option;
    EXPECT_EQ(scan.requestSpecificDiscover(row.asked, BROADCAST_PROTOCOL_DVB, row.receiver, true), row.started);
    const BCLocation* const chosen = scan.currentScanConfiguration();
    ASSERT_EQ(chosen != nullptr, row.chosen != nullptr);
    if (chosen != nullptr) {
      EXPECT_EQ(chosen->name, row.chosen);
    }
  }
}

TEST_F(ChannelScanTest, TakesTheRunningServicesDownInOrder) {
  ASSERT_TRUE(providers.fetchProviders());
  providers.setActive(providers.providers()[0]);
  providers.setMatched(providers.providers()[0]);
  plugin.state = PLUGIN_ACTIVE;
  platform.failing = {{"durix_provider_unmount(provider 7)", 1}, {"durix_provider_deactivate(provider 8)", 1}};
  platform.take();
  const durix_scan_configuration nothing{0, nullptr};
  EXPECT_TRUE(scan.discover(&nothing, BROADCAST_PROTOCOL_DVB, static_cast<ReceiverType>(6), true));
  EXPECT_EQ(platform.take(), (Lines{"WARN discover::",
                                    "deactivateRecorder",
                                    "disableUpdater",
                                    "joinUpdater",
                                    "clearNotificationTimer",
                                    "dropUpdateNotices",
                                    "clearNotifier",
                                    "durix_provider_deactivate(provider 7)",
                                    "INFO deactivate Successfull",
                                    "durix_provider_unmount(provider 7)",
                                    "INFO unmount Failed",
                                    "ERR providerUnmount failed",
                                    "state 1",
                                    "durix_provider_deactivate(provider 8)",
                                    "INFO deactivate Failed",
                                    "ERR providerDeactivate failed",
                                    "state 1",
                                    "durix_provider_unmount(provider 8)",
                                    "INFO unmount Successfull",
                                    "durix_discover_start(1,0,0,1)",
                                    "INFO discover() started succesfull",
                                    "state 4",
                                    "stopRecommendations",
                                    "deleteAll",
                                    "removeReminders"}));
  EXPECT_EQ(providers.active(), nullptr);
  EXPECT_EQ(providers.matched(), nullptr);
}

TEST_F(ChannelScanTest, HoldsTheEndOfAScanBackUntilItsStartIsDone) {
  std::mutex mutex;
  Lines order;  // guarded by mutex
  const auto note = [&](const char* what) {
    const std::lock_guard<std::mutex> lock(mutex);
    order.emplace_back(what);
  };
  std::thread handler;
  plugin.onDeleteAll = [&] {
    EXPECT_TRUE(scan.deferWhileStarting([&] { note("own event"); })) << "from inside the start itself";
    handler = std::thread([&] {
      EXPECT_FALSE(scan.deferWhileStarting([] {})) << "it waits instead";
      note("handler");
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    note("start");
  };
  const durix_scan_configuration nothing{0, nullptr};
  EXPECT_TRUE(scan.discover(&nothing, BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T, true));
  handler.join();
  EXPECT_EQ(order.front(), "start");
  EXPECT_EQ(order.size(), 3U);
}

}  // namespace

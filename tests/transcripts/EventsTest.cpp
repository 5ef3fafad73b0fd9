#include <gtest/gtest.h>

#include "Stage.h"
#include "velmora/Velmora.h"

namespace {

TEST(ReceiverOn, AsksForAScanWithoutProviders) {
  Stage stage;
  stage.startedPlugin();
  stage.receiverOn();
  EXPECT_EQ(asText(stage.take()), expected("receiver_without_providers"));
}

TEST(ReceiverOn, AsksForAScanWhenNoProviderFits) {
  Stage stage;
  stage.addProvider(1, 1, 2);
  stage.startedPlugin();
  stage.receiverOn();
  EXPECT_EQ(asText(stage.take()), expected("receiver_without_fitting_provider"));
}

TEST(ReceiverOn, ActivatesAProviderWithServices) {
  Stage stage;
  stage.addProvider(1);
  stage.addService(11, "One", 1, 1);
  stage.addService(12, "Radio", 2, 7);
  stage.addService(13, "Data", 3, 9);
  BroadcastPlugin* const plugin = stage.startedPlugin();
  stage.receiverOn();
  EXPECT_EQ(asText(stage.take()), expected("receiver_with_services"));
  EXPECT_EQ(plugin->getState(), PLUGIN_ACTIVE);
  // The same provider again changes nothing after the fetch.
  stage.receiverOn();
  EXPECT_EQ(asText(stage.take()), expected("receiver_again"));
}

TEST(ReceiverOn, LooksBehindTheHideOptions) {
  Stage stage;
  stage.addProvider(1);
  stage.hiddenServices = {{1, 11, 0}};
  stage.numbers[{11, DURIX_ATTRIBUTE_STREAM_TYPES}] = 1;
  stage.startedPlugin();
  stage.receiverOn();
  EXPECT_EQ(asText(stage.take()), expected("receiver_with_hidden_services"));
}

TEST(ReceiverOn, UnmountsAProviderWithoutServices) {
  Stage stage;
  stage.addProvider(1);
  stage.failing = {{"durix_provider_mount", 1}, {"durix_provider_unmount", 1}};
  stage.startedPlugin();
  stage.receiverOn();
  EXPECT_EQ(asText(stage.take()), expected("receiver_with_empty_provider"));
}

TEST(ReceiverOn, EndsInErrorWhenActivationFails) {
  Stage stage;
  stage.addProvider(1);
  stage.addService(11, "One", 1, 1);
  stage.failing = {{"durix_provider_activate", 1}};
  BroadcastPlugin* const plugin = stage.startedPlugin();
  stage.receiverOn();
  const Lines lines = stage.take();
  EXPECT_EQ(lines[lines.size() - 2], "ERR providerActivate failed");
  EXPECT_EQ(lines.back(), "> state 1");
  EXPECT_EQ(plugin->getState(), PLUGIN_ERROR);
}

TEST(ReceiverOff, LeavesThePluginInactive) {
  Stage stage;
  stage.addProvider(1);
  stage.addService(11, "One", 1, 1);
  BroadcastPlugin* const plugin = stage.startedPlugin();
  stage.receiverOn();
  stage.receiverOn();
  stage.drop();
  stage.deliver(Event(DURIX_EVENT_RECEIVER_OFF));
  EXPECT_EQ(stage.take(), (Lines{"INFO DURIX_EVENT_RECEIVER_OFF", "> state 2"}));
  // On again with the provider that is active: stated to change nothing, so the plugin stays inactive.
  stage.receiverOn();
  EXPECT_EQ(plugin->getState(), PLUGIN_INACTIVE);
}

TEST(Scan, RunsFromTheUsersRequestToTheChannelList) {
  Stage stage;
  stage.addProvider(1);
  stage.addService(11, "One", 1, 2);
  stage.addService(12, "Two", 1, 1);
  BroadcastPlugin* const plugin = stage.startedPlugin();
  stage.receiverOn();
  stage.drop();
  EXPECT_TRUE(plugin->discover("anywhere", BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T, true));
  EXPECT_EQ(asText(stage.take()), expected("scan_start"));
  EXPECT_EQ(plugin->getServices(), std::vector<Service*>{});
  EXPECT_TRUE(plugin->discover("again", BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T, true));
  EXPECT_EQ(stage.take(), (Lines{"WARN discover:: THIS SHOULD NOT BE CALLED, INSTEAD USE requestDiscover = again",
                                 "INFO State()==PLUGIN_DISCOVERING"}));
  stage.deliver(Event(DURIX_EVENT_SERVICES_CHANGED));
  EXPECT_EQ(stage.take(), Lines{}) << "changed services are not looked at during a scan";

  Event progress(DURIX_EVENT_DISCOVER_PROGRESS);
  progress.put(DURIX_OFFSET_DISCOVER_PROGRESS, 40U).put(DURIX_OFFSET_DISCOVER_FREQUENCY, 474000000U);
  progress.put(DURIX_OFFSET_DISCOVER_VALID, 1U).put(DURIX_OFFSET_DISCOVER_SERVICE_COUNT, 1U);
  progress.text(DURIX_OFFSET_DISCOVER_SERVICE_NAMES, std::string(40, 'x'));  // no NUL in its 32 bytes
  stage.deliver(progress);
  const std::string name(32, 'x');
  EXPECT_EQ(
      stage.take(),
      (Lines{"INFO DURIX_EVENT_DISCOVER_PROGRESS progress = 40, frequency = 474000000, valid = 1, service_count = 1",
             "INFO service_names[0] = " + name, "> discover finished=0 success=1 40% 474000000 1 [" + name + "]"}));
  stage.scanFinished({"One", "Two"});
  EXPECT_EQ(asText(stage.take()), expected("scan_finished"));
  EXPECT_EQ(plugin->getState(), PLUGIN_ACTIVE);
}

TEST(Scan, TellsOfAFailedStart) {
  Stage stage;
  BroadcastPlugin* const plugin = stage.startedPlugin();
  stage.failing = {{"durix_discover_start", 1}};
  EXPECT_FALSE(plugin->discover("x", BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T, true));
  EXPECT_EQ(stage.take().back(), "INFO discover() start failed");
  EXPECT_EQ(plugin->getState(), PLUGIN_INACTIVE);
}

TEST(Scan, EndsInErrorWithoutAProvider) {
  struct Row {
    const char* failing;
    const char* line;
  };
  for (const Row& row :
       {Row{"durix_providers_get", "ERR init_provider failed"}, Row{"durix_provider_mount", "ERR init_provider failed"},
        Row{"durix_provider_activate", "ERR providerActivate failed"}}) {
    Stage stage;
    stage.startedPlugin();
    stage.receiverOn();
    stage.addProvider(1);
    stage.failing = {{row.failing, 1}};
    stage.drop();
    stage.scanFinished({"One"});
    const Lines lines = stage.take();
    ASSERT_GE(lines.size(), 3U) << row.failing;
    EXPECT_EQ(Lines(lines.end() - 3, lines.end()),
              (Lines{row.line, "> discover finished=1 success=0 100% 0 1 [One]", "> state 1"}))
        << row.failing;
  }
}

TEST(Events, AreLoggedByNameOnly) {
  Stage stage;
  stage.startedPlugin();
  const std::vector<std::pair<std::uint32_t, std::string>> rows = {
      {4, "DURIX_EVENT_RECEIVER_LOCK"},           {5, "DURIX_EVENT_RECEIVER_LOCK_LOST"},
      {10, "DURIX_EVENT_PROVIDERS_CHANGED"},      {11, "DURIX_EVENT_SERVICE_SELECTED"},
      {12, "DURIX_EVENT_STREAM_TIME_AVAILABLE"},  {13, "DURIX_EVENT_CURRENT_PROGRAM"},
      {14, "DURIX_EVENT_INTERACTIVITY_RECEIVED"}, {15, "DURIX_EVENT_INTERACTIVITY_EXPIRED"}};
  for (const auto& [id, name] : rows) {
    stage.deliver(Event(id));
    EXPECT_EQ(stage.take(), Lines{"INFO " + name});
  }
  for (const std::uint32_t id : {8U, 19U, 22U, 23U, 24U, 25U}) {
    stage.deliver(Event(id));
    EXPECT_EQ(stage.take(), Lines{}) << id;
  }
}

TEST(Events, CarryStatisticsToTheHost) {
  Stage stage;
  stage.startedPlugin();
  Event event(DURIX_EVENT_RECEIVER_STATISTICS);
  event.put(DURIX_OFFSET_STATISTICS_FREQUENCY, 474000000U).put(DURIX_OFFSET_STATISTICS_BANDWIDTH, 8000000U);
  event.put(DURIX_OFFSET_STATISTICS_SIGNAL_AVAILABLE, 1U).put(DURIX_OFFSET_STATISTICS_SIGNAL_LOCKED, 5U);
  event.put(DURIX_OFFSET_STATISTICS_SIGNAL_QUALITY, std::uint8_t{77});
  event.put(DURIX_OFFSET_STATISTICS_SIGNAL_STRENGTH, std::uint8_t{66});
  event.text(DURIX_OFFSET_STATISTICS_SNR, "30 dB").text(DURIX_OFFSET_STATISTICS_BER, std::string(256, 'b'));
  event.text(DURIX_OFFSET_STATISTICS_PER, "p").text(DURIX_OFFSET_STATISTICS_MFER, "m");
  event.put(DURIX_OFFSET_STATISTICS_BATTERY_LEVEL, std::uint8_t{42});
  stage.deliver(event);
  const Lines lines = stage.take();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_NE(lines[0].find("frequency = 474000000, bandwidth = 8000000, signal_available = 1, signal_locked = 5, "
                          "signal_quality = 77, signal_strength = 66, snr = 30 dB, ber = " +
                          std::string(256, 'b') + ", per = p, mfer = m, battery_level = 42"),
            std::string::npos)
      << lines[0];
  EXPECT_EQ(lines[1], "> statistics 474000000 8000000 1 77 42");
}

TEST(Events, OfPlayersReachListenersAndPlayers) {
  Stage stage;
  stage.startedPlugin();
  struct Row {
    std::uint32_t id;
    std::size_t offset;
    Lines lines;
  };
  const std::vector<Row> rows = {
      {38, 8, {"INFO DURIX_PLAYER_EVENT_STARTED", "> player 1 0", "INFO sendNotifyPlayer isStarted 1, hasError 0"}},
      {39, 8, {"INFO DURIX_PLAYER_EVENT_CLOSED", "> player 0 0", "INFO sendNotifyPlayer isStarted 0, hasError 0"}},
      {40, 8, {"INFO DURIX_PLAYER_EVENT_FAILED", "> player 0 1", "INFO sendNotifyPlayer isStarted 0, hasError 1"}},
      {41,
       4,
       {"INFO DURIX_PLAYER_EVENT_END_OF_MEDIA", "> player 0 0", "INFO sendNotifyPlayer isStarted 0, hasError 0"}}};
  for (const Row& row : rows) {
    stage.deliver(Event(row.id).put<const void*>(row.offset, &row));
    EXPECT_EQ(stage.take(), row.lines);
  }
}

TEST(Events, OfTheGuideCountInAnActivePluginOnly) {
  Stage stage;
  stage.startedPlugin();
  stage.deliver(Event(DURIX_EVENT_PROGRAM_EVENTS_CHANGED));
  EXPECT_EQ(stage.take(), Lines{"WARN RECEIVED DURIX_EVENT_PROGRAM_EVENTS_CHANGED BUT PLUGIN IS NOT ACTIVE, IGNORING"});
  stage.plugin()->update();
  stage.drop();
  stage.deliver(Event(DURIX_EVENT_PROGRAM_EVENTS_CHANGED));
  EXPECT_EQ(stage.take(), Lines{"INFO DURIX_EVENT_PROGRAM_EVENTS_CHANGED"});
}

TEST(Events, OfChangedServicesReloadTheList) {
  Stage stage;
  stage.startedPlugin();
  stage.deliver(Event(DURIX_EVENT_SERVICES_CHANGED));
  EXPECT_EQ(stage.take(),
            (Lines{"INFO DURIX_EVENT_SERVICES_CHANGED", "ERR Could not get durix provider!", "> services []"}));
}

TEST(Properties, AreSetByNameAndRefreshTheGuide) {
  Stage stage;
  BroadcastPlugin* const plugin = stage.startedPlugin();
  OptionGroup* const group = plugin->getOptions()->front();
  stage.drop();
  group->getOption("settings.option.id.hide.radio")->setValue(true);
  group->getOption("settings.option.id.hide.protected")->setValue(false);
  group->getOption("settings.option.id.esg.language")->setValue("deu");
  group->getOption("settings.option.id.audio.language")->setValue("deu");
  EXPECT_EQ(stage.take(), (Lines{"durix_property_set(15,true)", "durix_property_set(14,false)",
                                 "durix_property_set(1,deu)", "durix_property_set(2,deu)"}));
  plugin->setRecordingsPath("/recordings");
  EXPECT_EQ(stage.take(), Lines{"durix_property_set(11,/recordings)"});
  plugin->setRecordingsPath(nullptr);
  EXPECT_EQ(stage.take(), Lines{"ERR setRecordingsPath, failed to set path"});
  stage.failing = {{"durix_property_set", 1}};
  plugin->setRecordingsPath("/full");
  EXPECT_EQ(stage.take().back(), "ERR setRecordingsPath, failed to set path");
}

TEST(Properties, OfTheHostReachTheMiddleware) {
  Stage stage;
  stage.startedPlugin();
  struct Row {
    const char* name;
    Lines lines;
  };
  for (const Row& row : {Row{"plugin.broadcast.receiver_address", {"durix_property_set(20,v)"}},
                         Row{"plugin.broadcast.esg_update", {"durix_property_set(16,v)"}},
                         Row{"plugin.broadcast.receiver_address.esg_update", {"durix_property_set(20,v)"}},
                         Row{"plugin.broadcast.other", {}}, Row{"plugin.other.receiver_address", {}}}) {
    Velmora::getInstance()->setProperty(row.name, "");
    stage.drop();
    Velmora::getInstance()->setProperty(row.name, "v");
    EXPECT_EQ(stage.take(), row.lines) << row.name;
  }
}

}  // namespace

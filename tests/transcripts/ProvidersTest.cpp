#include <gtest/gtest.h>

#include "BroadcastPluginImpl.h"
#include "Stage.h"

namespace {

TEST(Providers, AreActivatedOverOneAnother) {
  Stage stage;
  stage.addProvider(1, 1, 1);
  stage.addProvider(2, 1, 2);
  stage.addService(11, "One", 1, 1);
  BroadcastPlugin* const plugin = stage.startedPlugin();
  stage.receiverOn(1, 1);
  const std::vector<Service*> services = plugin->getServices();
  stage.drop();
  // The first is neither deactivated nor unmounted, the recorder stays with it, and its services stay.
  stage.receiverOn(1, 2);
  EXPECT_EQ(asText(stage.take()), expected("receiver_of_another_provider"));
  EXPECT_EQ(plugin->getServices(), services);
}

TEST(Providers, MatchedLastIsKeptWhenNoneFits) {
  Stage stage;
  stage.addProvider(2, 1, 2);
  stage.addService(11, "One", 1, 1);
  stage.failing = {{"durix_provider_activate", 1}};
  stage.startedPlugin();
  stage.receiverOn(1, 2);
  stage.receiverOn(1, 1);
  stage.failing = {};
  stage.drop();
  stage.scanFinished({});  // takes the matched one, without asking whether it fits the receiver
  const Lines lines = stage.take();
  EXPECT_EQ(Lines(lines.begin() + 1, lines.begin() + 4),
            (Lines{"durix_providers_get()", "INFO durix_providers_get(num_durix_providers = 1) Successfull",
                   "durix_provider_mount(provider 2)"}));
}

TEST(Middleware, ThatHandsOutNullHasNothing) {
  struct Row {
    const char* call;
    const char* line;  // that follows from it
  };
  for (const Row& row : {Row{"durix_providers_get", "INFO durix_providers_get(num_durix_providers = 0) Failed"},
                         Row{"durix_services_get", "INFO No services, unmounting provider"},
                         Row{"durix_attribute_get_array_int", "INFO getServices() number of services = 0"},
                         Row{"durix_recorder_list_timers", "INFO Recorder initialized ok."}}) {
    Stage stage;
    stage.addProvider(1);
    stage.addService(11, "One", 1, 1);
    stage.emptyHanded = {row.call};
    stage.startedPlugin();
    stage.receiverOn();
    const Lines lines = stage.take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), row.line), 1) << row.call << "\n" << asText(lines);
    stage.close();
    EXPECT_EQ(stage.liveAllocations(), 0) << row.call;
  }
}

TEST(Devices, AreAskedForOnce) {
  Stage stage;
  BroadcastPlugin* const plugin = stage.plugin();
  stage.drop();
  EXPECT_TRUE(plugin->getDevices().empty());
  EXPECT_EQ(stage.take(), Lines{"ERR Invalid durix handle"});
  stage.startedPlugin();
  stage.failing = {{"durix_device_get", 1}};
  EXPECT_TRUE(plugin->getDevices().empty());
  EXPECT_EQ(stage.take(), (Lines{"durix_device_get()", "ERR Could not get devices"}));
  stage.failing = {};
  stage.emptyHanded = {"durix_device_get"};
  EXPECT_TRUE(plugin->getDevices().empty());
  stage.emptyHanded = {};
  stage.drop();
  const std::vector<Device*> devices = plugin->getDevices();
  EXPECT_EQ(devices.size(), 1U);
  EXPECT_EQ(plugin->getDevices(), devices);
  EXPECT_EQ(stage.take(), Lines{"durix_device_get()"});
}

TEST(Devices, OfTheReceiverAreReachedByWiFiOrNot) {
  Stage stage;
  auto* const plugin = static_cast<BroadcastPluginImpl*>(stage.startedPlugin());
  EXPECT_EQ(plugin->getTunerType(), "");
  for (const char* type : {"Wi-Fi", "wi-fi", "Wi-Fi 6", ""}) {
    stage.properties[DURIX_PROPERTY_CONNECTION_TYPE] = type;
    EXPECT_EQ(plugin->getTunerType(), std::string(type) == "Wi-Fi" ? "Wi-Fi" : "") << type;
  }
  stage.emptyHanded = {"durix_property_get"};
  EXPECT_EQ(plugin->getTunerType(), "");
  EXPECT_EQ(stage.take(), Lines(6, "durix_property_get(19)"));
}

TEST(Properties, StartTheHideOptions) {
  struct Row {
    const char* hidden;  // of both properties; null: unset
    bool hidesProtected;
    bool hidesRadio;
  };
  for (const Row& row : {Row{nullptr, true, false}, Row{"true", true, true}, Row{"false", false, false},
                         Row{"", true, false}, Row{"TRUE", false, true}}) {
    Stage stage;
    if (row.hidden != nullptr) {
      stage.properties = {{DURIX_PROPERTY_HIDE_PROTECTED, row.hidden}, {DURIX_PROPERTY_HIDE_RADIO, row.hidden}};
    }
    OptionGroup* const group = stage.startedPlugin()->getOptions()->front();
    EXPECT_EQ(group->getOption("settings.option.id.hide.protected")->getBooleanValue(), row.hidesProtected);
    EXPECT_EQ(group->getOption("settings.option.id.hide.radio")->getBooleanValue(), row.hidesRadio);
  }
}

TEST(Properties, RefreshTheGuideInSomeStates) {
  Stage stage;
  stage.addProvider(1);
  stage.addService(11, "One", 1, 1);
  stage.events[11] = {{2, 500, 0}};
  auto* const plugin = static_cast<BroadcastPluginImpl*>(stage.startedPlugin());
  stage.receiverOn();
  while (plugin->getPrograms().empty()) std::this_thread::yield();
  struct Row {
    const char* name;
    PluginState state;
    bool refreshes;
  };
  for (const Row& row : {Row{"settings.option.id.hide.radio", PLUGIN_ERROR, false},
                         Row{"settings.option.id.hide.radio", PLUGIN_INACTIVE, true},
                         Row{"settings.option.id.hide.radio", PLUGIN_ACTIVE, true},
                         Row{"settings.option.id.hide.radio", PLUGIN_DISCOVERING, false},
                         Row{"settings.option.id.hide.radio", PLUGIN_DISCOVER_PENDING, true},
                         Row{"settings.option.id.hide.protected", PLUGIN_ACTIVE, true},
                         Row{"settings.option.id.esg.language", PLUGIN_ACTIVE, true},
                         Row{"record.all.audio.channels", PLUGIN_ACTIVE, true},
                         Row{"settings.option.id.audio.language", PLUGIN_ACTIVE, false}}) {
    Program* const program = plugin->getPrograms().front();
    program->setTitle("kept");
    plugin->setState(row.state);
    plugin->setDurixProperty(row.name, "x");
    EXPECT_EQ(program->Content::getTitle(), row.refreshes ? "unknown_program_title" : "kept")
        << row.name << " in state " << row.state;
  }
  stage.drop();
  plugin->setDurixProperty("other", "x");
  EXPECT_EQ(stage.take(), Lines{"INFO setDurixProperty: unknown property other"});
}

}  // namespace

#include <gtest/gtest.h>

#include "BroadcastPluginImpl.h"
#include "ProgramImpl.h"
#include "ServiceImpl.h"
#include "Stage.h"

namespace {

class Channels : public testing::Test {
 protected:
  /// The scripted services as an active plugin shows them, once its first pass for programmes has asked for all.
  std::vector<Service*> load() {
    stage.addProvider(1);
    plugin = static_cast<BroadcastPluginImpl*>(stage.startedPlugin());
    stage.receiverOn();
    const std::vector<Service*> services = plugin->getServices();
    std::size_t asked = 0;
    while (asked < services.size()) {
      for (const std::string& line : stage.takeOfOtherThreads()) {
        if (line.ends_with("has no programs")) ++asked;
      }
      std::this_thread::yield();
    }
    stage.drop();
    return services;
  }
  Lines names() {
    Lines all;
    for (Service* const service : plugin->getServices()) all.push_back(service->getName());
    return all;
  }

  Stage stage;
  BroadcastPluginImpl* plugin = nullptr;
};

TEST_F(Channels, AreReloadedWithFewReads) {
  stage.addService(11, "News", 1, 3);
  stage.addService(12, "News", 1, 4);
  stage.addService(13, "", 1, 5);
  stage.addService(14, "Mixed", 0, 6);
  stage.arrays[{14, DURIX_ATTRIBUTE_STREAM_TYPES}] = {7, 1};
  stage.addService(15, "Data", 9, 1);
  stage.numbers[{12, DURIX_ATTRIBUTE_QUALITY}] = 3;
  stage.numbers[{12, DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID}] = 9;
  load();
  stage.addService(16, "News", 1, 1);
  stage.files["service_order.dat"] = "13\n12.9\n";
  stage.deliver(Event(DURIX_EVENT_SERVICES_CHANGED));
  EXPECT_EQ(asText(stage.take()), expected("channels_reloaded"));
  EXPECT_EQ(plugin->getService("News", 0)->getId(), 12U) << "the best of the name";
  EXPECT_EQ(plugin->getService("News", 8), nullptr);
  stage.drop();

  stage.failing = {{"durix_services_get", 7}};
  stage.deliver(Event(DURIX_EVENT_SERVICES_CHANGED));
  EXPECT_EQ(asText(stage.take()), expected("channels_refused")) << "what there was stays";
  EXPECT_EQ(stage.openFiles, 0);
}

TEST_F(Channels, AreGoneWithTheirProvider) {
  plugin = static_cast<BroadcastPluginImpl*>(stage.startedPlugin());
  plugin->setServiceDataValid(false);
  EXPECT_EQ(names(), Lines{});
  EXPECT_EQ(stage.take(),
            Lines{"ERR GetServices No providers ! getServices should not be called before notifyPlugin() !"});
  EXPECT_FALSE(plugin->isServiceDataValid());

  stage.addService(11, "One", 1, 1);
  load();
  stage.providers.clear();
  stage.addProvider(2);
  plugin->fetchProviders();
  stage.drop();
  EXPECT_EQ(names(), Lines{"One"}) << "valid still";
  plugin->setServiceDataValid(false);
  EXPECT_EQ(names(), Lines{});
  EXPECT_EQ(names(), Lines{}) << "an empty list is a valid one";
  EXPECT_EQ(stage.take(), (Lines{"ERR Could not get durix provider!", "INFO getServices() number of services = 0"}));
  EXPECT_TRUE(plugin->serviceExists(11));
}

TEST_F(Channels, KeepTheUsersOrderInAFile) {
  constexpr std::uint32_t LARGE = 0x80000001;
  stage.addService(11, "One", 1, 1);
  stage.addService(12, "Two", 1, 2);
  stage.addService(LARGE, "Three", 1, 3);
  stage.numbers[{11, DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID}] = 5;
  stage.numbers[{LARGE, DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID}] = -1;
  const std::vector<Service*> services = load();
  plugin->setServiceOrder({services[2], nullptr, services[0]});
  EXPECT_EQ(stage.take(),
            (Lines{"ostiv_file_open(service_order.dat,w)", "durix_attribute_get_int(2147483649.48)",
                   "ostiv_file_write(-2147483647.-1)", "durix_attribute_get_int(11.48)", "ostiv_file_write(11.5)"}));
  EXPECT_EQ(stage.files["service_order.dat"], "-2147483647.-1\n11.5\n");
  EXPECT_EQ(names(), (Lines{"One", "Two", "Three"})) << "not before the next reload";
  plugin->updateServiceList();
  EXPECT_EQ(names(), (Lines{"Three", "One", "Two"}));
  stage.drop();

  stage.failing = {{"durix_attribute_get_int(11.48)", 1}};
  plugin->setServiceOrder({services[0]});
  EXPECT_EQ(stage.take(), (Lines{"ostiv_file_open(service_order.dat,w)", "durix_attribute_get_int(11.48)",
                                 "ERR durix_attribute_get_int(48) Failed", "ostiv_file_write(11.0)"}));
  stage.failing = {{"ostiv_file_open", 1}};
  plugin->setServiceOrder(services);
  EXPECT_EQ(stage.take(),
            (Lines{"ostiv_file_open(service_order.dat,w)", "ERR Error while creating service_order.dat"}));
  plugin->setServiceOrder({});
  EXPECT_EQ(stage.files["service_order.dat"], "11.0\n");
  stage.failing = {};
  plugin->setServiceOrder({});
  EXPECT_EQ(stage.files["service_order.dat"], "") << "an empty order is one too";
  EXPECT_EQ(stage.openFiles, 0);
}

TEST_F(Channels, ThatCannotBeReceivedTogetherAreNotPlayable) {
  for (std::uint32_t id = 11; id < 15; ++id) {
    stage.addService(id, id == 13 ? "S12" : "S" + std::to_string(id), 1, static_cast<int>(id));
    stage.numbers[{id, DURIX_ATTRIBUTE_SOURCE_ID}] = static_cast<int>(id);
  }
  const std::vector<Service*> services = load();
  const auto playable = [&] {
    Lines all;
    for (Service* const service : services) all.push_back(service->isPlayable() ? "yes" : "no");
    return all;
  };
  const auto sources = [](const Lines& ids) {
    Lines lines;
    for (const std::string& id : ids) lines.push_back("durix_attribute_get_int(" + id + ".36)");
    return lines;
  };
  const auto conflictLines = [&](const std::vector<Service*>& selected) {
    plugin->getConflicting(selected);
    return stage.take();
  };
  Lines expectedLines = sources({"11", "11", "12", "13", "14"});  // the hidden double too
  expectedLines.emplace_back("INFO getConflicting(): 3 conflicts found");
  EXPECT_EQ(conflictLines({services[0]}), expectedLines);
  EXPECT_EQ(conflictLines({}), Lines{"INFO getConflicting(): 0 conflicts found"});

  plugin->setPlayableStatus({services[0]});
  Lines lines = stage.take();
  EXPECT_EQ(Lines(lines.begin(), lines.begin() + 6), expectedLines);
  EXPECT_EQ(lines[6], "INFO getting services for the provider = Network") << "then the list is reloaded";
  EXPECT_EQ(lines.back(), "> services [S11,S12,S14]");
  EXPECT_EQ(playable(), (Lines{"yes", "no", "no"}));
  plugin->setPlayableStatus({services[1]});
  EXPECT_EQ(playable(), (Lines{"no", "no", "no"})) << "what is not in conflict keeps what it had";
  stage.drop();
  plugin->setPlayableStatus({});
  EXPECT_EQ(stage.take().front(), "INFO getting services for the provider = Network");
  EXPECT_EQ(playable(), (Lines{"yes", "yes", "yes"}));

  stage.failing = {{"durix_attribute_get_int(13.36)", 1}};
  lines = conflictLines({services[0]});
  EXPECT_EQ(Lines(lines.begin() + 3, lines.end()),
            (Lines{"durix_attribute_get_int(13.36)", "ERR Could not get service source",
                   "durix_attribute_get_int(14.36)", "INFO getConflicting(): 2 conflicts found"}));
  stage.failing = {{"durix_attribute_get_int(11.36)", 1}};
  EXPECT_EQ(conflictLines({services[0], services[1]}),
            (Lines{"durix_attribute_get_int(11.36)", "ERR Could not get service source"}));
  stage.failing = {};
  stage.receiverOn();
  stage.drop();
  Lines free = sources({"11"});
  free.emplace_back("INFO getConflicting(): 0 conflicts found");
  EXPECT_EQ(conflictLines({services[0]}), free) << "a second receiver is left";
}

TEST_F(Channels, RefreshTheTextsOfTheirProgrammes) {
  stage.addService(11, "One", 1, 1);
  stage.addService(12, "One", 1, 2);
  load();
  auto* const shown = dynamic_cast<ServiceImpl*>(plugin->getServices().front());
  stage.texts[{101, DURIX_ATTRIBUTE_NAME}] = "Film";
  auto* const program = new ProgramImpl({2, 101, 0}, shown, plugin);
  shown->addProgram(program);
  EXPECT_EQ(program->getTitle(), "Film");
  stage.drop();
  plugin->flush();
  EXPECT_EQ(program->Content::getTitle(), "unknown_program_title");
  EXPECT_EQ(program->Content::getDescription(), "unknown_program_title");
  EXPECT_EQ(program->getTitle(), "Film") << "what was read of the event stays";
  EXPECT_EQ(stage.take(), Lines{});
}

}  // namespace

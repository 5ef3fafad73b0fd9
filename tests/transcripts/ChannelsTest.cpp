#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

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

/// Writes what `item` gives into the transcript.
class Reader {
 public:
  explicit Reader(Stage& stage) : _stage(stage) {}

  void read(ServiceImpl& service) const {
    for (int round = 0; round < 2; ++round) {
      tell("name", service.getName());
      tell("title", service.getTitle());
      tell("number", service.getChannelNumber());
      tell("quality", service.getQuality());
      tell("rating", service.getParentalRating()->getValue());
    }
    tell("type", service.getStreamType());
    tell("protected", service.isProtected() ? "yes" : "no");
    tell("service id", service.getServiceId());
    tell("network", service.getOriginalNetwork());
    tell("source", service.getSourceID());
    tell("protocol", service.getProtocolType());
    tell("feeds", ids(service.getFeeds()));
    tell("URI", service.getUri());
    tell("logo", service.hasResource(0) ? "yes" : "no");
    tell("other resource", service.hasResource(1) ? "yes" : "no");
    tell("logo", uriOf(service.getResource(0)));
    tell("other resource", uriOf(service.getResource(1)));
  }
  void read(ProgramImpl& program) const {
    for (int round = 0; round < 2; ++round) {
      tell("title", program.getTitle());
      tell("description", program.getDescription());
      tell("start", program.getStartTime());
      tell("end", program.getEndTime());
      tell("start", program.getStartTimeT());
      tell("end", program.getEndTimeT());
      tell("rating", program.getParentalRating()->getValue());
    }
    tell("genres", static_cast<int>(program.getGenres().size()));
    tell("feeds", ids(program.getFeeds()));
    program.reset();
    tell("title", program.getTitle());
  }

 private:
  static std::string uriOf(const Resource* resource) { return resource == nullptr ? "none" : resource->getUri(); }
  static std::string ids(const std::vector<durix_esg_object>& objects) {
    std::string all;
    for (const durix_esg_object& object : objects) all += (all.empty() ? "" : ",") + std::to_string(object.id);
    return all;
  }
  void tell(const std::string& what, const std::string& value) const { _stage.note("= " + what + " [" + value + "]"); }
  void tell(const std::string& what, int value) const { tell(what, std::to_string(value)); }

  Stage& _stage;
};

const std::map<std::string, durix_return_code> EVERY_READ = {
    {"durix_attribute_get_str", 4},       {"durix_attribute_get_int", 4},    {"durix_attribute_get_bool", 4},
    {"durix_attribute_get_array_int", 4}, {"durix_esg_object_feeds_get", 4}, {"durix_property_get", 4}};

void setProgram(Stage& stage, std::uint32_t id) {
  stage.texts[{id, DURIX_ATTRIBUTE_NAME}] = "Film";
  stage.texts[{id, DURIX_ATTRIBUTE_DESCRIPTION}] = "About";
  stage.texts[{id, DURIX_ATTRIBUTE_START_TIME_STR}] = "2013-05-07T20:15:00";
  stage.texts[{id, DURIX_ATTRIBUTE_END_TIME_STR}] = "2013-05-07T22:00:00";
  stage.numbers[{id, DURIX_ATTRIBUTE_START_TIME}] = 1367957700;
  stage.numbers[{id, DURIX_ATTRIBUTE_END_TIME}] = 1367964000;
  stage.texts[{id, DURIX_ATTRIBUTE_PARENTAL_RATING}] = "0";
  stage.texts[{id, DURIX_ATTRIBUTE_GENRE}] = "Drama";
  stage.feeds[id] = {{3, 7, 0}, {3, 6, 0}};
}

TEST(Attributes, OfServicesAreReadAndKept) {
  Stage stage;
  auto* const plugin = stage.startedPlugin();
  stage.addService(50, "One", 2, 6);
  stage.numbers[{50, DURIX_ATTRIBUTE_QUALITY}] = 40;
  stage.numbers[{50, DURIX_ATTRIBUTE_PROTECTED}] = 1;
  stage.numbers[{50, DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID}] = 9;
  stage.numbers[{50, DURIX_ATTRIBUTE_SOURCE_ID}] = 8;
  stage.texts[{50, DURIX_ATTRIBUTE_PARENTAL_RATING}] = "12+";
  stage.texts[{50, DURIX_ATTRIBUTE_SERVICE_ID}] = "77";
  stage.texts[{50, DURIX_ATTRIBUTE_LOGO_URI}] = "logo.png";
  stage.properties[DURIX_PROPERTY_PROTOCOL_TYPE] = "DVB";
  stage.feeds[50] = {{3, 501, 0}, {3, 500, 0}};
  stage.texts[{501, DURIX_ATTRIBUTE_URI}] = "dvb://1";
  ServiceImpl service({1, 50, 0}, plugin);
  Reader(stage).read(service);
  EXPECT_EQ(asText(stage.take()), expected("service_read"));
}

TEST(Attributes, OfServicesThatAreRefusedAreNeutral) {
  Stage stage;
  auto* const plugin = stage.startedPlugin();
  stage.failing = EVERY_READ;
  ServiceImpl service({1, 50, 0}, plugin);
  Reader(stage).read(service);
  EXPECT_EQ(asText(stage.take()), expected("service_refused"));
}

TEST(Attributes, OfProgrammesAreReadAndKept) {
  Stage stage;
  setProgram(stage, 101);
  ProgramImpl program({2, 101, 0}, nullptr, stage.startedPlugin());
  Reader(stage).read(program);
  EXPECT_EQ(asText(stage.take()), expected("programme_read"));
}

TEST(Attributes, OfProgrammesThatAreRefusedAreNeutral) {
  Stage stage;
  auto* const plugin = stage.startedPlugin();
  stage.failing = EVERY_READ;
  ProgramImpl program({2, 101, 0}, nullptr, plugin);
  Reader(stage).read(program);
  EXPECT_EQ(asText(stage.take()), expected("programme_refused"));
}

TEST(Programmes, AreSortedWhenOneWasAdded) {
  Stage stage;
  ServiceImpl service({1, 50, 0}, stage.startedPlugin());
  service.getPrograms(true);
  EXPECT_EQ(stage.take(), Lines{}) << "there is nothing to sort";
  service.update();
  service.update();
  EXPECT_EQ(stage.take(), Lines{"INFO ServiceImpl programs sort END, programList.size = 0"}) << "but it does";
  service.addProgram(new ProgramImpl({2, 101, 0}, &service, nullptr));
  service.getProgramList();
  EXPECT_EQ(stage.take(), Lines{});
  service.getCurrentPrograms();
  EXPECT_EQ(stage.take(), Lines{"durix_attribute_get_str(101.3)"}) << "in whatever order they are";
  service.getPrograms(true);
  EXPECT_EQ(stage.take(),
            (Lines{"durix_attribute_get_int(101.2)", "INFO ServiceImpl programs sort END, programList.size = 1"}));
}

TEST(Programmes, LimitWhatMayBeSeen) {
  struct Row {
    const char* own;
    Lines lines;
  };
  for (const Row& row : {Row{"7",
                             {"INFO serviceParentalValue =  7", "INFO Program", "durix_attribute_get_str(101.23)",
                              "INFO getParentalRating = 6", "INFO Program parental control = 6",
                              "INFO returning Program parental control, limit = 6"}},
                         Row{"6",
                             {"INFO serviceParentalValue =  6", "INFO Program", "durix_attribute_get_str(101.23)",
                              "INFO getParentalRating = 6", "INFO Program parental control = 6",
                              "INFO returning Service parental control, limit = 6"}},
                         Row{"",
                             {"INFO serviceParentalValue = -1", "INFO Program", "durix_attribute_get_str(101.23)",
                              "INFO getParentalRating = 6", "INFO Program parental control = 6",
                              "INFO returning Program parental control, limit = 6"}}}) {
    Stage stage;
    setProgram(stage, 101);
    stage.texts[{50, DURIX_ATTRIBUTE_PARENTAL_RATING}] = row.own;
    stage.texts[{101, DURIX_ATTRIBUTE_PARENTAL_RATING}] = "6";
    stage.time = stage.numbers[{101, DURIX_ATTRIBUTE_START_TIME}];
    ServiceImpl service({1, 50, 0}, stage.startedPlugin());
    service.addProgram(new ProgramImpl({2, 101, 0}, &service, nullptr));
    service.getCurrentProgram();
    stage.drop();
    service.getParentalRating();
    Lines lines = stage.take();
    EXPECT_EQ(lines.front(), "durix_attribute_get_str(50.23)");
    lines.erase(lines.begin());
    EXPECT_EQ(lines, row.lines);
  }
}

TEST(Attributes, AreLoggedWhereTheyBelong) {
  Stage stage;
  auto* const plugin = stage.startedPlugin();
  ServiceImpl service({1, 50, 0}, plugin);
  auto* const program = new ProgramImpl({2, 101, 0}, &service, plugin);
  setProgram(stage, 101);
  stage.texts[{101, DURIX_ATTRIBUTE_PARENTAL_RATING}] = "6";
  service.addProgram(program);
  service.update();
  stage.time = 1367957700;
  stage.numbers[{50, DURIX_ATTRIBUTE_STREAM_TYPES}] = -1;
  service.getStreamType();
  stage.texts[{50, DURIX_ATTRIBUTE_PARENTAL_RATING}] = "12";
  service.getParentalRating();
  program->getFeeds();
  stage.failing = EVERY_READ;
  service.isProtected();
  struct Row {
    const char* message;
    const char* source;
  };
  for (const Row& row : {Row{"ServiceImpl programs sort END, programList.size = 1", "ServiceImpl"},
                         Row{"Unkown Stream type", "ServiceImpl"}, Row{"serviceParentalValue =  12", "ServiceImpl"},
                         Row{"Program", "ServiceImpl"}, Row{"getParentalRating = 6", "ProgramImpl"},
                         Row{"Program parental control = 6", "ServiceImpl"},
                         Row{"returning Program parental control, limit = 6", "ServiceImpl"},
                         Row{"durix_esg_object_feeds_get numFound = 2", "ProgramImpl"},
                         Row{"durix_attribute_get_bool(21) Failed", "BroadcastPluginImpl"}}) {
    EXPECT_EQ(stage.originOf(row.message), std::string("BC_PLUGIN plugins/dvbt/src/") + row.source) << row.message;
  }
}

}  // namespace

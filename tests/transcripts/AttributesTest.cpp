#include <gtest/gtest.h>

#include <map>
#include <string>

#include "BroadcastPluginImpl.h"
#include "ProgramImpl.h"
#include "ServiceImpl.h"
#include "Stage.h"
#include "velmora/Velmora.h"

namespace {

/// Writes what a service or a programme gives into the transcript: twice what it keeps, then the rest.
class Reader {
 public:
  explicit Reader(Stage& stage) : _stage(stage) {}
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  ~Reader() { EXPECT_EQ(_stage.liveAllocations(), _held) << "what was handed out goes back"; }

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
  const int _held = _stage.liveAllocations();
};

/// Stands where the plugin's own wiring does for the services of its list.
class Wired final : public ServiceHost {
 public:
  std::string getDurixProperty(durix_property number) override {
    return BroadcastPluginImpl::peekInstance()->getDurixProperty(number);
  }
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
  Wired host;
  ServiceImpl service({1, 50, 0}, plugin, &host);
  Reader(stage).read(service);
  EXPECT_EQ(asText(stage.take()), expected("service_read"));
}

TEST(Attributes, OfServicesThatAreRefusedAreNeutral) {
  Stage stage;
  auto* const plugin = stage.startedPlugin();
  stage.failing = EVERY_READ;
  Wired host;
  ServiceImpl service({1, 50, 0}, plugin, &host);
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

#include "guide/GuideUpdater.h"

#include <gtest/gtest.h>

#include <future>
#include <limits>
#include <thread>
#include <utility>

#include "GuideMiddleware.h"
#include "ServiceImpl.h"
#include "guide/ServiceList.h"
#include "plugin_channels/TestPlugin.h"
#include "velmora/Program.h"

namespace {

using Texts = std::vector<std::string>;

std::vector<unsigned> idsOf(const std::vector<Program*>& programs) {
  std::vector<unsigned> ids;
  for (const Program* const program : programs) ids.push_back(program->getId());
  return ids;
}

/// The updater over a channel list of the middleware's services.
class GuideUpdaterTest : public testing::Test, public GuideUpdaterHost {
 protected:
  GuideUpdaterTest() { plugin.setState(PLUGIN_ACTIVE); }
  ~GuideUpdaterTest() override { updater.stopAndWait(); }

  void load() {
    services.updateServiceList();
    middleware.lines();
  }

  /// What a pass says and does.
  Texts pass() {
    updater.updatePrograms();
    return middleware.calls();
  }

  bool isClosing() override {
    if (onBody) onBody();
    return closing;
  }
  void notifyProgramUpdate(Service* service, std::vector<Program*>* programs) override {
    std::string text = "notice " + std::to_string(service->getId()) + ":";
    for (const unsigned id : idsOf(*programs)) text += " " + std::to_string(id);
    middleware.note(text);
    if (onNotice) onNotice();
  }
  void programsChanged(ServiceImpl* service) override {
    middleware.note("changed " + std::to_string(service->getId()));
  }
  VmRecommendationUpdater* recommendationUpdater() override {
    middleware.note("recommendations");
    return nullptr;
  }

  GuideMiddleware middleware;
  TestPlugin plugin;
  ServiceList& services = plugin.list;
  bool closing = false;
  std::function<void()> onNotice;
  std::function<void()> onBody;  // on the updater's thread, before the pass
  GuideUpdater updater{services, plugin, *this};
};

TEST_F(GuideUpdaterTest, MakesProgrammesOfNewEventsOnly) {
  middleware.addService(1);
  middleware.addService(2);
  middleware.addEvent(1, 12, 2000, 3000);
  middleware.addEvent(1, 11, 1000, 2000);
  load();
  EXPECT_EQ(pass(), (Texts{"durix_program_events_get(1)", "notice 1: 12 11", "changed 1", "recommendations",
                           "durix_program_events_get(2)"}));
  // The service is sorted and linked before anybody is told.
  auto* const service = dynamic_cast<ServiceImpl*>(services.services().front());
  EXPECT_EQ(idsOf(service->getProgramList()), (std::vector<unsigned>{11, 12}));
  EXPECT_EQ(service->getNextProgram(), updater.getProgram(12));
  EXPECT_EQ(pass(), (Texts{"durix_program_events_get(1)", "durix_program_events_get(2)"}))
      << "known events are left alone";

  middleware.texts[{11, DURIX_ATTRIBUTE_NAME}] = "changed";
  middleware.addEvent(1, 13, 3000, 4000);
  EXPECT_EQ(pass(), (Texts{"durix_program_events_get(1)", "notice 1: 13", "changed 1", "recommendations",
                           "durix_program_events_get(2)"}));
  EXPECT_EQ(updater.getProgram(11)->getTitle(), "P11");
}

TEST_F(GuideUpdaterTest, GoesOnAfterAServiceThatGivesNoEvents) {
  for (const std::uint32_t id : {1U, 2U, 3U}) middleware.addService(id);
  middleware.failing = {{"durix_program_events_get(2)", 9}};
  middleware.addEvent(2, 21, 0, 9);  // an array that comes with a failure is dropped, and released
  middleware.addEvent(3, 31, 0, 9);
  load();
  EXPECT_EQ(pass(), (Texts{"durix_program_events_get(1)", "durix_program_events_get(2)",
                           "ostiv_log_debug(durix_program_events_get Failed in BroadcastPluginImpl)",
                           "durix_program_events_get(3)", "notice 3: 31", "changed 3", "recommendations"}));
  EXPECT_EQ(middleware.lines(), (Texts{"WARN durix_program_events_get(serviceId = 1), has no programs",
                                       "ERR durix_program_events_get Failed, return_code = 9",
                                       "INFO ServiceImpl programs sort END, programList.size = 1"}));
}

TEST_F(GuideUpdaterTest, AsksOnlyInStatesThatHaveAGuide) {
  middleware.addService(1);
  load();
  const std::pair<PluginState, bool> rows[] = {{PLUGIN_ERROR, false},
                                               {PLUGIN_INACTIVE, false},
                                               {PLUGIN_ACTIVE, true},
                                               {PLUGIN_DISCOVERING, true},
                                               {PLUGIN_DISCOVER_PENDING, true}};
  for (const auto& [state, asks] : rows) {
    plugin.setState(state);
    EXPECT_EQ(!pass().empty(), asks) << "state " << state;
  }
}

TEST_F(GuideUpdaterTest, StopsAfterTheEventAtHandWhenDisabled) {
  middleware.addService(1);
  middleware.addService(2);
  for (const std::uint32_t id : {11U, 12U, 13U}) middleware.addEvent(1, id, static_cast<int>(id), 20);
  load();
  middleware.during["durix_attribute_get_str(12.22)"] = [this] { updater.setEnabled(false); };
  EXPECT_EQ(pass(), Texts{"durix_program_events_get(1)"}) << "no notice, and no second service";
  EXPECT_EQ(middleware.lines(), Texts{"ERR ProgramUpdater disabled when running!"});
  EXPECT_EQ(idsOf(updater.getPrograms()), (std::vector<unsigned>{11, 12})) << "what was added stays";
  updater.setEnabled(true);
  EXPECT_EQ(pass(), (Texts{"durix_program_events_get(1)", "notice 1: 13", "changed 1", "recommendations",
                           "durix_program_events_get(2)"}));
}

TEST_F(GuideUpdaterTest, LooksAtNothingOfAServiceOnceAListenerHasStoppedThePass) {
  middleware.addService(1);
  middleware.addService(2);
  middleware.addEvent(1, 11, 0, 9);
  load();
  onNotice = [this] { updater.stopAndWait(); };
  EXPECT_EQ(pass(), (Texts{"durix_program_events_get(1)", "notice 1: 11", "changed 1"}));
}

TEST_F(GuideUpdaterTest, HoldsNoLockWhileTheHostIsTold) {
  middleware.addService(1);
  middleware.addEvent(1, 11, 0, 9);
  load();
  std::vector<unsigned> seen;
  onNotice = [&] { seen = idsOf(std::async(std::launch::async, [&] { return updater.getPrograms(); }).get()); };
  pass();
  EXPECT_EQ(seen, std::vector<unsigned>{11});
}

TEST_F(GuideUpdaterTest, RunsOnePassForAllStartsUntilItIsOver) {
  middleware.addService(1);
  load();
  middleware.calls();
  std::promise<void> inBody;
  std::promise<void> goOn;
  onBody = [&, first = true]() mutable {
    if (!std::exchange(first, false)) return;
    inBody.set_value();
    goOn.get_future().wait();
  };
  updater.updateProgramList();
  updater.updateProgramList();  // the thread may not have come to its body yet
  inBody.get_future().wait();
  updater.updateProgramList();
  goOn.set_value();
  while (middleware.calls().empty()) std::this_thread::yield();
  updater.stopAndWait();
  EXPECT_EQ(middleware.calls(), Texts{});

  updater.updateProgramList();
  EXPECT_EQ(middleware.calls(), Texts{}) << "not enabled";
  for (int i = 0; i < 50; ++i) {
    updater.setEnabled(true);
    updater.updateProgramList();
    while (middleware.calls().empty()) std::this_thread::yield();  // each start after a pass gives one more
    updater.stopAndWait();
  }
  closing = true;
  updater.setEnabled(true);
  updater.updateProgramList();
  updater.stopAndWait();
  EXPECT_EQ(middleware.calls(), Texts{}) << "closing";
}

TEST_F(GuideUpdaterTest, FindsWordsInTitleAndDescription) {
  middleware.addService(1);
  middleware.addEvent(1, 11, 3000, 4000, "Late NEWS");
  middleware.addEvent(1, 12, 1000, 2000, "Film");
  middleware.addEvent(1, 13, 2000, 3000, "Weather");
  middleware.texts[{12, DURIX_ATTRIBUTE_DESCRIPTION}] = "A newsreader falls in love";
  load();
  pass();
  struct Row {
    const char* reason;
    Texts words;
    std::vector<unsigned> hits;
  };
  const Row rows[] = {{"in any case, by start time", {"News"}, {12, 11}},
                      {"each programme once", {"news", "late", "film"}, {12, 11}},
                      {"an empty word is everywhere", {""}, {12, 13, 11}},
                      {"a word of nothing", {"sport"}, {}},
                      {"no words", {}, {}}};
  for (const Row& row : rows) EXPECT_EQ(idsOf(updater.search(row.words)), row.hits) << row.reason;
  plugin.setState(PLUGIN_INACTIVE);
  EXPECT_TRUE(updater.search({"news"}).empty());
}

TEST_F(GuideUpdaterTest, GivesEachTitleItsEarliestProgramme) {
  middleware.setTime(1000);
  middleware.addService(1);
  middleware.addService(2);
  middleware.addEvent(1, 11, 500, 1500, "A");  // on air
  middleware.addEvent(1, 12, 2000, 3000, "B");
  middleware.addEvent(2, 21, 1200, 1800, "A");
  middleware.addEvent(2, 22, 1800, 2500, "a");
  middleware.addEvent(2, 23, 1000 + 86400, 90000, "Z");  // begins when the day ends
  load();
  pass();
  struct Row {
    const char* reason;
    Texts titles;
    std::vector<unsigned> result;
  };
  const Row rows[] = {{"by start time, whatever the order asked", {"B", "A"}, {11, 12}},
                      {"the current one counts twice", {"A", "A"}, {11, 11}},
                      {"a third copy goes to the next", {"A", "A", "A"}, {11, 11, 21}},
                      {"letter by letter", {"a"}, {22}},
                      {"not within a day", {"Z"}, {}}};
  for (const Row& row : rows) EXPECT_EQ(idsOf(updater.getProgramsWithTitles(row.titles)), row.result) << row.reason;
  plugin.setState(PLUGIN_DISCOVERING);
  EXPECT_TRUE(updater.getProgramsWithTitles({"A"}).empty());
  plugin.setState(PLUGIN_ACTIVE);
  middleware.setTime(std::numeric_limits<int>::max());  // the end of 32-bit time is no wrap to the past
  EXPECT_TRUE(updater.getProgramsWithTitles({"Z"}).empty());
}

TEST_F(GuideUpdaterTest, ListsProgrammesByTheirNumberAsTheContractCountsIt) {
  middleware.addService(1);
  middleware.addEvent(1, 5, 1, 2);
  middleware.addEvent(1, 0x80000001U, 2, 3);  // negative as a 32-bit number
  load();
  pass();
  EXPECT_EQ(idsOf(updater.getPrograms()), (std::vector<unsigned>{0x80000001U, 5}));
  EXPECT_EQ(updater.findProgram(static_cast<int>(0x80000001U))->getId(), 0x80000001U);
  updater.clearPrograms();
  EXPECT_EQ(updater.findProgram(5), nullptr);
}

}  // namespace

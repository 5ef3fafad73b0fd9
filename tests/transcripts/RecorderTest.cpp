#include <gtest/gtest.h>

#include "RecordingRoom.h"

namespace {

constexpr int NOW = 1000000;
constexpr std::uint32_t EVENT = 500;

class Recorders : public testing::Test, protected RecordingRoom {
 protected:
  std::string lastError() { return recorder->getLastError(); }
  Program* program(std::size_t index = 0) { return channel(ONE)->getPrograms(true).at(index); }
};

/// What every operation says to nothing, in the three states; the last column is the key of the last error.
TEST_F(Recorders, RefuseWhatTheyCannotDoYet) {
  plugin = static_cast<BroadcastPluginImpl*>(stage.startedPlugin());
  recorder = plugin->getRecorder();
  recorder->addRecorderListener(this);
  struct Row {
    const char* state;
    std::function<void()> act;
    const char* line;
    const char* error;
  };
  const auto record = [this] { EXPECT_EQ(recorder->record(nullptr), nullptr); };
  Program stray(9, plugin);
  stray.setName("Stray");
  const auto recordStray = [&] { EXPECT_EQ(recorder->record(&stray), nullptr); };
  const auto recordRange = [this] { EXPECT_EQ(recorder->record("x", nullptr, 0, NOW + 9), nullptr); };
  const auto timeshift = [this] { EXPECT_EQ(recorder->timeshift(nullptr, 5), nullptr); };
  const auto end = [this] { recorder->endTimeshift(nullptr); };
  const auto erase = [this] { EXPECT_FALSE(recorder->deleteRecording(nullptr)); };
  const auto cancel = [this] { EXPECT_FALSE(recorder->cancelScheduling(nullptr)); };
  const auto modify = [this] { EXPECT_FALSE(recorder->modifyScheduling(nullptr, 1, 2, "x")); };
  const auto find = [this] { EXPECT_EQ(recorder->getSchedulingForProgram(nullptr), nullptr); };
  const auto conflicts = [this] { EXPECT_TRUE(recorder->getConflicting(nullptr).empty()); };
  const char* const init = "recorder.error.init";
  const char* const internal = "recorder.error.internal";
  const std::vector<Row> rows = {
      {"new", record, "ERR Recorder not initialized\n", init},
      {"new", recordRange, "ERR Recorder not initialized\n", init},
      {"new", timeshift, "ERR Recorder not initialized with provider!\n", init},
      {"new", end, "ERR Recorder not initialized with provider!\n", init},
      {"new", erase, "ERR Recorder not initialized with provider!\n", init},
      {"new", cancel, "INFO Removing scheduled recording\n", " "},
      {"new", modify, "ERR Given scheduling handle is null, cannot modify scheduling\n", " "},
      {"new", find, "INFO getSchedulingForProgram\n", " "},
      {"new", conflicts, "ERR Not implemented\n", " "},
      {"available", record, "ERR Recorder not activated yet\n", init},
      {"available", recordRange, "ERR Recorder not activated yet\n", init},
      {"available", timeshift, "ERR Recorder not activated yet\n", init},
      {"available", end, "ERR Recorder not activated yet\n", init},
      {"available", erase, "ERR Recording is NULL!\n", internal},
      {"active", record, "ERR Cannot record NULL program.\n", " "},
      {"active", recordStray,
       "INFO BroadcastRecorder::record: adding recording timer for program :Stray\n"
       "ERR Program doesn't have service to record\n",
       " "},
      {"active", recordRange, "ERR Cannot record NULL service.\n", " "},
      {"active", timeshift, "ERR Cannot timeshift NULL service.\n", " "},
      {"active", end, "ERR Recording is NULL!\n", internal},
  };
  std::string state = "new";
  recorder->getLastError();
  for (const Row& row : rows) {
    if (state != row.state) {
      state = row.state;
      state == "available" ? recorder->init() : stage.receiverOn();
    }
    EXPECT_EQ(recorder->isAvailable(), state != "new");
    stage.drop();
    row.act();
    EXPECT_EQ(told(), row.line) << row.state;
    EXPECT_EQ(lastError(), row.error) << row.state << " " << row.line;
    EXPECT_EQ(lastError(), " ") << "read once";
  }
  EXPECT_EQ(stage.originOf("Not implemented"), "BROADCASTRECORDER plugins/dvbt/src/BroadcastRecorder");
}

TEST_F(Recorders, AreOfNoUseWithoutTheMiddlewaresRecorder) {
  stage.failing["durix_recorder_create"] = 1;
  plugin = static_cast<BroadcastPluginImpl*>(stage.plugin());
  plugin->init("/data", stage.library.c_str());
  EXPECT_NE(told().find("ERR Error creating Recorder\n"), std::string::npos);
  recorder = plugin->getRecorder();
  recorder->addRecorderListener(this);
  EXPECT_EQ(lastError(), "recorder.error.init");
  recorder->init();
  EXPECT_EQ(told(), "INFO BroadcastRecorder::init()\n");
  EXPECT_FALSE(recorder->isAvailable());
}

TEST_F(Recorders, AreActivatedOnce) {
  stage.failing["durix_recorder_activate"] = 3;
  open();
  recorder = plugin->getRecorder();
  recorder->addRecorderListener(this);
  EXPECT_EQ(lastError(), "recorder.error.init");
  plugin->initializeRecorder();
  EXPECT_EQ(told(),
            "INFO BroadcastRecorder::activate()\ndurix_recorder_activate(provider 1)\nERR Error activating recorder\n");
  stage.failing.clear();
  store(50, "Old", NOW - 900, NOW - 600);
  store(50, "Old again", NOW - 900, NOW - 600);
  keepTimer(60, "Kept", NOW + 100, NOW + 200);
  describe(61, "Elsewhere", NOW + 100, NOW + 200);
  stage.numbers[{61, DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID}] = 9;  // a channel of that name is not in this network
  stage.listedTimers.push_back({DURIX_OBJECT_TIMER, 61, 0});
  Playlist favourites(1, plugin, 0);
  plugin->updateFavoritePlaylist(&favourites);
  stage.drop();
  plugin->initializeRecorder();
  plugin->initializeRecorder();
  stage.note("-- init");
  recorder->init();
  recorder->init();
  EXPECT_EQ(told(), expected("recorder_activated"));
  ASSERT_EQ(recorder->getScheduled().size(), 2U);
  EXPECT_EQ(recorder->getScheduled().front()->getTargetService(), channel(ONE));
  EXPECT_EQ(recorder->getScheduled().back()->getTargetService(), nullptr);
  ASSERT_EQ(recorder->getRecorded().size(), 1U) << "one for each identifier";
  EXPECT_EQ(recorder->getSchedulings().front()->getId(), 99001U);
  EXPECT_EQ(recorder->getRecordings().front()->getId(), 99009U);
  stage.note("-- deactivated");
  stage.failing["durix_recorder_deactivate"] = 1;
  recorder->deactivate();
  EXPECT_EQ(recorder->getScheduled().size(), 2U);
  stage.failing.clear();
  recorder->deactivate();
  EXPECT_EQ(told(),
            "-- deactivated\ndurix_recorder_deactivate(provider 1)\nERR Error deactivate recorder\n"
            "durix_recorder_deactivate(provider 1)\n");
  EXPECT_TRUE(recorder->getScheduled().empty());
  EXPECT_TRUE(recorder->getSchedulings().empty());
  EXPECT_EQ(recorder->getRecorded().size(), 1U);
  stage.listedTimers.push_back(stage.listedTimers.front());
  plugin->initializeRecorder();
  EXPECT_EQ(recorder->getScheduled().size(), 2U) << "one for each identifier";
  EXPECT_EQ(recorder->getSchedulings().size(), 8U) << "built again";
}

struct Times {
  int start;
  int end;
  int duration;
  const char* error;
  int sentEnd;
};

class RecordedTimes : public Recorders, public testing::WithParamInterface<Times> {};

TEST_P(RecordedTimes, AreChecked) {
  announce(EVENT, "News", GetParam().start, GetParam().end);
  openRecorder();
  program()->setIntProperty("duration", GetParam().duration);
  record("Before", NOW - 100, NOW - 99);
  describe(stage.nextTimer, "News", GetParam().start, GetParam().sentEnd);
  lastError();
  stage.drop();
  Scheduling* const scheduling = recorder->record(program());
  EXPECT_EQ(scheduling != nullptr, GetParam().sentEnd != 0);
  EXPECT_EQ(lastError(), GetParam().error);
  const std::string added = "durix_recorder_add_timer(1,11,0," + std::to_string(GetParam().start) + "," +
                            std::to_string(GetParam().sentEnd) + ",30,News)\n";
  const std::string lines = told();
  EXPECT_EQ(lines.find(added) != std::string::npos, scheduling != nullptr) << lines;
  EXPECT_EQ(lines.find("ERR Error adding recording timer\n") != std::string::npos, scheduling == nullptr) << lines;
  EXPECT_EQ(program()->isScheduledForRecording(), scheduling != nullptr);
  EXPECT_EQ(program()->hasTag("Recorded"), scheduling != nullptr);
  EXPECT_EQ(recorder->getScheduled().front() == scheduling, scheduling != nullptr) << "the latest start first";
}

INSTANTIATE_TEST_SUITE_P(All, RecordedTimes,
                         testing::Values(Times{NOW + 10, NOW + 70, 5, " ", NOW + 70},
                                         Times{NOW - 10, NOW + 1, 5, " ", NOW + 1},
                                         Times{NOW + 10, 0, 600, " ", NOW + 610},
                                         Times{NOW - 90, NOW - 60, 5, "recorder.error.invalidtime", 0},
                                         Times{NOW - 90, NOW, 5, "recorder.error.internal", 0},
                                         Times{0, NOW + 9, 5, "recorder.error.internal", 0}));

TEST_F(Recorders, KeepTimersOfProgrammesAndRanges) {
  announce(EVENT, "News", NOW + 100, NOW + 200);
  announce(EVENT + 1, "Film", NOW + 300, NOW + 400);
  announce(EVENT + 2, "Night", NOW + 500, NOW + 600);
  openRecorder();
  describe(TIMER, "News", NOW + 100, NOW + 200);
  Scheduling* const news = recorder->record(program());
  stage.note("-- range");
  Scheduling* const range = record("Evening", -1, NOW + 500);
  EXPECT_EQ(recorder->getScheduled().front(), news) << "the latest start first";
  stage.note("-- found");
  EXPECT_EQ(recorder->getSchedulingForProgram(program(0)), range) << "the last of those that cover it";
  EXPECT_EQ(recorder->getSchedulingForProgram(program(2)), nullptr);
  stage.note("-- modified");
  describe(TIMER, "News and weather", NOW + 50, NOW + 250);
  EXPECT_TRUE(recorder->modifyScheduling(news, NOW + 50, NOW + 250, "News and weather"));
  EXPECT_EQ(news->getEndTimeT(), NOW + 250);
  stage.note("-- cancelled");
  stage.failing["durix_recorder_remove_timer"] = 1;
  EXPECT_FALSE(recorder->cancelScheduling(news));
  EXPECT_FALSE(program()->isScheduledForRecording()) << "unmarked all the same";
  EXPECT_EQ(recorder->getScheduled().size(), 2U);
  stage.failing.clear();
  EXPECT_TRUE(recorder->cancelScheduling(news));
  EXPECT_FALSE(recorder->cancelScheduling(news)) << "the host may still hold it";
  EXPECT_FALSE(recorder->modifyScheduling(news, 1, 2, "gone"));
  EXPECT_EQ(told(), expected("recorder_timers"));
}

TEST_F(Recorders, SayWhyTheMiddlewareRefused) {
  announce(EVENT, "News", NOW + 100, NOW + 200);
  openRecorder();
  Scheduling* const kept = record("Kept", NOW + 1000, NOW + 2000);
  struct Row {
    int code;
    const char* error;
  };
  for (const Row& row : {Row{8, "recorder.error.insufficientdiskspace"}, Row{9, "recorder.error.conflictingtimer"},
                         Row{10, "recorder.error.invalidtime"}, Row{7, "recorder.error.init"}}) {
    stage.failing["durix_recorder_add_timer"] = stage.failing["durix_recorder_modify_timer"] =
        static_cast<durix_return_code>(row.code);
    const std::string code = std::to_string(row.code);
    stage.drop();
    EXPECT_EQ(recorder->record(program()), nullptr);
    EXPECT_TRUE(told().ends_with("ERR Error adding recording timer " + code + "\n"));
    EXPECT_EQ(lastError(), row.error);
    EXPECT_EQ(recorder->record("x", channel(ONE), 5, 6), nullptr);
    EXPECT_TRUE(told().ends_with("start:5 end:6\nERR Error adding recording timer " + code + "\n"));
    EXPECT_EQ(lastError(), row.error);
    EXPECT_EQ(recorder->timeshift(channel(ONE), 5), nullptr);
    EXPECT_TRUE(told().ends_with("ERR Error adding recording timeshift\n"));
    EXPECT_EQ(lastError(), row.error);
    EXPECT_FALSE(recorder->modifyScheduling(kept, 1, 2, "x"));
    EXPECT_TRUE(told().ends_with(",1,2,30,x)\nERR Error modifying the timer " + code + "\n"));
    EXPECT_EQ(lastError(), row.error);
  }
  EXPECT_FALSE(program()->isScheduledForRecording());
}

TEST_F(Recorders, CutNamesBetweenCharacters) {
  const std::string ascii(253, 'a');
  stage.texts[{ONE, DURIX_ATTRIBUTE_NAME}] = ascii + "bc";
  openRecorder();
  for (const auto& [name, sent] : {std::pair{ascii + "bc", ascii + "b"}, {ascii + "\xC3\xA4", ascii}}) {
    Scheduling* const scheduling = recorder->record(name, channel(ONE), NOW + 5, NOW + 6);
    EXPECT_NE(told().find(",30," + sent + ")\n"), std::string::npos) << name;
    recorder->modifyScheduling(scheduling, NOW + 5, NOW + 6, name);
    EXPECT_NE(told().find(",30," + sent + ")\n"), std::string::npos) << name;
  }
  recorder->timeshift(channel(ONE), 5);
  EXPECT_NE(told().find(",0," + ascii + "b)\n"), std::string::npos) << "the channel's";
}

TEST_F(Recorders, KeepOneTimeshift) {
  openRecorder();
  Recording* const first = recorder->timeshift(channel(ONE), 60);
  EXPECT_TRUE(first->isScheduled());
  EXPECT_EQ(first->getTargetService(), channel(ONE));
  stage.note("-- another one");
  stage.during["durix_recorder_remove_recording"] = [this] { sendTimer(DURIX_EVENT_TIMER_DEACTIVE, TIMER); };
  Recording* const second = recorder->timeshift(channel(TWO), 0);
  stage.note("-- the first again");
  recorder->endTimeshift(first);
  EXPECT_EQ(lastError(), "recorder.error.internal");
  stage.note("-- that fails, then succeeds");
  stage.failing["durix_recorder_remove_recording"] = 1;
  recorder->endTimeshift(second);
  stage.failing.clear();
  recorder->endTimeshift(second);
  EXPECT_EQ(told(), expected("recorder_timeshift"));
  EXPECT_TRUE(recorder->getRecorded().empty());
  stage.note("-- left running");
  recorder->timeshift(channel(ONE), 60);
  stage.drop();
  recorder->deactivate();
  EXPECT_EQ(told(), expected("recorder_timeshift_deactivated"));
  plugin->initializeRecorder();
  plugin->getOptions()->front()->getOption("settings.option.id.timeshift.length")->setValue(0);
  stage.drop();
  recorder->timeshift(channel(ONE), 0);
  EXPECT_NE(told().find(",1,0,0,0,One)\n"), std::string::npos) << "without an end";
  stage.during.clear();  // it is left running until the plugin closes
}

TEST_F(Recorders, DeleteRecordings) {
  store(50, "Old", NOW - 900, NOW - 600);
  store(51, "Older", NOW - 90000, NOW - 60000);
  openRecorder();
  Playlist favourites(1, plugin, 0);
  Recording* const old = recorder->getRecorded().front();
  old->setFavorite(true, 0);
  plugin->updateFavoritePlaylist(&favourites);
  EXPECT_EQ(favourites.getSize(), 1U);
  old->setActive(true);
  EXPECT_FALSE(recorder->deleteRecording(old));
  old->setActive(false);
  stage.failing["durix_recorder_remove_recording"] = 1;
  EXPECT_FALSE(recorder->deleteRecording(old));
  EXPECT_EQ(recorder->getRecorded().size(), 2U);
  stage.failing.clear();
  EXPECT_TRUE(recorder->deleteRecording(old));
  EXPECT_FALSE(recorder->deleteRecording(old)) << "the host may still hold it";
  EXPECT_EQ(told(), expected("recorder_deleted"));
  EXPECT_FALSE(old->isFavorite());
  EXPECT_EQ(recorder->getRecorded().size(), 1U);
  EXPECT_EQ(favourites.getSize(), 0U);
}

TEST_F(Recorders, KeepTheRecordingDirectoryInTheMiddleware) {
  openRecorder();
  EXPECT_TRUE(recorder->setRecordingDirectory("/tv"));
  EXPECT_EQ(recorder->getRecordingDirectory(), "/tv");
  stage.failing["durix_property_set"] = stage.failing["durix_property_get"] = 1;
  EXPECT_FALSE(recorder->setRecordingDirectory("/no"));
  EXPECT_EQ(recorder->getRecordingDirectory(), "");
  EXPECT_EQ(told(),
            "durix_property_set(11,/tv)\ndurix_property_get(11)\ndurix_property_set(11,/no)\ndurix_property_get(11)\n");
}

}  // namespace

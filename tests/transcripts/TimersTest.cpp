#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <thread>

#include "BroadcastRecorder.h"
#include "RecordingRoom.h"
#include "velmora/Tag.h"

namespace {

constexpr int NOW = 1000000;
constexpr std::uint32_t EVENT = 500;

struct Namesake : Service {
  using Service::Service;
  std::vector<Program*> getPrograms(bool) override { return {}; }
};

class Timers : public testing::Test, protected RecordingRoom {
 protected:
  /// A running recording of a range that covers the programme.
  Scheduling* running() {
    describe(RECORDING, "Written", NOW, NOW + 50);
    Scheduling* const scheduling = record("Evening", NOW - 5, NOW + 500);
    sendTimer(DURIX_EVENT_TIMER_ACTIVE, TIMER);
    return scheduling;
  }
  Recording* recording() { return recorder->getRecorded().at(0); }
  Program* program(std::size_t index = 0) { return channel(ONE)->getPrograms(true).at(index); }
  std::string marks(AvContent* content) {
    return std::string(content->hasTag("Recorded") ? "R" : "") + (content->hasTag("IsActiveRecording") ? "A" : "");
  }
};

TEST_F(Timers, RunAndLeaveTheirRecording) {
  announce(EVENT, "News", NOW + 100, NOW + 200);
  openRecorder();
  Scheduling* const scheduling = running();
  EXPECT_TRUE(scheduling->isActive());
  EXPECT_EQ(scheduling->getTargetRecording(), recording());
  EXPECT_EQ(recording()->getStartTimeT(), NOW - 5) << "the timer's";
  EXPECT_EQ(recording()->getEndTimeT(), NOW + 500);
  EXPECT_EQ(recording()->getStartTime(), std::to_string(NOW - 5) + "Z");
  EXPECT_EQ(recording()->getEndTime(), std::to_string(NOW + 500) + "Z");
  EXPECT_EQ(marks(program()) + " " + marks(channel(ONE)) + " " + marks(recording()) + " " + marks(scheduling),
            "RA R A A");
  EXPECT_TRUE(recorder->isRecordingsActive());
  EXPECT_EQ(recorder->getActiveSchedulingsServices(), std::vector<Service*>{channel(ONE)});
  EXPECT_FALSE(recorder->deleteRecording(recording()));
  stage.note("-- over");
  sendTimer(DURIX_EVENT_TIMER_DEACTIVE, TIMER);
  sendTimer(DURIX_EVENT_TIMER_DEACTIVE, TIMER);
  EXPECT_EQ(told(), expected("timer_life"));
  EXPECT_EQ(recording()->getEndTimeT(), NOW + 50) << "its own";
  EXPECT_FALSE(recording()->isActive());
  EXPECT_EQ(marks(program()) + marks(channel(ONE)) + marks(recording()), "");
  EXPECT_FALSE(program()->isScheduledForRecording());
  EXPECT_TRUE(recorder->getScheduled().empty());
  EXPECT_FALSE(recorder->isRecordingsActive());
  for (const char* const message : {"timerActive", "callback_timer_deactive", "deactivating timer :Evening"}) {
    EXPECT_EQ(stage.originOf(message), "BROADCASTRECORDER plugins/dvbt/src/BroadcastRecorder") << message;
  }
}

TEST_F(Timers, AreCancelledWhileTheyRecord) {
  announce(EVENT, "News", NOW + 100, NOW + 200);
  openRecorder();
  Scheduling* const first = running();
  stage.nextTimer = RECORDING + 1;
  Scheduling* const second = record("Night", NOW - 4, NOW + 600);
  sendTimer(DURIX_EVENT_TIMER_ACTIVE, RECORDING + 1);
  Scheduling* const waiting = record("Morning", NOW + 700, NOW + 800);
  stage.drop();
  EXPECT_TRUE(recorder->cancelScheduling(first));
  EXPECT_EQ(told(), expected("timer_cancelled"));
  EXPECT_FALSE(recording()->isActive());
  EXPECT_EQ(recording()->getEndTimeT(), NOW + 50) << "its own";
  EXPECT_EQ(marks(program()) + marks(recording()), "");
  EXPECT_EQ(marks(channel(ONE)), "R") << "the other one still records it";
  EXPECT_EQ(marks(second) + marks(waiting), "A");
}

/// What a timer does not know of its times the recording keeps; its programmes and receivers are marked anew.
TEST_F(Timers, MarkAnewWhenTheyStart) {
  announce(EVENT, "News", NOW + 100, NOW + 200);
  openRecorder();
  Scheduling* const scheduling = record("Evening", NOW - 5, NOW + 500);
  Scheduling* const waiting = record("Morning", NOW + 700, NOW + 800);
  Tag* const active = TagFactory::getInstance()->getTag("IsActiveRecording", "IsActiveRecording", "");
  program()->removeTag(TagFactory::getInstance()->getTag("Recorded", "Recorded", ""));
  program()->setScheduledForRecording(false);
  describe(RECORDING, "Written", NOW, NOW + 50);
  scheduling->setStartTimeT(0);
  scheduling->setEndTimeT(0);
  scheduling->setStartTime("");
  scheduling->setEndTime("");
  stage.nextTimer = RECORDING;
  sendTimer(DURIX_EVENT_TIMER_ACTIVE, TIMER);
  EXPECT_EQ(recording()->getStartTimeT(), NOW);
  EXPECT_EQ(recording()->getEndTimeT(), NOW + 50);
  EXPECT_EQ(recording()->getStartTime() + recording()->getEndTime(), "1000000Z1000050Z");
  EXPECT_EQ(marks(program()), "RA");
  EXPECT_TRUE(program()->isScheduledForRecording());
  scheduling->removeTag(active);
  waiting->addTag(active);
  Scheduling* const cancelled = record("Night", NOW + 900, NOW + 950);
  EXPECT_TRUE(recorder->cancelScheduling(cancelled));
  EXPECT_EQ(marks(scheduling) + marks(waiting), "A") << "the active one only";
  program()->setScheduledForRecording(false);
  scheduling->setEndTimeT(NOW);
  recorder->refresh();
  EXPECT_TRUE(program()->isScheduledForRecording()) << "found running";
}

/// Nothing of the recorder points at what a scan deletes, not even what has ended.
TEST_F(Timers, LetGoOfChannelsAndProgrammes) {
  announce(EVENT, "News", NOW + 100, NOW + 200);
  openRecorder();
  Scheduling* const ended = running();
  Recording* const timeshift = recorder->timeshift(channel(ONE), 60);
  stage.failing["durix_recorder_remove_recording"] = 1;
  recorder->endTimeshift(timeshift);
  sendTimer(DURIX_EVENT_TIMER_DEACTIVE, TIMER);
  stage.nextTimer = RECORDING + 1;
  Scheduling* const waiting = record("Night", NOW + 50, NOW + 600);
  Recording* const second = recorder->timeshift(channel(TWO), 60);
  ASSERT_EQ(waiting->getTargetPrograms().size(), 1U);
  dynamic_cast<BroadcastRecorder&>(*recorder).forgetTargets();
  for (const TimedClip* const clip : std::initializer_list<TimedClip*>{ended, timeshift, waiting, second}) {
    EXPECT_EQ(clip->getTargetService(), nullptr);
    EXPECT_TRUE(clip->getTargetPrograms().empty());
  }
}

TEST_F(Timers, EndWithTheDevice) {
  announce(EVENT, "News", NOW + 100, NOW + 200);
  openRecorder();
  running();
  stage.drop();
  sendTimer(DURIX_EVENT_RECORDER_DEVICE_FULL, TIMER);
  EXPECT_EQ(told(), "durix_recorder_list_timers()\n") << "one that the middleware does not know any more";
  stage.listedTimers.push_back({DURIX_OBJECT_TIMER, TIMER, 0});
  sendTimer(DURIX_EVENT_RECORDER_DEVICE_FULL, TIMER);
  EXPECT_EQ(told(), expected("timer_device_full"));
  EXPECT_TRUE(recorder->getScheduled().empty());
  EXPECT_EQ(marks(program()) + marks(channel(ONE)) + marks(recording()), "");
  EXPECT_TRUE(recorder->deleteRecording(recording())) << "to make room";
  stage.drop();
  sendTimer(DURIX_EVENT_RECORDER_DEVICE_FULL, TIMER);
  EXPECT_EQ(told(), "durix_recorder_list_timers()\n");
}

TEST_F(Timers, TellWhatTheyConflictWith) {
  openRecorder();
  record("A", NOW + 10, NOW + 20);
  record("B", NOW + 10, NOW + 20);
  record("C", NOW + 10, NOW + 20);
  stage.drop();
  const std::vector<std::uint32_t> ids = {TIMER + 2, 7, TIMER + 1};
  const auto send = [&](std::uint32_t timer, const std::uint32_t* others) {
    stage.deliver(Event(DURIX_EVENT_TIMER_ACTIVATING)
                      .put(DURIX_OFFSET_TIMER_ID, timer)
                      .put(DURIX_OFFSET_TIMER_ACTIVATING_VALUE, std::uint32_t{30})
                      .put(DURIX_OFFSET_TIMER_ACTIVATING_COUNT, static_cast<std::uint32_t>(ids.size()))
                      .put(DURIX_OFFSET_TIMER_ACTIVATING_IDS, others));
  };
  send(TIMER, ids.data());
  send(7, nullptr);
  EXPECT_EQ(told(),
            "INFO timerActivating\nINFO callback_timer_activating\n> activating A 30 [C,B]\n"
            "INFO timerActivating\nINFO callback_timer_activating\n> activating null 30 []\n");
}

TEST_F(Timers, NeedATimerAndARecording) {
  openRecorder();
  sendTimer(DURIX_EVENT_TIMER_ACTIVE, 7);
  EXPECT_EQ(told(), "INFO timerActive\nERR Found scheduling was NULL!\n");
  Scheduling* const scheduling = record("A", NOW + 10, NOW + 20);
  stage.drop();
  const char* const nothing = "INFO timerActive\ndurix_recorder_get_recording(900)\nERR Could not create Recording!\n";
  stage.emptyHanded.insert("durix_recorder_get_recording");
  sendTimer(DURIX_EVENT_TIMER_ACTIVE, TIMER);
  EXPECT_EQ(told(), nothing);
  stage.emptyHanded.clear();
  stage.failing["durix_recorder_get_recording"] = 1;
  sendTimer(DURIX_EVENT_TIMER_ACTIVE, TIMER);
  EXPECT_EQ(told(), nothing);
  EXPECT_FALSE(scheduling->isActive());
}

/// One that was running when the plugin came up is reported active, both ends counted.
TEST_F(Timers, AreFoundRunning) {
  announce(EVENT, "News", NOW - 1, NOW + 10);
  store(RECORDING, "Written", NOW - 20, NOW + 20);
  keepTimer(60, "Starts", NOW, NOW + 20);
  keepTimer(61, "Ends", NOW - 20, NOW);
  keepTimer(62, "Later", NOW + 1, NOW + 20);
  keepTimer(63, "Over", NOW - 20, NOW - 1);
  open();
  recorder = plugin->getRecorder();
  recorder->addRecorderListener(this);
  recorder->init();
  recorder->deactivate();
  stage.drop();
  plugin->initializeRecorder();
  EXPECT_EQ(told(), expected("timers_found_running"));
  ASSERT_EQ(recorder->getActiveSchedulingsServices().size(), 2U);
  for (Scheduling* const scheduling : recorder->getScheduled()) {
    EXPECT_EQ(scheduling->getTargetRecording(), scheduling->isActive() ? recording() : nullptr);
  }
  EXPECT_TRUE(recorder->deleteRecording(recording()));
  for (Scheduling* const scheduling : recorder->getScheduled()) EXPECT_EQ(scheduling->getTargetRecording(), nullptr);
}

TEST_F(Timers, MarkProgrammesThatLieWhollyInside) {
  struct Row {
    const char* title;
    int start;
    int end;
    bool isInside;
  };
  const std::vector<Row> rows = {{"whole", 0, 3600, true},      {"middle", 900, 2700, true},
                                 {"before", -300, 1800, false}, {"after", 3000, 3601, false},
                                 {"first", 0, 1, true},         {"last", 3600, 3600, true},
                                 {"other", 3601, 4000, false},  {"endless", 900, -1, false}};
  std::uint32_t id = EVENT;
  for (const Row& row : rows) announce(id++, row.title, NOW + 100 + row.start, NOW + 100 + row.end);
  openRecorder();
  Scheduling* const scheduling = record("Evening", NOW + 100, NOW + 3700);
  for (Program* const program : channel(ONE)->getPrograms(true)) {
    const auto row =
        std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return r.title == program->getTitle(); });
    ASSERT_NE(row, rows.end());
    EXPECT_EQ(marks(program), row->isInside ? "R" : "") << row->title;
    EXPECT_EQ(program->isScheduledForRecording(), row->isInside) << row->title;
  }
  EXPECT_EQ(scheduling->getTargetPrograms().size(), 4U);
}

TEST_F(Timers, FindTheirProgrammesInNewGuideData) {
  announce(EVENT, "News", NOW + 100, NOW + 200);
  openRecorder();
  Scheduling* const scheduling = record("Evening", NOW + 100, NOW + 300);
  scheduling->removeTargetProgram(program());
  program()->removeTag(TagFactory::getInstance()->getTag("Recorded", "Recorded", ""));
  stage.drop();
  auto& own = dynamic_cast<BroadcastRecorder&>(*recorder);
  own.notifyProgramUpdate(plugin, channel(TWO), nullptr);
  EXPECT_EQ(told(), "");
  Namesake namesake(99, plugin);
  namesake.setName("One");
  own.notifyProgramUpdate(plugin, &namesake, nullptr);
  EXPECT_TRUE(told().starts_with("INFO Finding recording :Evening from 0 programs\n")) << "channels are told by name";
  own.notifyProgramUpdate(plugin, channel(ONE), nullptr);
  own.notifyProgramUpdate(plugin, channel(ONE), nullptr);  // it has its programmes
  EXPECT_EQ(told(),
            "INFO Finding recording :Evening from 1 programs\nINFO Recording start time: 1000100 end time :1000300\n"
            "INFO Found recorded program :News for recording Evening\n> updated Evening\n");
  EXPECT_EQ(marks(program()), "R");
}

/// A listener that changes the recorder from inside a notice, and a middleware that reports from inside a call.
class WorstMoments : public Timers {
 protected:
  /// Done once, inside the notice that begins so.
  void during(const std::string& beginning, const std::function<void()>& work) {
    onNotice = [this, beginning, work](const std::string& notice) {
      if (!notice.starts_with(beginning)) return;
      onNotice = nullptr;
      work();
    };
  }
  int told(const std::string& notice) {
    return static_cast<int>(stage.takeIf([&](const std::string& line) { return line == "> " + notice; }).size());
  }
  std::size_t listed() {
    std::size_t clips = 0;
    for (const Playlist* const playlist : recorder->getSchedulings()) clips += playlist->getSize();
    for (const Playlist* const playlist : recorder->getRecordings()) clips += playlist->getSize();
    return clips;
  }
};

TEST_F(WorstMoments, ATimerThatEndsInsideItsOwnRemovalEndsOnce) {
  openRecorder();
  Scheduling* const scheduling = running();
  stage.during["durix_recorder_remove_timer"] = [this] { sendTimer(DURIX_EVENT_TIMER_DEACTIVE, TIMER); };
  EXPECT_TRUE(recorder->cancelScheduling(scheduling));
  EXPECT_EQ(told("deactive Evening"), 1);
  EXPECT_TRUE(recorder->getScheduled().empty());
}

TEST_F(WorstMoments, ATimerThatEndsWhileItsRecordingIsAskedForEndsOnce) {
  openRecorder();
  for (const std::uint32_t event : {DURIX_EVENT_TIMER_ACTIVE, DURIX_EVENT_TIMER_DEACTIVE}) {
    const std::uint32_t timer = stage.nextTimer;
    record("Evening", NOW + 5, NOW + 500);
    stage.during["durix_recorder_get_recording"] = [this, timer] {
      stage.during.clear();
      sendTimer(DURIX_EVENT_TIMER_DEACTIVE, timer);
    };
    sendTimer(event, timer);
    EXPECT_EQ(told("deactive Evening"), 1) << event;
    EXPECT_TRUE(recorder->getRecorded().empty()) << event;
  }
  const std::uint32_t timer = stage.nextTimer;
  record("Evening", NOW - 5, NOW + 500);
  stage.during["durix_recorder_get_recording"] = [this, timer] {
    stage.during.clear();
    sendTimer(DURIX_EVENT_TIMER_DEACTIVE, timer);
  };
  recorder->refresh();
  EXPECT_EQ(told("active Evening"), 0);
}

TEST_F(WorstMoments, EventsForARecorderThatHasGoneDoNothing) {
  openRecorder();
  const std::vector<Stage::Registration> registered = stage.registrations;
  stage.failing["durix_callback_remove(handle,27)"] = 1;
  recorder = nullptr;
  stage.close();
  const auto isSecondTry = [](const std::string& line) { return line.starts_with("durix_callback_remove(null,"); };
  EXPECT_EQ(stage.takeIf(isSecondTry), Lines{"durix_callback_remove(null,27)"}) << "as it was registered";
  plugin = static_cast<BroadcastPluginImpl*>(stage.startedPlugin());
  stage.registrations = registered;
  sendTimer(DURIX_EVENT_TIMER_ACTIVE, TIMER);
  EXPECT_EQ(stage.take(), Lines{});
}

TEST_F(WorstMoments, ATimerThatIsCancelledInANoticeOfItsMakingIsListedNowhere) {
  openRecorder();
  during("playlist schedulings.playlist.all", [this] { recorder->cancelScheduling(recorder->getScheduled().at(0)); });
  record("Evening", NOW + 5, NOW + 500);
  EXPECT_EQ(listed(), 0U);
  record("Evening", NOW + 5, NOW + 500);
  record("Night", NOW + 6, NOW + 500);
  EXPECT_EQ(listed(), 4U) << "both under all and today";
  during("playlist schedulings.playlist.all", [this] { recorder->cancelScheduling(recorder->getScheduled().at(0)); });
  recorder->deactivate();
  keepTimer(60, "A", NOW + 5, NOW + 20);
  keepTimer(61, "B", NOW + 6, NOW + 20);
  plugin->initializeRecorder();
  EXPECT_EQ(recorder->getScheduled().size(), 1U);
  EXPECT_EQ(listed(), 2U);
}

TEST_F(WorstMoments, ATimerThatIsCancelledWhileItStartsIsNotReportedActive) {
  openRecorder();
  record("Evening", NOW - 5, NOW + 500);
  describe(RECORDING, "Written", NOW, NOW + 50);
  during("playlist recordings", [this] { recorder->cancelScheduling(recorder->getScheduled().at(0)); });
  sendTimer(DURIX_EVENT_TIMER_ACTIVE, TIMER);
  EXPECT_EQ(told("deactive Evening"), 1);
  EXPECT_EQ(told("active Evening"), 0);
  EXPECT_FALSE(recording()->isActive());
}

TEST_F(WorstMoments, ARecordingThatIsDeletedWhenItsTimerEndsIsNotReadAgain) {
  openRecorder();
  running();
  during("deactive", [this] { EXPECT_TRUE(recorder->deleteRecording(recording())); });
  stage.drop();
  sendTimer(DURIX_EVENT_TIMER_DEACTIVE, TIMER);
  EXPECT_EQ(lines().find("durix_attribute_get_str(901"), std::string::npos);
  EXPECT_EQ(listed(), 0U);
}

TEST_F(WorstMoments, ATimerThatIsCancelledWhileOthersAreFoundRunningIsLeftAlone) {
  openRecorder();
  recorder->deactivate();
  keepTimer(60, "A", NOW - 5, NOW + 20);
  keepTimer(61, "B", NOW - 6, NOW + 20);
  keepTimer(62, "C", NOW - 7, NOW + 20);
  during("active A", [this] {
    const std::vector<Scheduling*> schedulings = recorder->getScheduled();
    recorder->cancelScheduling(schedulings.at(0));
    recorder->cancelScheduling(schedulings.at(1));
  });
  plugin->initializeRecorder();
  EXPECT_EQ(told("active B"), 0);
  EXPECT_EQ(told("active C"), 1);
  EXPECT_EQ(recorder->getActiveSchedulingsServices().size(), 1U);
}

TEST_F(WorstMoments, ATimerThatIsCancelledWhileReceiversAreCountedMarksNothing) {
  announce(EVENT, "News", NOW + 100, NOW + 200);
  openRecorder();
  record("Evening", NOW - 5, NOW + 500);
  describe(RECORDING, "Written", NOW, NOW + 50);
  stage.onNotice = [this] {
    for (Scheduling* const scheduling : recorder->getScheduled()) recorder->cancelScheduling(scheduling);
  };
  sendTimer(DURIX_EVENT_TIMER_ACTIVE, TIMER);
  stage.onNotice = nullptr;
  EXPECT_EQ(told("deactive Evening"), 1);
  EXPECT_EQ(marks(program()), "");
}

TEST_F(WorstMoments, ATimerThatIsCancelledWhileAnotherFindsItsProgrammesMarksNothing) {
  announce(EVENT, "News", NOW + 100, NOW + 200);
  openRecorder();
  record("Early", NOW + 50, NOW + 300);
  during("updated Late", [this] { recorder->cancelScheduling(recorder->getScheduled().at(1)); });
  record("Late", NOW + 90, NOW + 300);
  EXPECT_EQ(told("deactive Early"), 1);
  const auto isSearch = [](const std::string& line) { return line.starts_with("INFO Finding recording :Early"); };
  EXPECT_EQ(stage.takeIf(isSearch).size(), 1U) << "when it was made";
}

TEST_F(WorstMoments, ARecordingThatIsDeletedWhileOthersAreListedIsListedNowhere) {
  store(50, "A", NOW - 60, NOW - 30);
  store(51, "B", NOW - 50, NOW - 30);
  openRecorder();
  during("playlist recordings.playlist.weeks.this [A]",
         [this] { EXPECT_TRUE(recorder->deleteRecording(recorder->getRecorded().at(1))); });
  recorder->refresh();
  EXPECT_EQ(listed(), 1U);
}

TEST_F(WorstMoments, ATimeshiftThatTwoThreadsEndIsDeletedOnce) {
  openRecorder();
  Recording* const timeshift = recorder->timeshift(channel(ONE), 60);
  stage.during["durix_recorder_remove_recording"] = [this, timeshift] {
    stage.during.clear();
    std::thread([this, timeshift] { EXPECT_TRUE(recorder->deleteRecording(timeshift)); }).join();
  };
  recorder->endTimeshift(timeshift);
  EXPECT_EQ(stage.calls("durix_recorder_remove_recording"), 2);
  EXPECT_EQ(recorder->getLastError(), "") << "the middleware took both";
}

/// The middleware may wait for an event that is being handled until it has removed a timeshift or changed a timer.
TEST_F(WorstMoments, EventsAreHandledWhileTheMiddlewareRemovesATimeshift) {
  openRecorder();
  Scheduling* const scheduling = record("Evening", NOW - 5, NOW + 500);
  describe(RECORDING, "Written", NOW, NOW + 50);
  Recording* const timeshift = recorder->timeshift(channel(ONE), 60);
  const auto elsewhere = [this](std::uint32_t event) {
    return [this, event] { std::thread([this, event] { sendTimer(event, TIMER); }).join(); };
  };
  stage.during["durix_recorder_remove_recording"] = elsewhere(DURIX_EVENT_TIMER_ACTIVE);
  recorder->endTimeshift(timeshift);
  EXPECT_TRUE(scheduling->isActive());
  stage.during["durix_recorder_modify_timer"] = elsewhere(DURIX_EVENT_TIMER_DEACTIVE);
  stage.drop();
  EXPECT_TRUE(recorder->modifyScheduling(scheduling, NOW, NOW + 5, "gone"));
  EXPECT_TRUE(recorder->getScheduled().empty());
  EXPECT_EQ(lines().find("durix_attribute"), std::string::npos) << "it is not read again";
}

}  // namespace

// Timers from the call to the file: codes, events, what is written, what survives.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <thread>
#include <utility>

#include "Fixture.h"
#include "tests/support/Eventually.h"

namespace durix::test {
namespace {

constexpr std::int64_t HOUR = 3600;

class Recorder : public RecorderFixture {};

TEST_F(Recorder, RefusesWithTheCodeThatSaysWhy) {
  start();
  const std::int64_t then = now() + HOUR;
  ASSERT_EQ(add("One", then, then + HOUR), DURIX_OK);
  const auto first = _added;
  struct Row {
    std::string why, service;
    std::int64_t start, end;
    durix_return_code code;
    std::uint32_t type = DURIX_TIMER_RECORDING;
  };
  const std::vector<Row> rows{
      {"it ends before it begins", "One", then, then - 1, DURIX_INVALID_TIME},
      {"it has no length", "One", then, then, DURIX_INVALID_TIME},
      {"it is over", "One", now() - HOUR, now(), DURIX_INVALID_TIME},
      {"it begins at no time", "One", 0, then, DURIX_INVALID_TIME},
      {"time before conflict", "Three", then, then - 1, DURIX_INVALID_TIME},
      {"the only receiver is elsewhere", "Three", then, then + 1, DURIX_CONFLICTING_TIMER},
      {"conflict before room", "Three", then, then + 80'000 * HOUR, DURIX_CONFLICTING_TIMER},
      {"no disk is so large", "Two", then, then + 80'000 * HOUR, DURIX_INSUFFICIENT_DISK_SPACE},
      {"a time shift that is over", "One", 0, now(), DURIX_INVALID_TIME, DURIX_TIMER_TIMESHIFT},
  };
  for (const auto& row : rows) EXPECT_EQ(add(row.service, row.start, row.end, 30, row.type), row.code) << row.why;
  EXPECT_EQ(timers().size(), 1U) << "nothing of it is kept";
  EXPECT_EQ(add("Two", then, then + HOUR), DURIX_OK) << "on the same multiplex";
  EXPECT_EQ(add("Three", then + HOUR, then + 2 * HOUR), DURIX_OK) << "behind it";
  EXPECT_EQ(durix_recorder_modify_timer(_recorder, &_added, static_cast<std::int32_t>(then + HOUR - 1),
                                        static_cast<std::int32_t>(then + 2 * HOUR), 30, "x"),
            DURIX_CONFLICTING_TIMER);
  EXPECT_EQ(durix_recorder_modify_timer(_recorder, &first, static_cast<std::int32_t>(then + 1),
                                        static_cast<std::int32_t>(then + HOUR), 30, "x"),
            DURIX_OK)
      << "it does not stand in its own way";
  EXPECT_EQ(_middleware.text(first, DURIX_ATTRIBUTE_NAME), "x");

  const auto missing = _middleware.data() / "away";
  durix_property_set(_middleware.handle(), DURIX_PROPERTY_RECORDINGS_DIRECTORY, missing.c_str());
  const auto code = add("One", then, then + HOUR);
  EXPECT_TRUE(code != DURIX_OK && code != DURIX_INSUFFICIENT_DISK_SPACE) << "the directory is not there: " << code;
  EXPECT_EQ(timers().size(), 3U);
}

TEST_F(Recorder, KeepsTimersWithWhatTheyWereAskedFor) {
  start();
  const std::int64_t then = now() + HOUR;
  ASSERT_EQ(add("Two", then, then + 60), DURIX_OK);
  const auto timer = _added;
  for (const std::string when : {"at once", "after a restart"}) {
    EXPECT_EQ(_middleware.text(timer, DURIX_ATTRIBUTE_NAME), "A name / of \"it\"") << when;
    EXPECT_EQ(_middleware.text(timer, DURIX_ATTRIBUTE_SERVICE_ID), "Two") << when << ": the name, which finds it";
    EXPECT_EQ(_middleware.number(timer, DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID),
              _middleware.number(service("Two"), DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID));
    EXPECT_EQ(_middleware.number(timer, DURIX_ATTRIBUTE_START_TIME), then);
    EXPECT_EQ(_middleware.number(timer, DURIX_ATTRIBUTE_END_TIME), then + 60);
    EXPECT_EQ(_middleware.text(timer, DURIX_ATTRIBUTE_DESCRIPTION), "");
    EXPECT_EQ(_middleware.text(timer, DURIX_ATTRIBUTE_PARENTAL_RATING), "0");
    EXPECT_EQ(_middleware.text(timer, DURIX_ATTRIBUTE_START_TIME_STR).size(),
              std::string("2026-11-23T06:00:00").size());
    ASSERT_EQ(timers().size(), 1U) << when;
    EXPECT_EQ(timers()[0].id, timer.id);
    if (when == "at once") {
      stop();
      start();
    }
  }
  EXPECT_EQ(durix_recorder_remove_timer(_recorder, &timer), DURIX_OK);
  EXPECT_NE(durix_recorder_remove_timer(_recorder, &timer), DURIX_OK);
  ASSERT_EQ(add("Two", then, then + 60), DURIX_OK);
  EXPECT_GT(_added.id, timer.id) << "no identifier is given twice";
}

TEST_F(Recorder, TellsWhatATimerDoesAndWritesItsServiceOnly) {
  start();
  const std::int64_t begin = now() + 1;
  const std::int64_t end = begin + 2;
  ASSERT_EQ(add("Two", begin, end, 1), DURIX_OK);
  const std::uint32_t timer = _added.id;
  const Told activating = next();
  EXPECT_EQ(activating.event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_ACTIVATING));
  EXPECT_LE(activating.value, 1U) << "seconds are left";
  EXPECT_GE(now(), begin - 1);
  EXPECT_EQ(activating.recording, 0U);
  const Told active = next();
  EXPECT_EQ(active.event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_ACTIVE));
  ASSERT_NE(active.recording, 0U);
  const durix_esg_object recording{9, active.recording, 0};
  EXPECT_EQ(_middleware.number(recording, DURIX_ATTRIBUTE_END_TIME), end) << "planned";
  EXPECT_NEAR(_middleware.number(recording, DURIX_ATTRIBUTE_START_TIME), static_cast<double>(begin), 1);
  EXPECT_GT(std::filesystem::file_size(fileOf(recording.id)), 0U);
  EXPECT_NE(durix_recorder_remove_recording(_recorder, &recording), DURIX_OK) << "it is being written";
  const Told deactive = next();
  EXPECT_EQ(deactive.event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_DEACTIVE));
  for (const auto& told : {activating, active, deactive}) {
    EXPECT_EQ(told.timer, timer);
    EXPECT_EQ(told.timers, std::vector{timer}) << "listed while it is told";
  }
  EXPECT_EQ(deactive.recording, recording.id);
  EXPECT_TRUE(eventually([&] { return timers().empty(); })) << "gone when everybody has been told";
  ASSERT_EQ(recordings().size(), 1U);
  EXPECT_NEAR(secondsOf(recording.id), 2, 1);
  const auto pids = pidsIn(fileOf(recording.id));
  std::set<std::uint16_t> found;
  for (const auto& [pid, count] : pids) found.insert(pid);
  EXPECT_EQ(found, (std::set<std::uint16_t>{0, pmtPid(1), videoPid(1), firstSoundPid(1),
                                            static_cast<std::uint16_t>(firstSoundPid(1) + 1)}));
  EXPECT_EQ(fileOf(recording.id).filename(), std::to_string(recording.id) + " A name _ of _it_.ts");
  EXPECT_TRUE(isQuiet()) << "nothing else is told";

  const auto feeds = _middleware.feeds(recording);
  ASSERT_EQ(feeds.size(), 3U);
  EXPECT_EQ(_middleware.number(feeds[0], DURIX_ATTRIBUTE_FEED_TYPE), DURIX_FEED_VIDEO_SECOND);
  EXPECT_EQ(_middleware.number(feeds[2], DURIX_ATTRIBUTE_FEED_TYPE), DURIX_FEED_AUDIO_SECOND);
  EXPECT_EQ(_middleware.text(feeds[2], DURIX_ATTRIBUTE_LANGUAGE), "eng");
  EXPECT_EQ(durix_recorder_remove_recording(_recorder, &recording), DURIX_OK);
  EXPECT_TRUE(std::filesystem::is_empty(_middleware.data() / "recordings"));
  EXPECT_TRUE(recordings().empty());
}

TEST_F(Recorder, TakesTheSoundThatIsWanted) {
  start();
  durix_property_set(_middleware.handle(), DURIX_PROPERTY_RECORD_ALL_AUDIO_CHANNELS, "false");
  durix_property_set(_middleware.handle(), DURIX_PROPERTY_AUDIO_LANGUAGE, "eng");
  ASSERT_EQ(add("One", now(), now() + HOUR), DURIX_OK);
  const auto timer = _added;
  next();
  const std::uint32_t recording = next().recording;
  EXPECT_TRUE(eventually([&] { return secondsOf(recording) >= 1; }));
  EXPECT_EQ(durix_recorder_remove_timer(_recorder, &timer), DURIX_OK);
  const auto pids = pidsIn(fileOf(recording));
  EXPECT_FALSE(pids.contains(firstSoundPid(0)));
  EXPECT_TRUE(pids.contains(static_cast<std::uint16_t>(firstSoundPid(0) + 1)));
  const auto feeds = _middleware.feeds({9, recording, 0});
  ASSERT_EQ(feeds.size(), 2U) << "its tables say so";
  EXPECT_EQ(_middleware.text(feeds[1], DURIX_ATTRIBUTE_LANGUAGE), "eng");
}

TEST_F(Recorder, GivesTimersOfOneServiceTheirOwnFullLength) {
  start();
  const std::int64_t begin = now() + 1;
  ASSERT_EQ(add("One", begin, begin + 2), DURIX_OK);
  ASSERT_EQ(add("One", begin + 1, begin + 3), DURIX_OK);
  std::map<std::uint32_t, std::uint32_t> ended;  // recording by timer
  while (ended.size() < 2) {
    const Told told = next();
    if (told.event == DURIX_EVENT_TIMER_DEACTIVE) ended[told.timer] = told.recording;
  }
  for (const auto& [timer, recording] : ended) EXPECT_NEAR(secondsOf(recording), 2, 1) << timer;
}

TEST_F(Recorder, EndsWhenTheClockJumpsAndFollowsChangesWhileItRuns) {
  start();
  const std::int64_t begin = now();
  ASSERT_EQ(add("One", begin, begin + HOUR), DURIX_OK);
  const auto timer = _added;
  EXPECT_EQ(next().event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_ACTIVATING));
  const durix_esg_object recording{9, next().recording, 0};
  EXPECT_EQ(durix_recorder_modify_timer(_recorder, &timer, static_cast<std::int32_t>(begin + 77),
                                        static_cast<std::int32_t>(begin + 2 * HOUR), 30, "Longer"),
            DURIX_OK);
  EXPECT_EQ(_middleware.number(timer, DURIX_ATTRIBUTE_START_TIME), begin) << "it has begun";
  EXPECT_EQ(_middleware.number(recording, DURIX_ATTRIBUTE_END_TIME), begin + 2 * HOUR);
  EXPECT_EQ(_middleware.text(recording, DURIX_ATTRIBUTE_NAME), "Longer");
  for (const std::int64_t then : {begin - HOUR, begin + HOUR + 1}) {
    jump(then);
    EXPECT_TRUE(isQuiet()) << "it has begun, and the new end holds";
  }
  jump(begin + 2 * HOUR);
  EXPECT_EQ(next().event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_DEACTIVE));
  EXPECT_EQ(_middleware.number(recording, DURIX_ATTRIBUTE_END_TIME), begin + 2 * HOUR);
}

TEST_F(Recorder, FinishesWhatARemovedTimerWroteAndTellsNothing) {
  start();
  ASSERT_EQ(add("One", now(), now() + HOUR), DURIX_OK);
  const auto timer = _added;
  next();
  const Told active = next();
  EXPECT_EQ(durix_recorder_remove_timer(_recorder, &timer), DURIX_OK);
  const durix_esg_object recording{9, active.recording, 0};
  EXPECT_LE(_middleware.number(recording, DURIX_ATTRIBUTE_END_TIME), now()) << "the real end, at once";
  EXPECT_EQ(std::filesystem::file_size(fileOf(recording.id)) % 188, 0U);
  EXPECT_TRUE(isQuiet());
  EXPECT_EQ(durix_recorder_remove_recording(_recorder, &recording), DURIX_OK);
}

TEST_F(Recorder, TakesCallsFromItsHandlers) {
  std::vector<durix_return_code> codes;
  bool isFirst = true;
  _inside = [&](const Told& told) {
    const durix_esg_object timer{DURIX_OBJECT_TIMER, told.timer, 0};
    const durix_esg_object recording{9, told.recording, 0};
    const auto provider = _middleware.provider();
    if (told.event == DURIX_EVENT_TIMER_ACTIVE && std::exchange(isFirst, false)) {
      codes.push_back(durix_recorder_remove_timer(_recorder, &timer));
      codes.push_back(durix_recorder_remove_recording(_recorder, &recording));
      codes.push_back(add("Two", now() - 1, now() + HOUR));
    } else if (told.event == DURIX_EVENT_TIMER_ACTIVE) {
      jump(now() + 2 * HOUR);
    } else if (told.event == DURIX_EVENT_TIMER_DEACTIVE) {
      codes.push_back(durix_recorder_remove_recording(_recorder, &recording));
      codes.push_back(durix_recorder_deactivate(_recorder, &provider));
      codes.push_back(durix_recorder_close(_recorder));
    }
  };
  start();
  ASSERT_EQ(add("One", now(), now() + HOUR), DURIX_OK);
  for (const std::uint32_t event :
       {DURIX_EVENT_TIMER_ACTIVATING, DURIX_EVENT_TIMER_ACTIVE, DURIX_EVENT_TIMER_ACTIVATING, DURIX_EVENT_TIMER_ACTIVE,
        DURIX_EVENT_TIMER_DEACTIVE}) {
    ASSERT_EQ(next().event, event);
  }
  EXPECT_EQ(codes, std::vector<durix_return_code>(6, DURIX_OK));
  EXPECT_TRUE(std::filesystem::is_empty(_middleware.data() / "recordings"));
}

TEST_F(Recorder, GoesOnInTheSameRecordingWhenItIsActiveAgain) {
  start();
  ASSERT_EQ(add("One", now(), now() + HOUR), DURIX_OK);
  const auto timer = _added;
  next();
  const std::uint32_t recording = next().recording;
  const auto stream = fileOf(recording);
  stop();
  std::filesystem::remove(std::filesystem::path(stream).replace_extension(".index"));
  std::ofstream(stream, std::ios::app) << "torn";
  const auto before = std::filesystem::file_size(stream);
  start();
  ASSERT_EQ(timers().size(), 1U);
  durix_esg_object* known = nullptr;
  ASSERT_EQ(durix_recorder_get_recording(_recorder, &timer, &known), DURIX_OK);
  ASSERT_NE(known, nullptr) << "as soon as it is active";
  EXPECT_EQ(known->id, recording);
  EXPECT_TRUE(eventually([&] { return std::filesystem::file_size(stream) > before + 188 * 50; }));
  EXPECT_TRUE(isQuiet()) << "it has been announced before";
  EXPECT_EQ(durix_recorder_remove_timer(_recorder, &timer), DURIX_OK);
  EXPECT_EQ(std::filesystem::file_size(stream) % 188, 0U) << "the torn packet is cut off";
  const std::string bytes = contentsOf(stream);
  for (std::size_t at = 0; at < bytes.size(); at += 188) ASSERT_EQ(bytes[at], 0x47) << at;
  durix_tools_recording_look(
      recording, [](const durix_tools_recording* look, void*) { EXPECT_EQ(look->errors, 0U) << "the joint is none"; },
      nullptr);
}

TEST_F(Recorder, LosesNothingOfARecordingThatIsAwayWhenItStarts) {
  start();
  ASSERT_EQ(add("One", now(), now() + HOUR), DURIX_OK);
  const auto timer = _added;
  next();
  const std::uint32_t recording = next().recording;
  EXPECT_TRUE(eventually([&] { return secondsOf(recording) >= 1; }));
  const auto stream = fileOf(recording);
  const auto directory = stream.parent_path();
  const auto away = _middleware.data() / "away";
  stop();
  const std::string before = contentsOf(stream).substr(0, 188 * 50);
  const auto size = std::filesystem::file_size(stream);
  std::ofstream(stream, std::ios::app) << "torn";
  std::filesystem::remove(std::filesystem::path(stream).replace_extension(".index"));
  std::filesystem::rename(directory, away);
  start();
  std::filesystem::rename(away, directory);
  EXPECT_TRUE(eventually([&] { return std::filesystem::file_size(stream) > size + 188 * 50; }));
  EXPECT_EQ(contentsOf(stream).substr(0, before.size()), before);
  EXPECT_EQ(durix_recorder_remove_timer(_recorder, &timer), DURIX_OK);
  EXPECT_EQ(std::filesystem::file_size(stream) % 188, 0U);
}

TEST_F(Recorder, FinishesAndForgetsWhatRanOutWhileItWasAway) {
  start();
  ASSERT_EQ(add("One", now(), now() + HOUR), DURIX_OK);
  next();
  const std::uint32_t recording = next().recording;
  ASSERT_EQ(add("Two", now() + 60, now() + HOUR), DURIX_OK);
  stop();
  start(1, false);
  EXPECT_EQ(timers().size(), 2U);
  jump(now() + 2 * HOUR);
  const auto provider = _middleware.provider();
  EXPECT_EQ(durix_recorder_activate(_recorder, &provider), DURIX_OK);
  EXPECT_TRUE(timers().empty());
  ASSERT_EQ(recordings().size(), 1U) << "no partial recording is deleted";
  EXPECT_EQ(recordings()[0].id, recording);
  EXPECT_TRUE(isQuiet());
}

TEST_F(Recorder, FindsRecordingsWhoseDatabaseWasLost) {
  start();
  ASSERT_EQ(add("One", now() + HOUR, now() + 2 * HOUR), DURIX_OK);  // so that numbers come again below
  ASSERT_EQ(add("One", now(), now() + HOUR), DURIX_OK);
  next();
  const durix_esg_object recording{9, next().recording, 0};
  EXPECT_TRUE(eventually([&] { return secondsOf(recording.id) >= 1; }));
  stop();
  const auto directory = _middleware.data() / "recordings";
  write(directory / "holiday.ts", {0x47});  // somebody else's
  write(directory / "other.json", {'{', '}'});
  write(directory / "other.ts", {0x47});
  std::filesystem::remove(_middleware.data() / "durix.db");
  start();
  ASSERT_EQ(recordings().size(), 1U);
  const auto found = recordings()[0];
  EXPECT_EQ(_middleware.text(found, DURIX_ATTRIBUTE_NAME), "A name / of \"it\"");
  EXPECT_EQ(_middleware.text(found, DURIX_ATTRIBUTE_SERVICE_ID), "One");
  EXPECT_GE(secondsOf(found.id), 1U);
  ASSERT_EQ(add("One", now(), now() + HOUR), DURIX_OK);
  const auto timer = _added;
  next();
  const durix_esg_object another{9, next().recording, 0};
  EXPECT_EQ(another.id, recording.id);
  EXPECT_NE(fileOf(another.id), fileOf(found.id)) << "the name was taken";
  EXPECT_EQ(durix_recorder_remove_timer(_recorder, &timer), DURIX_OK);
  EXPECT_EQ(durix_recorder_remove_recording(_recorder, &another), DURIX_OK);
  EXPECT_EQ(durix_recorder_remove_recording(_recorder, &found), DURIX_OK);
  EXPECT_TRUE(std::filesystem::exists(directory / "holiday.ts") && std::filesystem::exists(directory / "other.ts"));
  stop();
  start();
  EXPECT_TRUE(recordings().empty());
}

TEST_F(Recorder, KeepsTryingUntilTheEndWhereNothingIsSent) {
  start();
  const auto stream = _middleware.airDirectory() / "482000000.ts";
  const auto away = _middleware.airDirectory() / "away";
  std::filesystem::rename(stream, away);
  const std::int64_t begin = now();
  ASSERT_EQ(add("Three", begin, begin + HOUR), DURIX_OK);
  EXPECT_EQ(next().event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_ACTIVATING));
  EXPECT_TRUE(isQuiet()) << "nothing to be announced";
  std::filesystem::rename(away, stream);
  const Told active = next();
  EXPECT_EQ(active.event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_ACTIVE)) << "it is there now";
  const auto size = [&] { return std::filesystem::file_size(fileOf(active.recording)); };
  std::filesystem::rename(stream, away);
  std::uintmax_t last = 0;
  EXPECT_TRUE(eventually([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    return std::exchange(last, size()) == size();
  })) << "nothing comes any more";
  std::filesystem::rename(away, stream);
  EXPECT_TRUE(eventually([&] { return size() > last; })) << "it goes on when it is back";
  jump(begin + HOUR);
  EXPECT_EQ(next().event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_DEACTIVE));

  std::filesystem::remove(stream);
  ASSERT_EQ(add("Three", now(), now() + HOUR), DURIX_OK);
  next();
  jump(now() + HOUR);
  const Told deactive = next();
  EXPECT_EQ(deactive.event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_DEACTIVE));
  EXPECT_EQ(deactive.recording, 0U) << "there never was anything";
}

TEST_F(Recorder, TellsThatTheDeviceIsFullWhenItsDirectoryVanishes) {
  start();
  ASSERT_EQ(add("One", now(), now() + HOUR), DURIX_OK);
  const std::uint32_t timer = _added.id;
  next();
  const std::uint32_t recording = next().recording;
  std::filesystem::remove_all(_middleware.data() / "recordings");
  const Told full = next();
  EXPECT_EQ(full.event, static_cast<std::uint32_t>(DURIX_EVENT_RECORDER_DEVICE_FULL));
  EXPECT_EQ(full.timers, std::vector{timer}) << "listed while it is told";
  EXPECT_TRUE(eventually([&] { return timers().empty(); })) << "and then gone";
  EXPECT_TRUE(isQuiet()) << "nothing else is told of it";
  ASSERT_EQ(recordings().size(), 1U) << "what is away is not deleted";
  const durix_esg_object object{9, recording, 0};
  EXPECT_NE(durix_recorder_remove_recording(_recorder, &object), DURIX_OK) << "it cannot be reached";
}

TEST_F(Recorder, ShiftsTimeAndLeavesNothingBehind) {
  start();
  ASSERT_EQ(add("One", 0, now() + HOUR, 0, DURIX_TIMER_TIMESHIFT), DURIX_OK);
  const auto shift = _added;
  const auto directory = _middleware.data() / "timeshift";
  EXPECT_TRUE(eventually([&] { return secondsOf(shift.id) >= 1; })) << "it grows and can be read";
  EXPECT_TRUE(timers().empty() && recordings().empty()) << "it is in no list";
  EXPECT_EQ(_middleware.text(shift, DURIX_ATTRIBUTE_SERVICE_ID), "One");
  EXPECT_EQ(_middleware.text(shift, DURIX_ATTRIBUTE_PARENTAL_RATING), "0");
  EXPECT_EQ(_middleware.feeds(shift).size(), 3U);
  EXPECT_EQ(durix_recorder_remove_recording(_recorder, &shift), DURIX_OK);
  EXPECT_TRUE(std::filesystem::is_empty(directory));
  EXPECT_TRUE(isQuiet());

  ASSERT_EQ(add("One", 0, 0, 0, DURIX_TIMER_TIMESHIFT), DURIX_OK) << "with an open end";
  EXPECT_TRUE(eventually([&] { return !std::filesystem::is_empty(directory); }));
  stop();
  write(directory / "77.ts", {1, 2, 3});  // as a killed process leaves it
  start();
  EXPECT_FALSE(std::filesystem::exists(directory));
}

TEST_F(Recorder, TakesAReceiverFromATimeShift) {
  start();
  ASSERT_EQ(add("One", 0, now() + HOUR, 0, DURIX_TIMER_TIMESHIFT), DURIX_OK);
  const auto shift = _added;
  EXPECT_TRUE(eventually([&] { return secondsOf(shift.id) >= 1; }));
  ASSERT_EQ(add("Three", now(), now() + HOUR), DURIX_OK) << "a recording comes first";
  EXPECT_EQ(next().event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_ACTIVATING));
  EXPECT_EQ(next().event, static_cast<std::uint32_t>(DURIX_EVENT_TIMER_ACTIVE));
  EXPECT_EQ(add("One", 0, 0, 0, DURIX_TIMER_TIMESHIFT), static_cast<std::uint32_t>(DURIX_CONFLICTING_TIMER));
}

}  // namespace
}  // namespace durix::test

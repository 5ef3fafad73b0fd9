#include "RecordingRoom.h"

#include <ctime>

#include "BroadcastRecorderPlaylist.h"

namespace {

std::string nameOf(AvContent* content) {
  return content == nullptr ? "null" : content->getName();
}

template <typename Content>
std::string namesOf(const std::vector<Content*>& contents) {
  std::string names;
  for (Content* const content : contents) names += (names.empty() ? "" : ",") + nameOf(content);
  return " [" + names + "]";
}

/// UTC; what is no time stands as its number.
std::string moment(std::time_t time) {
  if (time <= 0) return std::to_string(time);
  std::tm fields{};
  gmtime_r(&time, &fields);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &fields);
  return text;
}

}  // namespace

RecordingRoom::~RecordingRoom() {
  if (recorder != nullptr) recorder->removeRecorderListener(this);
}

void RecordingRoom::openRecorder() {
  open();
  recorder = plugin->getRecorder();
  recorder->addRecorderListener(this);
  recorder->init();
  stage.drop();
}

void RecordingRoom::describe(std::uint32_t id, const std::string& name, int start, int end,
                             const std::string& service) {
  stage.texts[{id, DURIX_ATTRIBUTE_NAME}] = name;
  stage.texts[{id, DURIX_ATTRIBUTE_SERVICE_ID}] = service;
  stage.texts[{id, DURIX_ATTRIBUTE_START_TIME_STR}] = std::to_string(start);
  stage.texts[{id, DURIX_ATTRIBUTE_END_TIME_STR}] = std::to_string(end);
  stage.numbers[{id, DURIX_ATTRIBUTE_START_TIME}] = start;
  stage.numbers[{id, DURIX_ATTRIBUTE_END_TIME}] = end;
}

void RecordingRoom::store(std::uint32_t recording, const std::string& name, int start, int end) {
  describe(recording, name, start, end);
  stage.recordings.push_back({9, recording, 0});
}

void RecordingRoom::keepTimer(std::uint32_t timer, const std::string& name, int start, int end) {
  describe(timer, name, start, end);
  stage.listedTimers.push_back({DURIX_OBJECT_TIMER, timer, 0});
}

Scheduling* RecordingRoom::record(const std::string& name, int start, int end) {
  describe(stage.nextTimer, name, start > 0 ? start : static_cast<int>(stage.time), end);
  return recorder->record(name, channel(ONE), start, end);
}

void RecordingRoom::announce(std::uint32_t event, const std::string& title, int start, int end) {
  stage.addProgram(ONE, event, title, start, end);
  stage.texts[{event, DURIX_ATTRIBUTE_END_TIME_STR}] = "9999-12-31T00:00:00";
}

void RecordingRoom::sendTimer(std::uint32_t event, std::uint32_t timer) {
  stage.deliver(Event(event).put(DURIX_OFFSET_TIMER_ID, timer));
}

Playlist* RecordingRoom::playlist(const std::vector<Playlist*>& playlists, const std::string& name) {
  for (Playlist* const playlist : playlists) {
    if (playlist->getName() == name) return playlist;
  }
  return nullptr;
}

std::string RecordingRoom::told() {
  std::string text;
  const std::string all = lines();
  for (std::size_t from = 0, to = 0; (to = all.find('\n', from)) != std::string::npos; from = to + 1) {
    const std::string line = all.substr(from, to - from);
    if (!line.starts_with("durix_attribute_get")) text += line + "\n";
  }
  return text;
}

void RecordingRoom::tell(const std::string& notice) {
  stage.note("> " + notice);
  if (const auto work = onNotice) work(notice);  // a copy: it may replace itself
}

void RecordingRoom::notifyScheduledRecordingUpdated(Scheduling* scheduling) {
  tell("updated " + nameOf(scheduling));
}

void RecordingRoom::notifyRecordingActive(Scheduling* scheduling) {
  tell("active " + nameOf(scheduling));
}

void RecordingRoom::notifyRecordingActivating(Scheduling* scheduling, unsigned value,
                                              std::vector<Scheduling*> conflicting) {
  tell("activating " + nameOf(scheduling) + " " + std::to_string(value) + namesOf(conflicting));
}

void RecordingRoom::notifyRecordingDeactive(Scheduling* scheduling) {
  tell("deactive " + nameOf(scheduling));
}

void RecordingRoom::notifyDeviceFull(Scheduling* scheduling) {
  tell("full " + nameOf(scheduling));
}

void RecordingRoom::notifyPlaylistUpdated(Playlist* playlist, std::vector<Clip*> clips) {
  tell("playlist " + nameOf(playlist) + namesOf(clips));
}

std::string spans(const std::vector<Playlist*>& playlists) {
  std::string text;
  for (Playlist* const playlist : playlists) {
    const auto& own = dynamic_cast<const BroadcastRecorderPlaylist&>(*playlist);
    text += std::to_string(playlist->getId()) + " " + playlist->getName() + " " + moment(own.getStartTime()) + " " +
            moment(own.getEndTime()) + " #" + std::to_string(playlist->getChannelNumber()) +
            (playlist->hasTag("Recorded") ? " Recorded" : "") + "\n";
  }
  return text;
}

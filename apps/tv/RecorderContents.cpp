#include "RecorderContents.h"

#include "Failure.h"
#include "SideDoor.h"
#include "velmora/BroadcastPlugin.h"
#include "velmora/Recorder.h"

namespace tv {

Recorder& recorderOf(BroadcastPlugin& plugin) {
  Recorder* const recorder = plugin.getRecorder();
  if (recorder == nullptr || !recorder->isAvailable()) throw Failure("the plugin has no recorder");
  return *recorder;
}

Json timerJson(Scheduling& timer) {
  Json programmes = Json::array();
  for (const AvContent* programme : timer.getTargetPrograms()) programmes.push_back(programme->getId());
  return {{"id", timer.getId()},
          {"name", timer.getName()},
          {"channel", timer.getTargetServiceName()},
          {"start", timer.getStartTime()},
          {"end", timer.getEndTime()},
          {"startTime", timer.getStartTimeT()},
          {"endTime", timer.getEndTimeT()},
          {"active", timer.isActive()},
          {"programmes", std::move(programmes)}};
}

Json recordingJson(Recording& recording, const SideDoor& sideDoor) {
  const ParentalRating* const rating = recording.getParentalRating();
  const auto state = sideDoor.recording(recording.getId());
  const bool isMeasured = state && state->isThere;
  Json json{{"id", recording.getId()},
            {"name", recording.getName()},
            {"channel", recording.getTargetServiceName()},
            {"start", recording.getStartTime()},
            {"end", recording.getEndTime()},
            {"startTime", recording.getStartTimeT()},
            {"endTime", recording.getEndTimeT()},
            {"duration",
             isMeasured ? static_cast<long>(state->seconds) : recording.getEndTimeT() - recording.getStartTimeT()},
            {"active", recording.isActive() || (state && state->isGrowing)},
            {"description", recording.getDescription()},
            {"rating", rating == nullptr ? 0 : rating->getValue()},
            {"uri", recording.propertyGet("uri:friendly", "")}};
  if (state) {
    json["file"] = state->file;
    json["bytes"] = state->bytes;
    json["errors"] = state->errors;
    json["offline"] = !state->isThere;
  }
  return json;
}

Json playlistJson(Playlist& playlist) {
  Json items = Json::array();
  for (const Clip* clip : playlist.getClips()) items.push_back(clip->getId());
  return {{"id", playlist.getId()},
          {"name", playlist.getName()},
          {"channelNumber", playlist.getChannelNumber()},
          {"start", playlist.getIntProperty("start")},
          {"end", playlist.getIntProperty("end")},
          {"items", std::move(items)}};
}

}  // namespace tv

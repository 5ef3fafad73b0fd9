#include "BroadcastRecorderPlaylist.h"

#include <algorithm>
#include <vector>

#include "velmora/Logger.h"

namespace {

// The contract names a logger for this file; nothing is written to it.
[[maybe_unused]] Logger* const LOGGER = Logger::loggerFactory("BroadcastRecorderPlaylist");

long startOf(const Clip* clip) {
  const auto* const timed = dynamic_cast<const TimedClip*>(clip);
  return timed == nullptr ? 0 : timed->getStartTimeT();
}

}  // namespace

BroadcastRecorderPlaylist::BroadcastRecorderPlaylist(unsigned id, Plugin* plugin, long start, long end)
    : Playlist(id, plugin, 0) {
  setStartTime(static_cast<std::int32_t>(start));
  setEndTime(static_cast<std::int32_t>(end));
  _attribute = 1;
}

void BroadcastRecorderPlaylist::setStartTime(int start) {
  _start = start;
  setIntProperty("start", start);
}

void BroadcastRecorderPlaylist::setEndTime(int end) {
  _end = end;
  setIntProperty("end", end);
}

void BroadcastRecorderPlaylist::releaseClips() {
  for (Clip* const clip : getClips()) removeClip(clip);
}

void BroadcastRecorderPlaylist::sortClips(Playlist::SortMode mode) {
  if (mode != SORT_BY_TIME) return;
  const std::lock_guard<std::mutex> lock(_store);
  std::vector<std::pair<long, Clip*>> keyed;
  keyed.reserve(_clips.size());
  for (Clip* const clip : _clips) keyed.emplace_back(startOf(clip), clip);
  std::stable_sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::transform(keyed.begin(), keyed.end(), _clips.begin(), [](const auto& entry) { return entry.second; });
}

bool BroadcastRecorderPlaylist::contains(Clip* clip) {
  return indexOf(clip) >= 0;
}

void BroadcastRecorderPlaylist::setChannelNumber(unsigned number) {
  setIntProperty("channelnumber", static_cast<int>(number));
}

bool BroadcastRecorderPlaylist::belongsToThis(Recording* recording) const {
  return takes(recording);
}
bool BroadcastRecorderPlaylist::belongsToThis(Scheduling* scheduling) const {
  return takes(scheduling);
}

bool BroadcastRecorderPlaylist::takes(const TimedClip* clip) const {
  if (clip == nullptr) return false;
  const long start = clip->getStartTimeT();
  if (_start == 0 && _end == 0) return true;
  if (_start < 0 && _end < 0) return false;
  if (_end == 0) return start < _start;
  return _start < start && start < _end;
}

#include "recording/PlaylistShelf.h"

#include <algorithm>
#include <limits>

#include "durix/ostiv.h"
#include "recording/ClipRegistry.h"
#include "support/Log.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BROADCASTRECORDER"), "plugins/dvbt/src/BroadcastRecorder"};

const std::string ALL_SCHEDULINGS = "schedulings.playlist.all";
const std::string OLDER_RECORDINGS = "recordings.playlist.older";
constexpr unsigned ALL_SCHEDULINGS_NUMBER = 7;
constexpr int DAYS = 7;
constexpr std::size_t WEEKS = 5;  // positions kept for weeks, also in short months
constexpr int MONTHS = 11;

std::int64_t systemTime() {
  std::int64_t now = 0;
  ostiv_time_get_system_time(&now);
  return now;
}

int narrowed(std::int64_t time) {
  return static_cast<int>(
      std::clamp<std::int64_t>(time, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

}  // namespace

PlaylistShelf::PlaylistShelf(Recorder& recorder, Plugin& plugin, ClipRegistry& clips, Tag* recordedTag)
    : _recorder(recorder), _plugin(plugin), _clips(clips), _recordedTag(recordedTag) {}

PlaylistShelf::~PlaylistShelf() {
  for (const Playlist* const playlist : _schedulingPlaylists) delete playlist;
  for (const Playlist* const playlist : _recordingPlaylists) delete playlist;
}

std::vector<Playlist*> PlaylistShelf::schedulingPlaylists() const {
  const Lock lock(_shelfMutex);
  return {_schedulingPlaylists.begin(), _schedulingPlaylists.end()};
}

std::vector<Playlist*> PlaylistShelf::recordingPlaylists() const {
  const Lock lock(_shelfMutex);
  return {_recordingPlaylists.begin(), _recordingPlaylists.end()};
}

PlaylistShelf::Shelf PlaylistShelf::schedulingShelf() const {
  const Lock lock(_shelfMutex);
  return _schedulingPlaylists;
}

PlaylistShelf::Shelf PlaylistShelf::recordingShelf() const {
  const Lock lock(_shelfMutex);
  return _recordingPlaylists;
}

BroadcastRecorderPlaylist* PlaylistShelf::create(std::int64_t start, std::int64_t end, const std::string& name) {
  auto* const playlist = new BroadcastRecorderPlaylist(++_nextPlaylistId, &_plugin, narrowed(start), narrowed(end));
  if (!name.empty()) playlist->setName(name);
  return playlist;
}

void PlaylistShelf::putOnShelf(Shelf& shelf, BroadcastRecorderPlaylist* playlist) BC_NO_ANALYSIS {
  const Lock lock(_shelfMutex);
  shelf.push_back(playlist);
}

BroadcastRecorderPlaylist* PlaylistShelf::getDayPlaylist(std::int64_t now, int dayOffset, int days) {
  const calendar::Window window = calendar::dayWindow(now, dayOffset, days);
  BC_INFO(LOG, "BroadcastRecorder::getDayPlaylist: weekday %d", calendar::weekday(window.start));
  return create(window.start, window.end, window.name);
}

void PlaylistShelf::setWindow(BroadcastRecorderPlaylist& playlist, const calendar::Window& window) {
  playlist.setStartTime(narrowed(window.start));
  playlist.setEndTime(narrowed(window.end));
  playlist.setName(window.name);
}

void PlaylistShelf::buildSchedulingPlaylists() BC_NO_ANALYSIS {
  BroadcastRecorderPlaylist* const all = create(0, 0, ALL_SCHEDULINGS);
  all->setChannelNumber(ALL_SCHEDULINGS_NUMBER);
  putOnShelf(_schedulingPlaylists, all);
  const std::int64_t now = systemTime();
  for (int day = 0; day < DAYS; ++day) {
    BroadcastRecorderPlaylist* const playlist = getDayPlaylist(now, day, 1);
    putOnShelf(_schedulingPlaylists, playlist);
    playlist->setChannelNumber(static_cast<unsigned>(day));
  }
  _clips.sortSchedulings();
  for (Scheduling* const scheduling : _clips.schedulings()) updatePlaylists(scheduling);
}

void PlaylistShelf::buildRecordingPlaylists() BC_NO_ANALYSIS {
  const std::int64_t now = systemTime();
  const int weeks = calendar::weeksThisMonth(now);
  const auto append = [this](BroadcastRecorderPlaylist* playlist) {
    playlist->addTag(_recordedTag);
    putOnShelf(_recordingPlaylists, playlist);
  };
  for (int week = 0; week < weeks; ++week) {
    BroadcastRecorderPlaylist* const playlist = create(-1, -1, {});
    setWindow(*playlist, calendar::weekWindow(now, -week, 1));
    append(playlist);
  }
  while (recordingShelf().size() < WEEKS) append(create(-1, -1, {}));
  std::int64_t oldest = 0;
  for (int month = 1; month <= MONTHS; ++month) {
    const calendar::Window window = calendar::monthWindow(now, -month, 1);
    BroadcastRecorderPlaylist* const playlist = create(-1, -1, {});
    setWindow(*playlist, window);
    append(playlist);
    oldest = window.start;
  }
  BroadcastRecorderPlaylist* const older = create(0, 0, OLDER_RECORDINGS);
  older->setStartTime(narrowed(oldest - 1));
  append(older);
  for (Recording* const recording : _clips.recordings()) updatePlaylists(recording);
}

void PlaylistShelf::dropSchedulingPlaylists() {
  Shelf dropped;
  {
    const Lock lock(_shelfMutex);
    dropped.swap(_schedulingPlaylists);
  }
  for (BroadcastRecorderPlaylist* const playlist : dropped) _clips.retire(playlist);
}

void PlaylistShelf::updatePlaylists(Scheduling* scheduling) {
  for (BroadcastRecorderPlaylist* const playlist : schedulingShelf()) {
    if (!_clips.contains(scheduling)) return;  // a listener has cancelled it
    if (!playlist->belongsToThis(scheduling) || playlist->contains(scheduling)) continue;
    playlist->addClip(scheduling);
    playlist->sortClips(Playlist::SORT_BY_TIME);
    _recorder.sendNotifyPlaylistUpdated(playlist, {scheduling});
  }
}

void PlaylistShelf::updatePlaylists(Recording* recording) {
  if (!_clips.contains(recording)) return;  // a listener has deleted it
  for (BroadcastRecorderPlaylist* const playlist : recordingShelf()) {
    if (!playlist->belongsToThis(recording) || playlist->contains(recording)) continue;
    playlist->addClip(recording);
    _recorder.sendNotifyPlaylistUpdated(playlist, {recording});
    return;
  }
}

void PlaylistShelf::removeScheduling(Scheduling* scheduling) {
  for (BroadcastRecorderPlaylist* const playlist : schedulingShelf()) {
    if (playlist->indexOf(scheduling) < 0) continue;
    playlist->removeClip(scheduling);
    playlist->sortClips(Playlist::SORT_BY_TIME);
    BC_INFO(LOG, "Removing scheduling %s from playlist %s", scheduling->getName().c_str(), playlist->getName().c_str());
    _recorder.sendNotifyPlaylistUpdated(playlist, {});
  }
}

void PlaylistShelf::removeRecording(Recording* recording) {
  for (BroadcastRecorderPlaylist* const playlist : recordingShelf()) {
    if (!playlist->contains(recording)) continue;
    BC_INFO(LOG, "Found instance from playlist %s", playlist->getTitle().c_str());
    playlist->removeClip(recording);
  }
}

void PlaylistShelf::schedulingChanged(Scheduling* scheduling) {
  for (BroadcastRecorderPlaylist* const playlist : schedulingShelf()) {
    if (!playlist->belongsToThis(scheduling) || !playlist->contains(scheduling)) continue;
    playlist->sortClips(Playlist::SORT_BY_TIME);
    _recorder.sendNotifyPlaylistUpdated(playlist, {scheduling});
  }
}

void PlaylistShelf::refresh() {
  moveDays();
  _clips.sortSchedulings();
  for (Scheduling* const scheduling : _clips.schedulings()) updatePlaylists(scheduling);

  const Shelf shelf = recordingShelf();
  for (BroadcastRecorderPlaylist* const playlist : shelf) {
    playlist->releaseClips();
    _recorder.sendNotifyPlaylistUpdated(playlist, {});
  }
  const std::int64_t now = systemTime();
  moveWeeks(shelf, now);
  const std::int64_t oldest = moveMonths(shelf, now);
  if (!shelf.empty()) {
    BroadcastRecorderPlaylist& older = *shelf.back();
    older.setName(OLDER_RECORDINGS);
    older.setStartTime(narrowed(oldest));
    older.setEndTime(0);
    older.addTag(_recordedTag);
  }
  for (Recording* const recording : _clips.recordings()) updatePlaylists(recording);
}

void PlaylistShelf::moveDays() {
  for (BroadcastRecorderPlaylist* const playlist : schedulingShelf()) {
    if (playlist->getName() == ALL_SCHEDULINGS) continue;
    playlist->setStartTime(narrowed(playlist->getStartTime() + calendar::DAY));
    playlist->setEndTime(narrowed(playlist->getEndTime() + calendar::DAY));
    playlist->releaseClips();
    playlist->setName(calendar::dayName(calendar::weekday(playlist->getStartTime())));
    _recorder.sendNotifyPlaylistUpdated(playlist, {});
  }
}

/// The playlist at a position; null, with the stated complaint, when the list ends before it.
BroadcastRecorderPlaylist* PlaylistShelf::at(const Shelf& shelf, std::size_t position) {
  if (position < shelf.size()) return shelf[position];
  BC_ERR(LOG, "BroadcastRecorder, recording playlists size mismatch, serious bug here!");
  return nullptr;
}

void PlaylistShelf::moveWeeks(const Shelf& shelf, std::int64_t now) {
  // On the 29th to 31st a sixth week is written where the months begin, and the months then overwrite it.
  const int weeks = calendar::weeksThisMonth(now);
  for (int week = 0; week < weeks; ++week) {
    BroadcastRecorderPlaylist* const playlist = at(shelf, static_cast<std::size_t>(week));
    if (playlist == nullptr) break;
    setWindow(*playlist, calendar::weekWindow(now, -week, 1));
    playlist->addTag(_recordedTag);
  }
  for (auto spare = static_cast<std::size_t>(weeks); spare < WEEKS; ++spare) {
    BroadcastRecorderPlaylist* const playlist = at(shelf, spare);
    if (playlist == nullptr) break;
    playlist->setStartTime(-1);
    playlist->setEndTime(-1);
    playlist->addTag(_recordedTag);
  }
}

std::int64_t PlaylistShelf::moveMonths(const Shelf& shelf, std::int64_t now) {
  std::int64_t olderThan = -1;
  for (int month = 1; month <= MONTHS; ++month) {
    BroadcastRecorderPlaylist* const playlist = at(shelf, WEEKS + static_cast<std::size_t>(month) - 1);
    if (playlist == nullptr) break;
    const calendar::Window window = calendar::monthWindow(now, -month, 1);
    setWindow(*playlist, window);
    playlist->addTag(_recordedTag);
    olderThan = window.start - 1;
  }
  return olderThan;
}

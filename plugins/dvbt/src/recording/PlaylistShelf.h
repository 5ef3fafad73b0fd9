#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "BroadcastRecorderPlaylist.h"
#include "recording/Calendar.h"
#include "support/Lock.h"
#include "velmora/Recorder.h"

class ClipRegistry;

/// The recorder's playlists: timers by day, recordings by week and month. It owns them. Changes are made under the
/// recorder's mutex, which stays held while the host is told; the leaf in here lets anybody read the lists.
class PlaylistShelf {
 public:
  PlaylistShelf(Recorder& recorder, Plugin& plugin, ClipRegistry& clips, Tag* recordedTag);
  PlaylistShelf(const PlaylistShelf&) = delete;
  PlaylistShelf& operator=(const PlaylistShelf&) = delete;
  ~PlaylistShelf();

  std::vector<Playlist*> schedulingPlaylists() const;
  std::vector<Playlist*> recordingPlaylists() const;

  void buildSchedulingPlaylists();
  void buildRecordingPlaylists();
  void refresh();  // moves the spans on; the day lists by one day at each call
  void dropSchedulingPlaylists();

  /// Puts an item into the lists that take it and tells the host.
  void updatePlaylists(Scheduling* scheduling);
  void updatePlaylists(Recording* recording);  // into the first that takes it only

  void removeScheduling(Scheduling* scheduling);
  void removeRecording(Recording* recording);
  void schedulingChanged(Scheduling* scheduling);

 private:
  using Shelf = std::vector<BroadcastRecorderPlaylist*>;
  Shelf schedulingShelf() const;
  Shelf recordingShelf() const;
  BroadcastRecorderPlaylist* create(std::int64_t start, std::int64_t end, const std::string& name);
  BroadcastRecorderPlaylist* getDayPlaylist(std::int64_t now, int dayOffset, int days);
  static void setWindow(BroadcastRecorderPlaylist& playlist, const calendar::Window& window);
  void putOnShelf(Shelf& shelf, BroadcastRecorderPlaylist* playlist);
  static BroadcastRecorderPlaylist* at(const Shelf& shelf, std::size_t position);
  void moveDays();
  void moveWeeks(const Shelf& shelf, std::int64_t now);
  std::int64_t moveMonths(const Shelf& shelf, std::int64_t now);

  Recorder& _recorder;  // outlives this, as the next two
  Plugin& _plugin;
  ClipRegistry& _clips;
  Tag* const _recordedTag;

  unsigned _nextPlaylistId = 99000;  // guarded by the recorder's mutex

  mutable RankedMutex _shelfMutex{LockRank::Leaf};
  // guarded by _shelfMutex; owned
  Shelf _schedulingPlaylists BC_GUARDED_BY(_shelfMutex);
  Shelf _recordingPlaylists BC_GUARDED_BY(_shelfMutex);
};

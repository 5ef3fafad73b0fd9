#pragma once

#include <mutex>
#include <unordered_map>
#include <vector>

class Clip;
class Playlist;

namespace host {

/// Which playlists list a clip, so that a clip that dies leaves them. Its mutex comes before a playlist's own leaf;
/// nothing of the clip or the playlist is called back but `Playlist::removeClip`.
class PlaylistShelf {
 public:
  /// Held by a playlist while it changes what it lists.
  static std::unique_lock<std::recursive_mutex> lock();

  // the lock is held
  static void put(const Clip* clip, Playlist* playlist);
  static void take(const Clip* clip, Playlist* playlist);

  /// Takes the clip out of every playlist.
  static void leaveAll(Clip* clip);

 private:
  friend PlaylistShelf& shelf();

  std::recursive_mutex _mutex;
  std::unordered_map<const Clip*, std::vector<Playlist*>> _playlists;  // guarded by _mutex
};

}  // namespace host

#include "velmora/Playlist.h"

#include <algorithm>
#include <map>
#include <utility>

#include "host/src/ForEver.h"
#include "host/src/PlaylistShelf.h"

namespace host {

PlaylistShelf& shelf() {
  return forEver<PlaylistShelf>();
}

std::unique_lock<std::recursive_mutex> PlaylistShelf::lock() {
  return std::unique_lock(shelf()._mutex);
}

void PlaylistShelf::put(const Clip* clip, Playlist* playlist) {
  shelf()._playlists[clip].push_back(playlist);
}

void PlaylistShelf::take(const Clip* clip, Playlist* playlist) {
  const auto known = shelf()._playlists.find(clip);
  if (known == shelf()._playlists.end()) return;
  std::erase(known->second, playlist);
  if (known->second.empty()) shelf()._playlists.erase(known);
}

void PlaylistShelf::leaveAll(Clip* clip) {
  const auto held = lock();
  const auto known = shelf()._playlists.find(clip);
  if (known == shelf()._playlists.end()) return;
  const std::vector<Playlist*> playlists = std::move(known->second);
  shelf()._playlists.erase(known);
  for (Playlist* const playlist : playlists) playlist->removeClip(clip);
}

}  // namespace host

using host::PlaylistShelf;

Playlist::Playlist(unsigned id, Plugin* plugin, unsigned kind) : AvContent(id, plugin, AV_PLAYLIST), _kind(kind) {}

Playlist::~Playlist() {
  const auto shelf = PlaylistShelf::lock();
  for (const Clip* const clip : _clips) PlaylistShelf::take(clip, this);
}

void Playlist::releaseClips() {
  const auto shelf = PlaylistShelf::lock();
  const std::lock_guard lock(_store);
  for (const Clip* const clip : _clips) PlaylistShelf::take(clip, this);
  _clips.clear();
}

void Playlist::sortClips(SortMode mode) {
  // The keys come from the clips themselves, so they are read before the lock is taken.
  std::map<const Clip*, std::pair<long, std::string>> keys;
  for (Clip* const clip : getClips()) {
    auto& [time, name] = keys[clip];
    const auto* const timed = dynamic_cast<const TimedClip*>(clip);
    if (mode == SORT_BY_NAME) {
      name = clip->getName();
    } else if (timed) {
      time = timed->getStartTimeT();
    }
  }
  const std::lock_guard lock(_store);
  std::stable_sort(_clips.begin(), _clips.end(), [&](const Clip* a, const Clip* b) { return keys[a] < keys[b]; });
}

void Playlist::addClip(Clip* clip) {
  if (!clip) return;
  const auto shelf = PlaylistShelf::lock();
  const std::lock_guard lock(_store);
  if (std::find(_clips.begin(), _clips.end(), clip) != _clips.end()) return;
  _clips.push_back(clip);
  PlaylistShelf::put(clip, this);
}

void Playlist::addClips(const std::vector<Clip*>& clips) {
  for (Clip* const clip : clips) addClip(clip);
}

void Playlist::removeClip(Clip* clip) {
  const auto shelf = PlaylistShelf::lock();
  const std::lock_guard lock(_store);
  std::erase(_clips, clip);
  PlaylistShelf::take(clip, this);
}

int Playlist::indexOf(Clip* clip) const {
  const std::lock_guard lock(_store);
  const auto known = std::find(_clips.begin(), _clips.end(), clip);
  return known == _clips.end() ? -1 : static_cast<int>(known - _clips.begin());
}

std::vector<Clip*> Playlist::getClips() const {
  const std::lock_guard lock(_store);
  return _clips;
}

unsigned Playlist::getSize() const {
  const std::lock_guard lock(_store);
  return static_cast<unsigned>(_clips.size());
}

void Playlist::freeClips() {
  const std::vector<Clip*> clips = getClips();
  releaseClips();
  for (Clip* const clip : clips) delete clip;
}

void Playlist::release() {
  delete this;
}

// No listener of a playlist belongs to the contract: its changes are told by the recorder that fills it.
void Playlist::notifyPlaylistUpdated() {}
void Playlist::notifyPlaylistError() {}

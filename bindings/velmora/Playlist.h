#pragma once

#include <string>
#include <vector>

#include "velmora/Clip.h"

/// An ordered list of clips, which it does not own.
class Playlist : public AvContent {
 public:
  enum SortMode { SORT_BY_TIME = 0, SORT_BY_NAME = 1 };

  Playlist(unsigned id, Plugin* plugin, unsigned kind);
  ~Playlist() override;
  virtual void releaseClips();
  virtual void sortClips(SortMode mode);

  void addClip(Clip* clip);  // one that is there already stays once
  void addClips(const std::vector<Clip*>& clips);
  void removeClip(Clip* clip);
  int indexOf(Clip* clip) const;  // negative when absent
  std::vector<Clip*> getClips() const;
  unsigned getSize() const;
  void freeClips();  // deletes every clip
  void release();    // deletes the playlist
  void notifyPlaylistUpdated();
  void notifyPlaylistError();

 protected:
  std::vector<Clip*> _clips;  // guarded by _store
  unsigned _kind;
  int _attribute = 0;
};

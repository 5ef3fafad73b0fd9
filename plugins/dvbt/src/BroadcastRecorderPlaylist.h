#pragma once

#include <cstdint>

#include "velmora/Playlist.h"

/// The recordings or timers of a span of time. Spans are seconds since the epoch and exclusive at both edges:
///   (0, 0) takes everything, (-1, -1) nothing, (S, 0) what starts before S, (S, E) what starts strictly between.
/// The recorder owns it and guards the span; the clips belong to the recorder. Hosts read the span in the properties
/// "start" and "end".
class BroadcastRecorderPlaylist : public Playlist {
 public:
  BroadcastRecorderPlaylist(unsigned id, Plugin* plugin, long start, long end);
  ~BroadcastRecorderPlaylist() override = default;

  void releaseClips() override;
  void sortClips(Playlist::SortMode mode) override;  // ascending start for mode 0; other modes change nothing

  virtual bool contains(Clip* clip);
  virtual void setChannelNumber(unsigned number);

  bool belongsToThis(Recording* recording) const;
  bool belongsToThis(Scheduling* scheduling) const;

  void setStartTime(int start);
  void setEndTime(int end);
  int getStartTime() const { return _start; }
  int getEndTime() const { return _end; }

 private:
  bool takes(const TimedClip* clip) const;

  std::int32_t _start = 0;
  std::int32_t _end = 0;
};

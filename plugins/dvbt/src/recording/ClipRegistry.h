#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/Lock.h"
#include "velmora/Clip.h"

/// The recorder's schedulings and recordings, which it owns. Changes are made under the recorder's mutex; the leaf in
/// here lets anybody read meanwhile, also from inside a notice. What is taken out is retired and freed only with the
/// registry, because the host or another thread may still be reading it.
class ClipRegistry {
 public:
  ClipRegistry() = default;
  ClipRegistry(const ClipRegistry&) = delete;
  ClipRegistry& operator=(const ClipRegistry&) = delete;
  ~ClipRegistry();

  std::vector<Scheduling*> schedulings() const;  // after `sortSchedulings` from the latest start to the earliest
  std::vector<Recording*> recordings() const;    // in the order they were added

  std::vector<TimedClip*> everyOne() const;  // retired ones too

  void add(Scheduling* scheduling);
  void add(Recording* recording);
  bool contains(const Scheduling* scheduling) const;  // by identity; the object is not looked at
  bool contains(const Recording* recording) const;
  Scheduling* findScheduling(unsigned contentId) const;  // null when absent
  Recording* findRecording(unsigned contentId) const;

  void sortSchedulings();

  /// Take out of the lists; the caller retires them when it has done with them.
  void remove(const Scheduling* scheduling);
  void remove(const Recording* recording);
  std::vector<Scheduling*> takeSchedulings();

  void retire(Clip* clip);
  void retire(Playlist* playlist);

 private:
  mutable RankedMutex _listMutex{LockRank::Leaf};
  // guarded by _listMutex; owned
  std::vector<Scheduling*> _schedulings BC_GUARDED_BY(_listMutex);
  std::vector<Recording*> _recordings BC_GUARDED_BY(_listMutex);
  std::vector<std::unique_ptr<AvContent>> _retired BC_GUARDED_BY(_listMutex);
};

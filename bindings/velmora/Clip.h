#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "velmora/Content.h"

class Playlist;

/// Stored content that playlists list. A clip leaves its playlists when it dies.
class Clip : public AvContent {
 public:
  Clip(unsigned id, Plugin* plugin, AvContent::AvType type);
  ~Clip() override;
  bool isFavorite() override;
  void setFavorite(bool favorite, long position) override;

  Playlist* getOriginalPlaylist() const { return _originalPlaylist; }
  void setOriginalPlaylist(Playlist* playlist) { _originalPlaylist = playlist; }
  void referenceAdd() { ++_references; }
  void referenceRemove() { --_references; }
  int getReferences() const { return _references; }

 private:
  std::atomic<Playlist*> _originalPlaylist = nullptr;
  std::atomic<int> _references = 0;
};

/// What recordings and schedulings have in common: times (seconds since the epoch and UTC texts) and what is recorded.
class TimedClip : public Clip {
 public:
  TimedClip(Plugin* plugin, unsigned id, AvContent::AvType type);
  ~TimedClip() override;

  long getStartTimeT() const;
  long getEndTimeT() const;
  void setStartTimeT(long time);
  void setEndTimeT(long time);
  std::string getStartTime() const;
  std::string getEndTime() const;
  void setStartTime(const std::string& time);
  void setEndTime(const std::string& time);

  AvContent* getTargetService() const;
  void setTargetService(AvContent* service);
  std::string getTargetServiceName() const;
  void setTargetServiceName(const std::string& name);
  unsigned getTargetServiceNetworkId() const;
  void setTargetServiceNetworkId(unsigned network);

  void addTargetProgram(AvContent* program);  // one that is there already stays once
  void removeTargetProgram(AvContent* program);
  std::vector<AvContent*> getTargetPrograms() const;

  bool isActive() const;
  void setActive(bool active);
  unsigned getContentId() const { return getId(); }

 private:
  // guarded by _store
  long _startTimeT = 0;
  long _endTimeT = 0;
  std::string _startTime;
  std::string _endTime;
  AvContent* _targetService = nullptr;  // not owned
  std::string _targetServiceName;
  unsigned _targetServiceNetworkId = 0;
  std::vector<AvContent*> _targetPrograms;  // not owned
  bool _active = false;
};

class Recording : public TimedClip {
 public:
  Recording(Plugin* plugin, unsigned id, AvContent::AvType type);
  ~Recording() override;
  virtual bool isScheduled();
  virtual void setScheduled(bool scheduled);
  virtual void fillMetadata();
};

class Scheduling : public TimedClip {
 public:
  Scheduling(Plugin* plugin, unsigned id, AvContent::AvType type);
  ~Scheduling() override;
  virtual void fillMetadata();

  Recording* getTargetRecording() const;
  void setTargetRecording(Recording* recording);

 private:
  Recording* _targetRecording = nullptr;  // not owned; guarded by _store
};

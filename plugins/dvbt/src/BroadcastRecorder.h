#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "durix/durix_recorder.h"
#include "recording/ClipRegistry.h"
#include "recording/MwListener.h"
#include "recording/PlaylistShelf.h"
#include "recording/RecorderError.h"
#include "recording/RecorderHost.h"
#include "recording/StoredClips.h"
#include "recording/TimerEvents.h"
#include "support/Lock.h"
#include "velmora/BroadcastPlugin.h"
#include "velmora/Recorder.h"

class ServiceImpl;

/// Recording timers, stored recordings and one timeshift, as the host sees them. The plugin owns it.
///
///   created --init--> available (recordings are known) --activate--> active (timers too) --deactivate--> available
///
/// Host threads, the plugin and the middleware's event thread meet in its mutex, the outermost but for a scan's, which
/// stays held while the host is told. The host may read from a notice; it changes timers and recordings from elsewhere.
class BroadcastRecorder : public Recorder, public PluginListener, private TimerEventHandler, private TimerEventsHost {
 public:
  using MwListener = ::MwListener;

  BroadcastRecorder(BroadcastPlugin& plugin, RecorderHost& host);
  ~BroadcastRecorder() override;

  bool isAvailable() override { return _initialized; }
  void init() override;
  void deactivate() override;
  Scheduling* record(Program* program) override;
  Scheduling* record(std::string name, Service* service, int start, int end) override;
  bool modifyScheduling(Scheduling* scheduling, int start, int end, std::string name) override;
  bool cancelScheduling(Scheduling* scheduling) override;
  Scheduling* getSchedulingForProgram(Program* program) override;
  Recording* timeshift(Service* service, int duration) override;
  void endTimeshift(Recording* recording) override;
  std::vector<Playlist*> getPlaylists() override { return {}; }
  bool isRecordingsActive() override;
  std::vector<Playlist*> getRecordings() override { return _playlists.recordingPlaylists(); }
  std::vector<Playlist*> getSchedulings() override { return _playlists.schedulingPlaylists(); }
  std::vector<Recording*> getRecorded() override { return _clips.recordings(); }
  std::vector<Scheduling*> getScheduled() override { return _clips.schedulings(); }
  bool deleteRecording(Recording* recording) override;
  std::vector<Scheduling*> getConflicting(Program* program) override;
  std::string getLastError() override { return _error.take(); }
  void refresh() override;
  bool setRecordingDirectory(std::string path) override;
  std::string getRecordingDirectory() override;
  std::vector<Service*> getActiveSchedulingsServices() override;

  virtual void activate(durix_handle* handle, durix_provider* provider);
  void notifyProgramUpdate(Plugin* plugin, Service* service, std::vector<Program*>* programs) override;
  virtual void updateFavoritePlaylist(Playlist* playlist);

  /// Drops every target service and programme: they are about to be deleted.
  void forgetTargets();

 private:
  durix_handle* durixHandle() override { return _durixHandle; }
  void timerActivating(durix_event_data* data) override;
  void timerActive(durix_event_data* data) override;
  void timerDeactive(durix_event_data* data) override;
  void recorderDeviceFull(durix_event_data* data) override;
  durix_esg_object* recordingOf(Scheduling* scheduling) override { return _stored.recordingOf(scheduling); }
  Recording* createRecording(durix_esg_object* object) override { return _stored.createRecording(object); }

  void updateScheduledPrograms();
  bool isReady(const char* notInitialized);
  Scheduling* addTimer(const ServiceImpl& service, const std::string& name, const std::string& shownName, int start,
                       int end);
  bool isOwnRecording(const Recording* recording);
  void forgetTimeshift(const Recording* recording);
  void forgetTargetRecording(const Recording* recording);
  void deleteStoredRecording(Recording* recording);
  void releaseReceiver(Scheduling* scheduling);

  // fixed after construction
  BroadcastPlugin& _broadcast;  // outlives this
  Tag* const _recordedTag;
  Tag* const _isActiveRecordingTag;

  RankedMutex _mutex{LockRank::Recorder};  // every change of what follows
  ClipRegistry _clips;
  StoredClips _stored;
  PlaylistShelf _playlists;
  TimerEvents _timerEvents;
  bool _recordingsLoaded = false;
  bool _schedulingPlaylistsBuilt = false;
  std::atomic<bool> _created = false;  // the middleware's recorder was made
  std::atomic<bool> _initialized = false;
  std::atomic<bool> _activated = false;
  std::atomic<durix_recorder*> _durixRecorder = nullptr;
  std::atomic<durix_provider*> _provider = nullptr;  // the active provider's record; kept by the provider registry
  std::atomic<durix_handle*> _durixHandle = nullptr;
  std::atomic<Playlist*> _favoritePlaylist = nullptr;     // the host's
  std::atomic<Recording*> _timeshiftRecording = nullptr;  // owned
  std::vector<Recording*> _orphans;  // owned: timeshifts whose removal failed; they may be removed again

  RecorderError _error;

  std::unique_ptr<MwListener> _mwListener;  // goes first
};

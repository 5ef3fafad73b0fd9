#pragma once

#include <memory>
#include <string>
#include <vector>

#include "velmora/Clip.h"
#include "velmora/Playlist.h"
#include "velmora/Program.h"
#include "velmora/Service.h"

class Plugin;

/// Told by the recorder; implemented by the user interface.
class RecorderListener {
 public:
  virtual ~RecorderListener();
  virtual void notifyScheduledRecordingUpdated(Scheduling* scheduling);
  virtual void notifyRecordingActive(Scheduling* scheduling);
  virtual void notifyRecordingActivating(Scheduling* scheduling, unsigned value, std::vector<Scheduling*> conflicting);
  virtual void notifyRecordingDeactive(Scheduling* scheduling);
  virtual void notifyDeviceFull(Scheduling* scheduling);
  virtual void notifyPlaylistUpdated(Playlist* playlist, std::vector<Clip*> clips);
};

class Recorder {
 public:
  explicit Recorder(Plugin* plugin);
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;
  virtual ~Recorder();
  virtual bool isAvailable() = 0;
  virtual void init() = 0;
  virtual void deactivate() = 0;
  virtual Scheduling* record(Program* program) = 0;
  virtual Scheduling* record(std::string name, Service* service, int start, int end) = 0;  // seconds since the epoch
  virtual bool modifyScheduling(Scheduling* scheduling, int start, int end, std::string name) = 0;
  virtual bool cancelScheduling(Scheduling* scheduling) = 0;
  virtual Scheduling* getSchedulingForProgram(Program* program) = 0;
  virtual Recording* timeshift(Service* service, int duration) = 0;  // seconds
  virtual void endTimeshift(Recording* recording) = 0;
  virtual std::vector<Playlist*> getPlaylists() = 0;
  virtual bool isRecordingsActive() = 0;
  virtual std::vector<Playlist*> getRecordings() = 0;
  virtual std::vector<Playlist*> getSchedulings() = 0;
  virtual std::vector<Recording*> getRecorded() = 0;
  virtual std::vector<Scheduling*> getScheduled() = 0;
  virtual bool deleteRecording(Recording* recording) = 0;
  virtual std::vector<Scheduling*> getConflicting(Program* program) = 0;
  virtual void addRecorderListener(RecorderListener* listener);
  virtual void removeRecorderListener(RecorderListener* listener);  // returns when no other thread is inside it
  virtual std::string getLastError() = 0;
  virtual void refresh() = 0;
  virtual bool setRecordingDirectory(std::string path) = 0;
  virtual std::string getRecordingDirectory() = 0;
  virtual std::vector<Service*> getActiveSchedulingsServices() = 0;
  virtual void sendNotifyScheduledRecordingUpdated(Scheduling* scheduling);
  virtual void sendNotifyRecordingActive(Scheduling* scheduling);
  virtual void sendNotifyRecordingActivating(Scheduling* scheduling, unsigned value,
                                             std::vector<Scheduling*> conflicting);
  virtual void sendNotifyRecordingDeactive(Scheduling* scheduling);
  virtual void sendNotifyDeviceFull(Scheduling* scheduling);
  virtual void sendNotifyPlaylistUpdated(Playlist* playlist, std::vector<Clip*> clips);

 protected:
  Plugin* const _plugin;

 private:
  struct Listeners;
  std::unique_ptr<Listeners> _listeners;
};

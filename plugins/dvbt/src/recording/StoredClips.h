#pragma once

#include <atomic>
#include <memory>

#include "durix/durix_recorder.h"
#include "recording/ClipRegistry.h"
#include "recording/RecorderHost.h"
#include "velmora/BroadcastPlugin.h"
#include "velmora/Recorder.h"

/// The record that the middleware knows a timer or a recording by; null for what is not the plugin's own.
durix_esg_object* handleOf(Scheduling* scheduling);
durix_esg_object* handleOf(Recording* recording);

/// The middleware's timers and recordings, read as the host's objects. The recorder's mutex is held in every operation
/// but `recordingOf`.
class StoredClips {
 public:
  /// All outlive this; the recorder is null until it was made.
  StoredClips(BroadcastPlugin& plugin, RecorderHost& host, ClipRegistry& clips,
              const std::atomic<durix_recorder*>& recorder)
      : _plugin(plugin), _host(host), _clips(clips), _durixRecorder(recorder) {}

  void loadRecordings();                                   // those that are not known yet
  void loadSchedulings();                                  // the same, with their services
  Recording* createRecording(durix_esg_object* object);    // null for null, after one line
  Scheduling* createScheduling(durix_esg_object* object);  // the same

  /// Whether the middleware has a timer with this identifier, and a copy of its record.
  bool findTimer(unsigned id, std::unique_ptr<durix_esg_object>* out);
  /// The recording that a timer writes, as the middleware names it; null when there is none.
  durix_esg_object* recordingOf(Scheduling* scheduling);

 private:
  void findTargetService(Scheduling* scheduling, const durix_esg_object& timer);

  BroadcastPlugin& _plugin;
  RecorderHost& _host;
  ClipRegistry& _clips;
  const std::atomic<durix_recorder*>& _durixRecorder;
};

#pragma once

#include <vector>

#include "durix/durix.h"
#include "velmora/BroadcastPlugin.h"
#include "velmora/Recorder.h"

class ClipRegistry;
class PlaylistShelf;

/// What the timer events ask of the recorder.
class TimerEventsHost {
 public:
  /// The recording that a timer writes, as the middleware names it; null when there is none.
  virtual durix_esg_object* recordingOf(Scheduling* scheduling) = 0;
  virtual Recording* createRecording(durix_esg_object* object) = 0;

 protected:
  ~TimerEventsHost() = default;
};

/// Keeps schedulings, recordings, tags and playable marks in step with the middleware's timers. Every operation but
/// `notifyProgramUpdate` and `setIfScheduled` wants the recorder's mutex held, and holds it while the host is told:
/// the host may read the recorder from a notice, and changes it from another thread.
///
///   waiting --active--> recording --deactive / device full--> gone (its recording stays)
class TimerEvents {
 public:
  struct Parts {
    Recorder& recorder;
    BroadcastPlugin& plugin;
    ClipRegistry& clips;
    PlaylistShelf& playlists;
    Tag* recordedTag;           // a programme that a timer covers, a service that is being recorded
    Tag* isActiveRecordingTag;  // a programme, scheduling or recording while it is being recorded
  };
  TimerEvents(const Parts& parts, TimerEventsHost& host) : _parts(parts), _host(host) {}

  void timerActivating(const durix_event_data* data);
  void timerActive(const durix_event_data* data);
  void timerDeactive(const durix_event_data* data);
  void deviceFull(const durix_event_data* data);

  /// Finds the timers that were running already when the recorder was activated or the day changed.
  void checkImmediatelyStartingRecordings();

  /// Marks the programmes that a timer of this service covers. Takes no lock of the recorder.
  void notifyProgramUpdate(Service* service);
  void setIfScheduled(const std::vector<Program*>& programs, Scheduling* scheduling);

  void updateRecordingTagsForServices();

 private:
  void activate(Scheduling* scheduling, Recording* recording) const;
  void markPrograms(Scheduling* scheduling) const;
  void unmarkPrograms(Scheduling* scheduling, bool activeToo) const;
  /// Works out anew which services can be received beside the running recordings.
  void updatePlayableStatus();
  void handleSchedulingEnd(Scheduling* scheduling);

  const Parts _parts;      // outlive this
  TimerEventsHost& _host;  // outlives this
};

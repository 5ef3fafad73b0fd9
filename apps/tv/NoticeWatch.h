#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

#include "Output.h"
#include "velmora/BroadcastPlugin.h"
#include "velmora/Recorder.h"

namespace tv {

/// Collects every notice of plugin and recorder as JSON, for the thread that prints them. What a notice names is read
/// while it is told, since it need not live on afterwards.
class NoticeWatch : public PluginListener, public RecorderListener {
 public:
  explicit NoticeWatch(BroadcastPlugin& plugin);
  ~NoticeWatch() override;

  /// The next notice; nothing when none comes within the limit.
  std::optional<Json> next(std::chrono::milliseconds limit);

  void notifyDiscover(Plugin* plugin, bool finished, bool success, unsigned progress, unsigned frequency,
                      unsigned serviceCount, std::vector<std::string> serviceNames) override;
  void notifyStatistics(Plugin* plugin, unsigned frequency, unsigned bandwidth, bool locked, unsigned char quality,
                        unsigned char battery) override;
  void notifyPlayer(Plugin* plugin, bool isStarted, bool hasError) override;
  void pluginStateChanged(Plugin* plugin, PluginState before, PluginState now) override;
  void notifyServiceUpdate(Plugin* plugin, std::vector<Service*>* services) override;
  void notifyProgramUpdate(Plugin* plugin, Service* service, std::vector<Program*>* programs) override;
  void notifyReminder(Plugin* plugin, AvContent* content) override;
  void notifySearch(Plugin* plugin, std::vector<AvContent*> results) override;
  void notifyProgramStarted(Plugin* plugin, Service* service, Program* program) override;
  void notifyProgramEnded(Plugin* plugin, Service* service, Program* program) override;
  void notifyCurrentProgram(Plugin* plugin, Service* service, Program* program) override;

  void notifyScheduledRecordingUpdated(Scheduling* scheduling) override;
  void notifyRecordingActive(Scheduling* scheduling) override;
  void notifyRecordingActivating(Scheduling* scheduling, unsigned value, std::vector<Scheduling*> conflicting) override;
  void notifyRecordingDeactive(Scheduling* scheduling) override;
  void notifyDeviceFull(Scheduling* scheduling) override;
  void notifyPlaylistUpdated(Playlist* playlist, std::vector<Clip*> clips) override;

 private:
  void add(Json notice);

  BroadcastPlugin& _plugin;   // outlives this; as the next
  Recorder* const _recorder;  // null when the plugin has none
  std::mutex _mutex;
  std::condition_variable _changed;
  std::deque<Json> _notices;  // guarded by _mutex
};

}  // namespace tv

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Theatre.h"
#include "velmora/Recorder.h"

/// A theatre with the plugin's recorder and its notices, which become lines "> notice".
class RecordingRoom : public Theatre, public RecorderListener {
 public:
  static constexpr std::uint32_t TIMER = 900;      // the first that is made
  static constexpr std::uint32_t RECORDING = 901;  // what every timer writes

  ~RecordingRoom() override;

  /// Starts the plugin with a recorder that the host has initialised, and a listener at it.
  void openRecorder();
  /// What the middleware knows of a timer or a recording. Times are seconds since the epoch.
  void describe(std::uint32_t id, const std::string& name, int start, int end, const std::string& service = "One");
  void store(std::uint32_t recording, const std::string& name, int start, int end);
  /// A timer of the middleware's list.
  void keepTimer(std::uint32_t timer, const std::string& name, int start, int end);
  /// A timer of the channel, made by the host.
  Scheduling* record(const std::string& name, int start, int end);
  /// A programme of the channel that is not over, whatever its times.
  void announce(std::uint32_t event, const std::string& title, int start, int end);
  void sendTimer(std::uint32_t event, std::uint32_t timer);

  Playlist* playlist(const std::vector<Playlist*>& playlists, const std::string& name);
  /// The lines of this thread without the reads of attributes, one below the other.
  std::string told();

  void notifyScheduledRecordingUpdated(Scheduling* scheduling) override;
  void notifyRecordingActive(Scheduling* scheduling) override;
  void notifyRecordingActivating(Scheduling* scheduling, unsigned value, std::vector<Scheduling*> conflicting) override;
  void notifyRecordingDeactive(Scheduling* scheduling) override;
  void notifyDeviceFull(Scheduling* scheduling) override;
  void notifyPlaylistUpdated(Playlist* playlist, std::vector<Clip*> clips) override;

  std::function<void(const std::string&)> onNotice;  // done inside each of them
  Recorder* recorder = nullptr;

 private:
  void tell(const std::string& notice);
};

/// "identifier name span #channel number tag" of each, one below the other.
std::string spans(const std::vector<Playlist*>& playlists);

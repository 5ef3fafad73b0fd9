#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "durix/durix_player.h"
#include "support/Lock.h"
#include "velmora/BroadcastPlugin.h"

class OptionGroup;
class Service;

/// Plays a service, a programme or a recording with the feeds that the user prefers. The plugin makes it and the host
/// owns it; it may outlive its content and the plugin, which then let go of each other.
///
///   stopped --start--> started --stop, or a programme that parental control forbids--> stopped
///
/// Host threads, the event thread and the notifier's timer call it. Its own lock guards the feeds; no lock is held
/// while the host is told.
class BroadcastPlayer : public Player {
 public:
  BroadcastPlayer(BroadcastPlugin* plugin, AvContent* content, void* window, PlayerListener* listener,
                  bool subtitlesEnabled, bool secondary);
  ~BroadcastPlayer() override;

  void setCanvas(Canvas* canvas) override;
  Canvas* getCanvas() override;
  bool start(bool flag) override;
  bool stop() override;
  bool pause(bool on) override;
  bool setSize(unsigned width, unsigned height) override;
  bool setVolume(unsigned char volume) override;
  unsigned char getVolume() override;
  bool setMute(bool mute) override;  // of all players
  bool isMuted() override;
  std::vector<std::string> getAudioLanguages() override;
  std::vector<std::string> getSubtitleLanguages() override;
  std::string getSelectedAudioLanguage() override;
  std::string getSelectedSubtitleLanguage() override;
  void seek(unsigned position) override;
  unsigned getDuration() override;
  unsigned getCurrentPos() override;
  unsigned getBufferBegin() override;
  unsigned getBufferEnd() override;
  AvContent* getContent() override;
  void changeAudioLanguage(std::string language) override;
  void changeSubtitleLanguage(std::string language) override;

  virtual std::uint32_t getPreferredAudioType();  // 8 for AC-3, 0 for any
  virtual void handleImageReceived(FFPic* picture);

  void setContent(AvContent* content);  // of a player that is not started
  bool isValid();
  void enableSubtitles(bool on);
  void optionChanged(Option* option);
  void parentalControlChanged(bool enabled);
  void notifyProgramStarted(Plugin* plugin, Service* service, Program* program);
  void notifyProgramEnded(Plugin* plugin, Service* service, Program* program);

  static void handleFeedsChanged(durix_event_data* data, void* user);
  static void imageReceivedEvent(void* picture, void* user);
  static void sendNotifyPlayer(durix_player* player, Plugin* plugin, bool isStarted, bool hasError);

  /// The main player is the one that was made last; it ceases to be so when it dies.
  static void setMainPlayer(BroadcastPlayer* player);
  /// Calls `use` with the main player if there is one; it lives as long as the call.
  static void withMainPlayer(const std::function<void(BroadcastPlayer&)>& use);

  /// The services and their programmes are about to be deleted: players of them go on without content.
  static void forgetContents(const std::vector<Service*>& services);
  /// The plugin is about to be deleted.
  static void forgetPlugin(BroadcastPlugin* plugin);

 private:
  static constexpr const char* PARENTAL_CONTROL = "velmora.option.parentalcontrol.id";

  class PlayerPluginListener;
  class PlayerOptionListener;
  struct Feeds {
    durix_esg_object audio{};
    durix_esg_object subtitle{};
    durix_esg_object video{};
  };
  struct Registry;
  static Registry& registry();

  void listenToParentalControl();
  unsigned contentDuration();
  void leavePlugin();
  bool isBlockedByParentalControl();
  std::vector<durix_esg_object> contentFeeds();
  std::string preferredAudioLanguage();
  std::string preferredSubtitleLanguage();
  std::vector<durix_esg_object> chooseFeeds(const std::vector<durix_esg_object>& feeds, Feeds* chosen);
  bool addFeeds(const std::vector<durix_esg_object>& feeds);
  void markStarted();
  void applySharedVolume();
  void unregisterFeedsChanged();
  static void makeRegistrations();
  void feedsChanged(const durix_event_data* data);
  void exchangeFeeds(const std::vector<durix_esg_object>& feeds) BC_REQUIRES(_lock);
  bool removeChanged(durix_esg_object* slot, const durix_esg_object& replacement);
  bool addChanged(durix_esg_object* slot, const durix_esg_object& feed);
  bool removeFeed(durix_esg_object* slot);
  bool addFeed(durix_esg_object* slot, const durix_esg_object& feed);
  std::uint32_t feedTypeFor(std::uint32_t live, std::uint32_t recorded) BC_REQUIRES(_lock);
  durix_esg_object findSubtitles(const std::string& language) BC_REQUIRES(_lock);

  // fixed after construction
  durix_player* _handle = nullptr;
  void* _window = nullptr;
  PlayerListener* _listener = nullptr;  // the host's; outlives this
  const std::vector<PlayerListener*> _imageListeners;
  bool _secondary;
  unsigned _duration = 0;          // seconds
  const int _bufferEndMargin = 4;  // seconds
  OptionGroup* _parentalOption = nullptr;
  std::vector<Option*> _parentalOptions;                  // every one that has the option listener
  std::unique_ptr<PlayerPluginListener> _pluginListener;  // null: made without content, known to nobody
  std::unique_ptr<PlayerOptionListener> _optionListener;

  // read and written without a lock
  std::atomic<unsigned> _lastPosition = 0;
  std::atomic<unsigned> _lastBufferEnd = 0;
  std::atomic<unsigned char> _volume = 0;
  std::atomic<bool> _subtitlesEnabled;
  std::atomic<bool> _started = false;
  std::atomic<bool> _blocked = false;
  std::atomic<bool> _callbackRegistered = false;

  // guarded by _lock, with the host's content and selected languages. While it is held and the content is there, the
  // content lives, and so does the plugin.
  RankedMutex _lock{LockRank::Player};
  BroadcastPlugin* _plugin BC_GUARDED_BY(_lock) = nullptr;
  Feeds _feeds BC_GUARDED_BY(_lock);
};

#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "durix/durix.h"
#include "support/Lock.h"
#include "velmora/Option.h"

class BCLocation;
class LocationCatalogue;
class Plugin;
class SettingsOptions;

/// What the settings ask of the plugin.
class SettingsHost {
 public:
  virtual bool hasRecorder() = 0;
  virtual void setDurixProperty(const std::string& name, const std::string& value) = 0;
  virtual std::string getDurixProperty(durix_property number) = 0;
  virtual void selectLocation(BCLocation* location) = 0;  // what the next scan searches
  // Of the current main player; nothing when there is none.
  virtual void enableSubtitles(bool enabled) = 0;
  virtual void changeAudioLanguage(const std::string& language) = 0;

 protected:
  ~SettingsHost() = default;
};

/// Hands a changed option to the settings, on whatever thread the host changes it.
class BroadcastOptionListener : public OptionListener {
 public:
  explicit BroadcastOptionListener(SettingsOptions& settings) : _settings(settings) {}
  void optionChanged(Option* option) override;

 private:
  SettingsOptions& _settings;  // outlives this
};

/// The plugin's option group, what it offers, and what a change of it does.
/// Built by one thread during start-up, then called by host threads, players and the event thread.
class SettingsOptions {
 public:
  SettingsOptions(LocationCatalogue& locations, Plugin& plugin, SettingsHost& host);
  ~SettingsOptions();

  /// Makes the group with all its options, and loads the languages and the locations that they offer.
  void build();
  /// Deletes the group and with it the options.
  void deleteGroups();

  std::vector<OptionGroup*>* getOptions();
  OptionListener* optionListener() { return &_optionListener; }
  void optionChanged(Option* option);

  std::string getPreferredAudioLanguage() const;     // empty before `build`
  std::string getPreferredSubtitleLanguage() const;  // empty before `build`
  bool isPreferredAudioTypeMultiChannel() const { return _preferMultichannel; }
  bool isSubtitlesEnabled() const { return _subtitlesEnabled; }
  int getTimeshiftDuration() const { return _timeshiftDuration; }  // minutes

  // Null before `build`.
  Option* locationOption() const { return _locationOption; }
  Option* hideRadioOption() const { return _hideRadioOption; }
  Option* hideProtectedOption() const { return _hideProtectedOption; }

  /// Reads the languages file; true when it names a language.
  bool loadEsgLanguages(const std::string& path);
  void getAllLanguages(std::vector<std::string>* out) const;

  // A mark that the host keeps here; nothing in the plugin reads it.
  void setContentCreated(bool created) { _contentCreated = created; }
  bool getContentCreated() const { return _contentCreated; }

 private:
  struct Change;

  std::unique_ptr<Option> createOption(OptionType type, OptionCategory category, const std::string& id,
                                       const std::string& description);
  void addPlayback(OptionGroup& group);
  void addLanguages(OptionGroup& group);
  void addLocation(OptionGroup& group);
  void addChannels(OptionGroup& group);
  std::vector<std::string> languages() const;

  void propertyTextChanged(Option* option);
  void propertyFlagChanged(Option* option);
  void enableSubtitlesChanged(Option* option);
  void preferMultichannelChanged(Option* option);
  void locationChanged(Option* option);
  void audioLanguageChanged(Option* option);
  void subtitleLanguageChanged(Option* option);
  void channelListChosen(Option* option);
  void timeshiftLengthChanged(Option* option);

  // fixed after construction
  LocationCatalogue& _locations;  // outlives this, as the next two
  Plugin& _plugin;
  SettingsHost& _host;

  BroadcastOptionListener _optionListener;
  std::vector<OptionGroup*> _optionGroups;  // owned; complete once `build` has returned

  // Of the group; null before `build`.
  std::atomic<Option*> _audioLanguageOption = nullptr;
  std::atomic<Option*> _subtitleLanguageOption = nullptr;
  std::atomic<Option*> _locationOption = nullptr;
  std::atomic<Option*> _hideRadioOption = nullptr;
  std::atomic<Option*> _hideProtectedOption = nullptr;

  // What the options say, read without a lock.
  std::atomic<bool> _subtitlesEnabled = false;
  std::atomic<bool> _preferMultichannel = false;
  std::atomic<int> _timeshiftDuration = 120;
  std::atomic<bool> _contentCreated = false;

  mutable RankedMutex _languagesMutex{LockRank::Leaf};
  std::vector<std::string> _languages BC_GUARDED_BY(_languagesMutex);
};

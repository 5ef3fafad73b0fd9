#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "BroadcastRecorder.h"
#include "PluginWiring.h"
#include "ProgramChangedNotifier.h"
#include "ServiceImpl.h"
#include "core/EventDispatcher.h"
#include "core/PropertyBridge.h"
#include "guide/EsgFeedRotation.h"
#include "guide/GuideUpdater.h"
#include "guide/ServiceList.h"
#include "guide/UpdateNotices.h"
#include "playback/PlayerFactory.h"
#include "settings/SettingsOptions.h"
#include "tuning/ChannelScan.h"
#include "tuning/DeviceCache.h"
#include "tuning/LocationCatalogue.h"
#include "tuning/ProviderRegistry.h"
#include "velmora/BroadcastPlugin.h"
#include "velmora/Velmora.h"

/// The plugin as the host sees it: one object for each process, from `vm_init` to `close`, which deletes it.
///
/// It starts and stops the middleware and owns the components; every other operation is one of theirs. Nobody includes
/// this but its own sources, the entry point and tests: components reach it through the narrow interfaces that
/// PluginWiring answers. docs/LOCKING.md has the locks, docs/OWNERSHIP.md who deletes what.
class BroadcastPluginImpl : public BroadcastPlugin,
                            public PluginListener,
                            public TimerListener,
                            public PropertyListener {
 public:
  /// The plugin, made at the first call. For `vm_init` and the host; takes no lock.
  static BroadcastPluginImpl* getInstance();
  /// The plugin if there is one.
  static BroadcastPluginImpl* peekInstance() { return instance_; }

  // ---- life ----
  /// `init` with the host's data and library directories.
  bool init() override;
  /// Starts everything; true when the middleware started. A second call without `close` in between changes nothing.
  bool init(const char* dataDirectory, const char* libraryDirectory) override;
  /// Stops everything and deletes the plugin. From inside a notice it is for another thread.
  void close() override;
  /// Drops every service and programme.
  void deleteAll();
  bool isClosing();

  int getType() override { return 1; }
  std::string getName() override { return _name; }
  std::string getId() override { return "BC_PLUGIN"; }

  // ---- what middleware, host and timers tell ----
  static void _mw_event(durix_event_data* event, void* user);
  // Of the further bases, in the order of their slots behind the primary base's.
  void notifyPlayer(Plugin* plugin, bool isStarted, bool hasError) override;
  void notifyProgramUpdate(Plugin* plugin, Service* service, std::vector<Program*>* programs) override;
  void timerExpired(VmTimer* timer, void* data) override;
  void notifyPropertyChanged(std::string name, std::string value) override;

  // ---- properties ----
  void setDurixProperty(const std::string& name, const std::string& value);
  std::string getDurixProperty(durix_property number);
  void setRecordingsPath(const char* path) override;

  // ---- providers ----
  bool fetchProviders();
  bool init_provider();
  bool providerMount(BroadcastProvider* provider);
  bool providerUnmount(BroadcastProvider* provider);
  bool providerActivate(BroadcastProvider* provider);
  bool providerDeactivate(BroadcastProvider* provider);

  // ---- scans, locations, receivers ----
  bool discover(std::string location, BroadcastProtocolType protocol, ReceiverType receiver, bool flag) override;
  bool discover(const durix_scan_configuration* configuration, BroadcastProtocolType protocol, ReceiverType receiver,
                bool flag) override;
  bool discover_cancel() override;
  bool requestDiscover(std::string location, bool flag) override;
  bool requestSpecificDiscover(std::string location, BroadcastProtocolType protocol, ReceiverType receiver, bool flag);
  bool loadScanConfigurationFromXml(BCLocation* location);
  static void tokenize(const std::string& text, std::vector<std::string>* tokens, const std::string& delimiters);
  std::vector<std::string> loadLocationFileNames();
  void loadLocationFromXml(const std::string& path);
  static bool locationSorter(const std::string& a, const std::string& b);
  std::map<std::string, std::string> getCountriesAndFlags() override;
  std::vector<Device*> getDevices() override;
  std::string getTunerType();

  // ---- channel list ----
  std::vector<Service*> getServices() override;
  std::vector<Service*> getMwServices();
  std::vector<Service*> orderServices(std::vector<Service*> services);
  static std::vector<Service*> removeDuplicates(std::vector<Service*> services);
  bool serviceExists(unsigned id);
  bool isServiceDataValid() const;
  void setServiceDataValid(bool valid);
  Service* getService(const std::string& name, unsigned network);
  void setServiceOrder(std::vector<Service*> services) override;
  void setPlayableStatus(std::vector<Service*> selected) override;
  std::vector<Service*> getConflicting(std::vector<Service*> selected) override;
  void updateServiceList();

  // ---- guide ----
  std::vector<Program*> getPrograms() override;
  Program* getProgram(int id) override;
  Program* findProgram(int id) { return getProgram(id); }
  using BroadcastPlugin::search;
  std::vector<Program*> search(std::vector<std::string> words) override;
  std::vector<Program*> getProgramsWithTitles(std::vector<std::string> titles) override;
  void flush() override;
  void update() override;
  void updateProgramList();
  void updateProgramList(ServiceImpl* service);
  void updatePrograms();
  void esgUpdateEnable(bool enable) override;
  void allowUpdates() override;
  void openEsgDataFeeds() override;
  void closeEsgDataFeeds() override;
  void openNewDataFeed();
  void initEsgTimer();
  void esgDataTimerExpired();

  // ---- players ----
  Player* createPlayer(AvContent* content, void* window, PlayerListener* listener) override;
  Player* createTeletextPlayer(AvContent* content, void* window, PlayerListener* listener) override;
  Player* createSecondaryPlayer(AvContent* content, void* window, PlayerListener* listener) override;
  bool destroySecondaryPlayer(Player* player) override;
  int getPlayerType(AvContent* content) override;
  void closeCurrentDataFeed();

  // ---- recorder, settings ----
  Recorder* getRecorder() override { return _recorder; }
  void initializeRecorder();
  void updateFavoritePlaylist(Playlist* playlist) override;
  std::vector<OptionGroup*>* getOptions() override;
  int getTimeshiftDuration() override;
  std::string getPreferredAudioLanguage() override;
  std::string getPreferredSubtitleLanguage() override;
  bool isPreferredAudioTypeMultiChannel() override;
  bool isSubtitlesEnabled() const;
  bool loadEsgLanguages(std::string path);
  void getAllLanguages(std::vector<std::string>* out) const;
  void optionChanged(Option* option);
  void setContentCreated(bool created);
  bool getContentCreated() const;

  // ---- attributes of middleware objects; need no plugin ----
  static std::string getStringAttribute(durix_esg_object* object, durix_attribute attribute);
  static int getIntAttribute(durix_esg_object* object, durix_attribute attribute);
  static bool getBoolAttribute(durix_esg_object* object, durix_attribute attribute);
  static std::vector<int> getIntArrayAttribute(durix_esg_object* object, durix_attribute attribute);

 private:
  friend class PluginWiring;

  BroadcastPluginImpl();
  ~BroadcastPluginImpl() override;  // `close` has stopped everything

  bool startMiddleware(const char* dataDirectory, const char* libraryDirectory);
  void removeCallbacks();
  void stopMiddleware();
  void stopGuide();
  void releaseContents(const std::vector<Service*>& services);

  static std::atomic<BroadcastPluginImpl*> instance_;

  RankedMutex _closeMutex{LockRank::Leaf};
  bool _closing BC_GUARDED_BY(_closeMutex) = false;

  std::atomic<bool> _initCalled = false;
  std::atomic<durix_handle*> _durixHandle = nullptr;
  std::atomic<BroadcastRecorder*> _recorder = nullptr;                     // owned
  std::atomic<Playlist*> _favoritePlaylist = nullptr;                      // the host's
  std::atomic<VmRecommendationUpdater*> _recommendationUpdater = nullptr;  // owned
  std::unique_ptr<ProgramChangedNotifier> _programChangedNotifier;

  // The components, lower layers first.
  PluginWiring _wiring;
  PropertyBridge _properties;
  ProviderRegistry _providers;
  LocationCatalogue _locations;
  DeviceCache _devices;
  ServiceList _services;
  UpdateNotices _notices;
  EsgFeedRotation _feeds;
  GuideUpdater _guide;
  ChannelScan _scan;
  SettingsOptions _settings;
  PlayerFactory _players;
  EventDispatcher _events;
};

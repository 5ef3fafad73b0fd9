#include "BroadcastPluginImpl.h"

#include <algorithm>
#include <array>
#include <optional>

#include "BroadcastListener.h"
#include "BroadcastPlayer.h"
#include "BroadcastTeletextPlayer.h"
#include "core/OptionKeys.h"
#include "durix/durix_player.h"
#include "guide/EsgAttributes.h"
#include "support/Border.h"
#include "support/Gate.h"
#include "support/Log.h"
#include "support/Text.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

const durix_client CLIENT{1, "Hello world!"};

const std::array<durix_callback_entry, 25> CALLBACKS = [] {
  constexpr std::array<std::uint32_t, 25> EVENTS = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13,
                                                    14, 15, 19, 22, 23, 24, 25, 32, 38, 39, 40, 41};
  std::array<durix_callback_entry, 25> table{};
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = {EVENTS[i], &BroadcastPluginImpl::_mw_event};
  return table;
}();

}  // namespace

std::atomic<BroadcastPluginImpl*> BroadcastPluginImpl::instance_ = nullptr;

BroadcastPluginImpl* BroadcastPluginImpl::getInstance() {
  if (instance_ == nullptr) {
    instance_ = new BroadcastPluginImpl;
    gate::open();
  }
  return instance_;
}

BroadcastPluginImpl::BroadcastPluginImpl()
    : _wiring(*this),
      _properties(_wiring),
      _providers(_wiring),
      _devices(_wiring),
      _services(*this, _channelList, _wiring),
      _notices(*this),
      _feeds(_providers, _wiring),
      _guide(_services, *this, _wiring),
      _scan(_providers, _locations, _wiring),
      _settings(_locations, *this, _wiring),
      _players(*this, _wiring),
      _events({_providers, _locations, _scan, _services, _guide, _settings, _properties}, _wiring) {
  _name = "Broadcast Plugin";
  _text = "BroadcastPlugin";
  BroadcastListener::getInstance()->addListener(this);
  _recommendationUpdater = new VmRecommendationUpdater(this, AvContent::AV_PROGRAM);
  _programChangedNotifier = std::make_unique<ProgramChangedNotifier>();
}

BroadcastPluginImpl::~BroadcastPluginImpl() {
  instance_ = nullptr;
}

bool BroadcastPluginImpl::init() {
  _notices.reset();
  const std::string data = Velmora::getInstance()->getSystemProperty("system.data_directory");
  const std::string library = Velmora::getInstance()->getSystemProperty("system.library_directory");
  return init(data.c_str(), library.c_str());
}

bool BroadcastPluginImpl::init(const char* dataDirectory, const char* libraryDirectory) {
  if (_initCalled.exchange(true)) return _durixHandle != nullptr;
  VmProperties properties;
  properties.setProperty("notification_interval", "1");
  configure(&properties);
  _notices.reset();
  _providers.forgetChoices();
  _events.forgetReceiver();
  _notices.createTimer(this);
  _feeds.createTimer(this);

  const bool started = startMiddleware(dataDirectory, libraryDirectory);

  esgUpdateEnable(true);
  if (durix_player_init() != DURIX_OK) BC_ERR(LOG, "durix_player_init Failed error");
  _recorder = new BroadcastRecorder(*this, _wiring);
  setDurixProperty(RECORD_ALL_AUDIO_CHANNELS, "true");
  _settings.build();
  Velmora::getInstance()->addPropertyListener("plugin.broadcast", this);
  durix_allow_updates(_durixHandle);
  BC_INFO(LOG, "Init Return");
  return started;
}

bool BroadcastPluginImpl::startMiddleware(const char* dataDirectory, const char* libraryDirectory) {
  BC_INFO(LOG, "durix_init() data_dir = %s, lib_dir=%s", textOrEmpty(dataDirectory), textOrEmpty(libraryDirectory));
  Velmora::getInstance()->setProperty("system.library_directory", textOrEmpty(libraryDirectory));
  durix_handle* handle = nullptr;
  const durix_return_code code =
      durix_init(&handle, 0, dataDirectory, libraryDirectory, CALLBACKS.data(), CALLBACKS.size(), &CLIENT);
  // A handle written by a call that failed is not ours.
  _durixHandle = code == DURIX_OK ? handle : nullptr;
  return code == DURIX_OK;
}

void BroadcastPluginImpl::close() {
  {
    const Lock lock(_closeMutex);
    if (_closing) return;
    _closing = true;
  }
  // Whatever is on its way into the plugin is out again after this, and the updater asks the middleware nothing more.
  gate::shutAndWait();
  _guide.stopAndWait();
  BroadcastPlayer::forgetPlugin(this);  // before the recordings go, which they may be playing
  BroadcastTeletextPlayer::forgetPlugin(this);

  if (BroadcastRecorder* const recorder = _recorder) {
    recorder->deactivate();
    _recorder = nullptr;
    delete recorder;
  }
  closeEsgDataFeeds();
  _feeds.deleteTimer();
  stopMiddleware();
  stopGuide();
  deleteAll();
  _settings.deleteGroups();
  _devices.clear();
  _scan.setCurrentScanConfiguration(nullptr);
  _locations.clear();  // the current scan configuration is one of them
  setState(PLUGIN_INACTIVE);
  delete this;
}

void BroadcastPluginImpl::stopMiddleware() {
  removeCallbacks();
  if (durix_player_deinit() != DURIX_OK) BC_INFO(LOG, "Error while closing player %s", _name.c_str());
  if (durix_deinit(_durixHandle) != DURIX_OK) BC_INFO(LOG, "Error while closing %s", _name.c_str());
}

void BroadcastPluginImpl::removeCallbacks() {
  for (const durix_callback_entry& entry : CALLBACKS) {
    durix_callback_remove(_durixHandle, entry.event, entry.handler);
  }
}

void BroadcastPluginImpl::stopGuide() {
  if (VmRecommendationUpdater* const updater = _recommendationUpdater.exchange(nullptr)) {
    updater->Stop();
    delete updater;
  }
  _notices.clearTimer();
  _programChangedNotifier->clear();
  _programChangedNotifier.reset();
  _notices.deleteTimer();
  _notices.deleteAll();
}

void BroadcastPluginImpl::deleteAll() {
  _guide.stopAndWait();  // an event may have started it since the caller did
  _guide.clearPrograms();
  _services.deleteAll([this](const std::vector<Service*>& services) { releaseContents(services); });
}

/// Everybody who may still point at a service or one of its programmes lets go.
void BroadcastPluginImpl::releaseContents(const std::vector<Service*>& services) {
  if (_programChangedNotifier != nullptr) {
    for (Service* const service : services) {
      if (auto* const own = dynamic_cast<ServiceImpl*>(service)) _programChangedNotifier->removeTimer(own);
    }
  }
  _notices.deleteAll();
  if (BroadcastRecorder* const recorder = _recorder) recorder->forgetTargets();
  BroadcastPlayer::forgetContents(services);
  BroadcastTeletextPlayer::forgetContents(services);
}

bool BroadcastPluginImpl::isClosing() {
  const Lock lock(_closeMutex);
  return _closing;
}

void BroadcastPluginImpl::_mw_event(durix_event_data* event, void* /*user*/) {
  const gate::Pass pass;
  if (!pass || event == nullptr) return;
  BroadcastPluginImpl* const plugin = peekInstance();
  if (plugin == nullptr || plugin->isClosing()) return;
  atBorder(LOG, "middleware event", [&] { plugin->_events.handle(event); });
}

void BroadcastPluginImpl::timerExpired(VmTimer* timer, void* /*data*/) {
  const gate::Pass pass;
  if (!pass) return;
  atBorder(LOG, "timer", [&] {
    if (_feeds.owns(timer)) {
      _feeds.esgDataTimerExpired();
    } else {
      _notices.timerExpired();
    }
  });
}

void BroadcastPluginImpl::notifyPropertyChanged(std::string name, std::string value) {
  const gate::Pass pass;
  if (pass) _properties.notifyPropertyChanged(name, value);
}

void BroadcastPluginImpl::notifyProgramUpdate(Plugin* /*plugin*/, Service* service, std::vector<Program*>* programs) {
  _notices.notifyProgramUpdate(service, programs);
}

void BroadcastPluginImpl::notifyPlayer(Plugin* plugin, bool isStarted, bool hasError) {
  // The one fan-out that holds the host's listener lock: listeners must not add or remove listeners here.
  std::optional<RankedHold> lock;
  if (_listenerMutex != nullptr) lock.emplace(*_listenerMutex, LockRank::Listener);
  const std::vector<PluginListener*> listeners = _listeners;
  for (PluginListener* const listener : listeners) {
    // One may delete a player, and with it a later listener, all the same.
    const bool isStillThere = std::find(_listeners.begin(), _listeners.end(), listener) != _listeners.end();
    if (isStillThere) listener->notifyPlayer(plugin, isStarted, hasError);
  }
}

void BroadcastPluginImpl::initializeRecorder() {
  BroadcastRecorder* const recorder = _recorder;
  BroadcastProvider* const active = _providers.active();
  if (recorder == nullptr || active == nullptr) return;
  for (const BroadcastProvider* const provider : _providers.providers()) {
    if (!provider->isSameAs(*active)) continue;
    recorder->activate(_durixHandle, active->getProviderData());
    if (_favoritePlaylist != nullptr) recorder->updateFavoritePlaylist(_favoritePlaylist);
  }
}

void BroadcastPluginImpl::updateFavoritePlaylist(Playlist* playlist) {
  _favoritePlaylist = playlist;
  if (BroadcastRecorder* const recorder = _recorder) recorder->updateFavoritePlaylist(playlist);
}

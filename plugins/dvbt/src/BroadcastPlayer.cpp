#include "BroadcastPlayer.h"

#include <deque>
#include <map>
#include <set>
#include <utility>

#include "ProgramImpl.h"
#include "ServiceImpl.h"
#include "guide/EsgAttributes.h"
#include "playback/FeedChooser.h"
#include "playback/ListenerDirectory.h"
#include "playback/SharedVolume.h"
#include "support/Border.h"
#include "support/EventRecord.h"
#include "support/Gate.h"
#include "support/Log.h"
#include "support/Visitors.h"
#include "velmora/Recorder.h"
#include "velmora/Velmora.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLAYER"), "plugins/dvbt/src/BroadcastPlayer"};

}  // namespace

/// What all players share; never destroyed, because late events may still ask.
struct BroadcastPlayer::Registry {
  ListenerDirectory listeners;

  RankedMutex _lives{LockRank::MainPlayer};
  std::set<BroadcastPlayer*> living BC_GUARDED_BY(_lives);
  BroadcastPlayer* mainPlayer BC_GUARDED_BY(_lives) = nullptr;

  RankedMutex registration{LockRank::FeedRegistration};           // deciding on a registration of feeds-changed
  std::deque<durix_player*> decided BC_GUARDED_BY(registration);  // to be added, in order; null: all to be removed
  bool isRegistering BC_GUARDED_BY(registration) = false;         // somebody is making what is decided

  RankedMutex _listMutex{LockRank::Player};
  std::map<durix_player*, BroadcastPlayer*> _players BC_GUARDED_BY(_listMutex);

  Visitors users;  // of a player that was found here, or of the plugin that a dying player leaves
};

BroadcastPlayer::Registry& BroadcastPlayer::registry() {
  static auto* const shared = new Registry;
  return *shared;
}

class BroadcastPlayer::PlayerPluginListener : public PluginListener {
 public:
  explicit PlayerPluginListener(BroadcastPlayer& player) : _player(player) {}

  void notifyProgramStarted(Plugin* plugin, Service* service, Program* program) override {
    _player.notifyProgramStarted(plugin, service, program);
  }
  void notifyProgramEnded(Plugin* plugin, Service* service, Program* program) override {
    _player.notifyProgramEnded(plugin, service, program);
  }
  void notifyCurrentProgram(Plugin* plugin, Service* service, Program* program) override {
    const std::string serviceName = service->getName();  // each may ask the middleware, one after the other
    const std::string programName = program->getName();
    BC_INFO(LOG, "BroadcastPlayer received current program: %s : %s", serviceName.c_str(), programName.c_str());
    _player.notifyProgramStarted(plugin, service, program);
  }

 private:
  BroadcastPlayer& _player;
};

class BroadcastPlayer::PlayerOptionListener : public OptionListener {
 public:
  explicit PlayerOptionListener(BroadcastPlayer& player) : _player(player) {}
  void optionChanged(Option* option) override { _player.optionChanged(option); }

 private:
  BroadcastPlayer& _player;
};

BroadcastPlayer::BroadcastPlayer(BroadcastPlugin* plugin, AvContent* content, void* window, PlayerListener* listener,
                                 bool subtitlesEnabled, bool secondary)
    : _window(window), _listener(listener), _secondary(secondary), _subtitlesEnabled(subtitlesEnabled) {
  if (content == nullptr) {
    BC_ERR(LOG, "BroadcastPlayer Failed, no content provided");
    return;
  }
  _content = content;
  _plugin = plugin;
  _pluginListener = std::make_unique<PlayerPluginListener>(*this);
  plugin->addListener(_pluginListener.get());
  {
    const Lock lock(registry()._lives);
    registry().living.insert(this);  // from here on content and plugin may go
  }
  listenToParentalControl();
  const durix_render_data render{DURIX_RENDER_VIDEO, window, nullptr, nullptr};
  const durix_return_code code = durix_player_create(&_handle, &render, listener);
  if (code != DURIX_OK) {
    BC_ERR(LOG, "durix_player_create Failed error:%u", code);
    _handle = nullptr;
  }
  _duration = contentDuration();
  registry().listeners.add(_handle, listener);
  if (_secondary) {
    if (durix_player_volume_set(_handle, 0) != DURIX_OK) {
      BC_ERR(LOG, "Secondary player durix_player_volume_set(0) Failed");
    }
  } else {
    BroadcastPlayer::setMute(shared_volume::hostMute());
    shared_volume::setVolume(shared_volume::hostVolume());
    _volume = shared_volume::volume();
  }
  if (_handle == nullptr) return;
  const Lock lock(registry()._listMutex);
  registry()._players.insert({_handle, this});
}

void BroadcastPlayer::listenToParentalControl() {
  _optionListener = std::make_unique<PlayerOptionListener>(*this);
  for (const OptionGroup* const group : Velmora::getInstance()->getOptions()) {
    Option* const option = group->getOption(PARENTAL_CONTROL);
    if (option == nullptr) continue;
    _parentalOption = dynamic_cast<OptionGroup*>(option);
    _parentalOptions.push_back(option);
    option->addOptionListener(_optionListener.get());
  }
}

/// A recording may grow: its duration is always asked for.
unsigned BroadcastPlayer::contentDuration() {
  const Lock lock(_lock);
  const bool isFixed = _content != nullptr && _content->getAvType() != AvContent::AV_RECORDING;
  return isFixed ? static_cast<unsigned>(_content->getDuration()) : 0;
}

BroadcastPlayer::~BroadcastPlayer() {
  BroadcastPlayer::stop();
  for (Option* const option : _parentalOptions) option->removeOptionListener(_optionListener.get());
  leavePlugin();
  if (_pluginListener == nullptr) return;
  {
    const Lock lock(registry()._listMutex);
    const auto entry = registry()._players.find(_handle);
    if (entry != registry()._players.end() && entry->second == this) registry()._players.erase(entry);
  }
  registry().users.waitUntilLeft(this);
  registry().listeners.remove(_handle);
  durix_player_destroy(_handle);  // a null one too: the middleware then says no
}

/// The plugin may be closing on another thread. Its listener lock is above `_lives`, so that the plugin is held by a
/// count and not by the lock.
void BroadcastPlayer::leavePlugin() {
  BroadcastPlugin* plugin = nullptr;
  {
    const Lock lives(registry()._lives);
    registry().living.erase(this);
    if (registry().mainPlayer == this) registry().mainPlayer = nullptr;
    const Lock lock(_lock);
    plugin = _plugin;
    if (plugin != nullptr) registry().users.enter(plugin);
  }
  if (plugin == nullptr) return;
  plugin->removeListener(_pluginListener.get());
  registry().users.leave(plugin);
}

void BroadcastPlayer::setMainPlayer(BroadcastPlayer* player) {
  const Lock lock(registry()._lives);
  registry().mainPlayer = player;
}

void BroadcastPlayer::withMainPlayer(const std::function<void(BroadcastPlayer&)>& use) {
  const Lock lock(registry()._lives);
  if (registry().mainPlayer != nullptr) use(*registry().mainPlayer);
}

void BroadcastPlayer::forgetContents(const std::vector<Service*>& services) {
  const std::set<const AvContent*> dying(services.begin(), services.end());
  const Lock lives(registry()._lives);
  for (BroadcastPlayer* const player : registry().living) {
    const Lock lock(player->_lock);
    const auto* const program = dynamic_cast<Program*>(player->_content);
    const AvContent* const service = program == nullptr ? player->_content : program->getService();
    if (dying.contains(service)) player->_content = nullptr;
  }
}

void BroadcastPlayer::forgetPlugin(BroadcastPlugin* plugin) {
  {
    const Lock lives(registry()._lives);
    for (BroadcastPlayer* const player : registry().living) {
      {
        const Lock lock(player->_lock);
        if (player->_plugin != plugin) continue;
        player->_plugin = nullptr;
        player->_content = nullptr;
      }
      plugin->removeListener(player->_pluginListener.get());  // nobody is inside one while the plugin closes
    }
  }
  registry().users.waitUntilLeft(plugin);
}

void BroadcastPlayer::setContent(AvContent* content) {
  const Lock lock(_lock);
  _content = content;
}

AvContent* BroadcastPlayer::getContent() {
  const Lock lock(_lock);
  return _content;
}

bool BroadcastPlayer::isValid() {
  {
    const Lock lock(_lock);
    if (_plugin != nullptr && (_plugin->getState() == PLUGIN_ACTIVE || _plugin->getRecorder() != nullptr)) return true;
  }
  BC_INFO(LOG, "Tried to start BroadcastPlayer when plugin was NOT ACTIVE!");
  return false;
}

bool BroadcastPlayer::isBlockedByParentalControl() {
  const Lock lock(_lock);
  return _content != nullptr && _content->isBlockedByParentalControl();
}

std::vector<durix_esg_object> BroadcastPlayer::contentFeeds() {
  const Lock lock(_lock);
  return feed_chooser::feedsOf(_content);
}

bool BroadcastPlayer::start(bool flag) {
  BC_INFO(LOG, "BroadcastPlayer::start()");
  if (_handle == nullptr) BC_ERR(LOG, "ERROR in BroadcastPlayer. durixPlayer handle wasn't inited on creation");
  if (!isValid()) return false;
  {
    const Lock lock(_lock);
    if (_content == nullptr) return false;
    if (!_secondary && _content->isPlaying()) return true;
  }
  if (!gate::Pass()) return false;  // the plugin is closing
  if (isBlockedByParentalControl()) {
    if (_listener == nullptr) return false;
    BC_WARN(LOG, "BroadcastPlayer call PlayerListener.playerBlocked() by parental control");
    _blocked = true;  // first: the host may delete this player in the call
    _listener->playerBlocked();
    return true;
  }
  const std::vector<durix_esg_object> feeds = contentFeeds();
  BC_INFO(LOG, "%u Feeds found, selecting feeds to be activated", static_cast<unsigned>(feeds.size()));
  Feeds chosen;
  const std::vector<durix_esg_object> activated = chooseFeeds(feeds, &chosen);
  {
    const Lock lock(_lock);
    _feeds = chosen;
  }
  BC_INFO(LOG, "found %u Feeds to be activated", static_cast<unsigned>(activated.size()));
  if (!addFeeds(activated)) return false;
  const durix_return_code code = durix_player_start(_handle, flag);
  if (code != DURIX_OK) {
    BC_ERR(LOG, "durix_player_start Failed return_code = %u", code);
    return false;
  }
  markStarted();
  if (!_secondary) applySharedVolume();
  return true;
}

std::vector<durix_esg_object> BroadcastPlayer::chooseFeeds(const std::vector<durix_esg_object>& feeds, Feeds* chosen) {
  std::vector<durix_esg_object> activated;
  const auto choose = [&](durix_esg_object* slot, std::uint32_t type, const std::string& language,
                          std::uint32_t contentType) {
    const durix_esg_object found = feed_chooser::findFeedType(feeds, type, language, contentType);
    if (feed_chooser::isEmpty(found)) return;
    activated.push_back(found);
    *slot = found;
  };
  const std::string audioLanguage = preferredAudioLanguage();
  // A secondary player is silent: it gets neither sound nor subtitles.
  if (!_secondary) choose(&chosen->audio, DURIX_FEED_AUDIO, audioLanguage, getPreferredAudioType());
  choose(&chosen->video, DURIX_FEED_VIDEO, {}, DURIX_FEED_CONTENT_ANY);
  if (!_secondary) choose(&chosen->audio, DURIX_FEED_AUDIO_SECOND, audioLanguage, getPreferredAudioType());
  choose(&chosen->video, DURIX_FEED_VIDEO_SECOND, {}, DURIX_FEED_CONTENT_ANY);
  if (_subtitlesEnabled && !_secondary) {
    BC_INFO(LOG, "BroadcastPlayer::subtitles are enabled ");
    const std::string language = preferredSubtitleLanguage();
    choose(&chosen->subtitle, DURIX_FEED_SUBTITLES, language, DURIX_FEED_CONTENT_ANY);
    choose(&chosen->subtitle, DURIX_FEED_SUBTITLES_SECOND, language, DURIX_FEED_CONTENT_ANY);
  }
  return activated;
}

bool BroadcastPlayer::addFeeds(const std::vector<durix_esg_object>& feeds) {
  for (const durix_esg_object& feed : feeds) {
    const durix_return_code code = durix_player_feed_add(_handle, &feed);
    if (code == DURIX_OK) continue;
    BC_ERR(LOG, "durix_player_feed_add Failed return_code = %u", code);
    return false;
  }
  return true;
}

/// All at once and before anything that tells the host: feeds may change as soon as the middleware has started.
void BroadcastPlayer::markStarted() {
  const Lock lock(_lock);
  _selectedAudioLanguage = feed_chooser::shownAudioLanguage(_feeds.audio);
  const bool subtitles = _subtitlesEnabled && !feed_chooser::isEmpty(_feeds.subtitle);
  _selectedSubtitleLanguage =
      subtitles ? getStringAttribute(&_feeds.subtitle, DURIX_ATTRIBUTE_LANGUAGE) : std::string();
  if (!_secondary && _content != nullptr) _content->setPlaying(true);
  _started = true;
}

void BroadcastPlayer::applySharedVolume() {
  setMute(shared_volume::hostMute());
  shared_volume::setVolume(shared_volume::hostVolume());
  setVolume(shared_volume::volume());
}

bool BroadcastPlayer::stop() {
  if (!_started.exchange(false)) return true;  // one of several stops at once does the work
  unregisterFeedsChanged();
  {
    const Lock lock(_lock);
    _callbackRegistered = false;
    BC_INFO(LOG, "BroadcastPlayer::stop()");
    if (!_secondary && _content != nullptr) _content->setPlaying(false);
    _feeds = {};
  }
  const durix_return_code code = durix_player_stop(_handle);
  if (code == DURIX_OK) return true;
  BC_ERR(LOG, "durix_player_stop Failed, return_code = %u", code);
  return false;
}

/// Takes the player out of the registry and its feeds-changed callback with it. The middleware removes the callback of
/// every player, so that others that still want it are registered again.
void BroadcastPlayer::unregisterFeedsChanged() {
  {
    const Lock registration(registry().registration);
    const Lock lock(registry()._listMutex);
    registry()._players.erase(_handle);
    if (!_callbackRegistered.exchange(false) || _secondary) return;
    registry().decided.push_back(nullptr);
    for (const auto& [handle, player] : registry()._players) {
      if (player->_callbackRegistered) registry().decided.push_back(handle);
    }
  }
  makeRegistrations();
}

/// Makes what has been decided, one after the other and with no lock held: the middleware may wait for callbacks that
/// are under way, and one of them may be deciding. Who finds another thread at it leaves his part to that one.
void BroadcastPlayer::makeRegistrations() {
  for (bool isMine = false;; isMine = true) {
    durix_player* player = nullptr;
    {
      const Lock registration(registry().registration);
      if (registry().isRegistering != isMine) return;
      registry().isRegistering = !registry().decided.empty();
      if (!registry().isRegistering) return;
      player = registry().decided.front();
      registry().decided.pop_front();
    }
    if (player == nullptr) {
      durix_callback_remove(nullptr, DURIX_EVENT_FEEDS_CHANGED, &BroadcastPlayer::handleFeedsChanged);
    } else {
      durix_callback_add(nullptr, DURIX_EVENT_FEEDS_CHANGED, &BroadcastPlayer::handleFeedsChanged, player);
    }
  }
}

void BroadcastPlayer::sendNotifyPlayer(durix_player* player, Plugin* /*plugin*/, bool isStarted, bool hasError) {
  BC_INFO(LOG, "sendNotifyPlayer isStarted %d, hasError %d", static_cast<int>(isStarted), static_cast<int>(hasError));
  registry().listeners.tellState(player, isStarted, hasError, LOG);
  if (!isStarted) return;
  {
    const Lock registration(registry().registration);
    const Lock lock(registry()._listMutex);
    const auto entry = registry()._players.find(player);
    if (entry == registry()._players.end() || entry->second->_callbackRegistered.exchange(true)) return;
    registry().decided.push_back(player);
  }
  makeRegistrations();
}

void BroadcastPlayer::handleFeedsChanged(durix_event_data* data, void* user) {
  const gate::Pass pass;
  if (!pass || user == nullptr || data == nullptr) return;
  BroadcastPlayer* player = nullptr;
  {
    const Lock lock(registry()._listMutex);
    const auto entry = registry()._players.find(static_cast<durix_player*>(user));
    if (entry == registry()._players.end() || !entry->second->_callbackRegistered) return;
    player = entry->second;
    registry().users.enter(player);
  }
  atBorder(LOG, "feeds changed", [&] { player->feedsChanged(data); });
  registry().users.leave(player);
}

void BroadcastPlayer::feedsChanged(const durix_event_data* data) {
  const EventRecord event(data);
  const Lock lock(_lock);
  if (!_started || !_callbackRegistered || _content == nullptr) return;
  if (!_secondary && !_content->isPlaying()) return;
  if (feed_chooser::isEmpty(_feeds.audio) && feed_chooser::isEmpty(_feeds.video)) return;
  auto* service = dynamic_cast<ServiceImpl*>(_content);
  const auto* const program = dynamic_cast<ProgramImpl*>(_content);
  if (service == nullptr && program == nullptr) return;
  const std::uint32_t id = event.word(DURIX_OFFSET_FEEDS_CHANGED_SERVICE);
  BC_INFO(LOG, "DURIX_EVENT_FEEDS_CHANGED, id:%d", static_cast<int>(id));
  if (event.word(DURIX_OFFSET_FEEDS_CHANGED_STATE) != 1) return;
  if (program != nullptr) service = dynamic_cast<ServiceImpl*>(program->getService());
  if (service == nullptr || service->getId() != id) return;
  const std::vector<durix_esg_object> feeds = service->getFeeds();
  if (feeds.empty()) return;
  BC_INFO(LOG, "Changing feeds...");
  exchangeFeeds(feeds);
}

/// First the old feeds go, then the new ones come; a slot whose removal failed keeps its feed.
void BroadcastPlayer::exchangeFeeds(const std::vector<durix_esg_object>& feeds) {
  using namespace feed_chooser;
  const durix_esg_object video = findFeedType(feeds, DURIX_FEED_VIDEO, {}, DURIX_FEED_CONTENT_ANY);
  removeChanged(&_feeds.video, video);
  const durix_esg_object audio =
      findFeedType(feeds, DURIX_FEED_AUDIO, audioWish(_selectedAudioLanguage).language, DURIX_FEED_CONTENT_ANY);
  removeChanged(&_feeds.audio, audio);
  const durix_esg_object subtitle =
      findFeedType(feeds, DURIX_FEED_SUBTITLES, _selectedSubtitleLanguage, DURIX_FEED_CONTENT_ANY);
  removeChanged(&_feeds.subtitle, subtitle);
  addChanged(&_feeds.video, video);
  if (_secondary) return;
  if (addChanged(&_feeds.audio, audio)) _selectedAudioLanguage = shownAudioLanguage(audio);
  if (_subtitlesEnabled && addChanged(&_feeds.subtitle, subtitle)) {
    _selectedSubtitleLanguage = getStringAttribute(&subtitle, DURIX_ATTRIBUTE_LANGUAGE);
  }
}

bool BroadcastPlayer::removeChanged(durix_esg_object* slot, const durix_esg_object& replacement) {
  if (feed_chooser::isEmpty(replacement) || feed_chooser::isEmpty(*slot)) return false;
  if (durix_player_feed_remove(_handle, slot) != DURIX_OK) return false;
  BC_INFO(LOG, "Feed %d removed", static_cast<int>(slot->id));
  *slot = {};
  return true;
}

bool BroadcastPlayer::addChanged(durix_esg_object* slot, const durix_esg_object& feed) {
  if (feed_chooser::isEmpty(feed) || !feed_chooser::isEmpty(*slot)) return false;
  if (durix_player_feed_add(_handle, &feed) != DURIX_OK) return false;
  BC_INFO(LOG, "Feed %d added", static_cast<int>(feed.id));
  *slot = feed;
  return true;
}

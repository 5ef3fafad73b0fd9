#include "BroadcastTeletextPlayer.h"

#include <map>
#include <set>

#include "ProgramImpl.h"
#include "ServiceImpl.h"
#include "playback/FeedChooser.h"
#include "playback/ListenerDirectory.h"
#include "support/Border.h"
#include "support/Gate.h"
#include "support/Log.h"
#include "support/Visitors.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_TELETEXT_PLAYER"), "plugins/dvbt/src/BroadcastTeletextPlayer"};

std::vector<durix_esg_object> feedsOf(AvContent* content) {
  if (auto* const service = dynamic_cast<ServiceImpl*>(content)) return service->getFeeds();
  if (auto* const program = dynamic_cast<ProgramImpl*>(content)) return program->getFeeds();
  return {};
}

}  // namespace

/// What all teletext players share; never destroyed.
struct BroadcastTeletextPlayer::Registry {
  ListenerDirectory listeners;

  RankedMutex _lives{LockRank::MainPlayer};
  std::set<BroadcastTeletextPlayer*> living BC_GUARDED_BY(_lives);

  RankedMutex _playersMutex{LockRank::Player};
  std::map<durix_player*, BroadcastTeletextPlayer*> _players BC_GUARDED_BY(_playersMutex);

  // A leaf, because the middleware may hand over a picture from inside any call.
  RankedMutex _containers{LockRank::Leaf};
  std::set<const void*> shown BC_GUARDED_BY(_containers);  // the players that take pictures
  Visitors pictures;                                       // on their way into one of them
};

BroadcastTeletextPlayer::Registry& BroadcastTeletextPlayer::registry() {
  static auto* const shared = new Registry;
  return *shared;
}

durix_render_data BroadcastTeletextPlayer::renderData(void* window) {
  return {DURIX_RENDER_PICTURES, window, &BroadcastTeletextPlayer::imageReceivedEvent, this};
}

BroadcastTeletextPlayer::BroadcastTeletextPlayer(BroadcastPlugin* plugin, AvContent* content, void* window,
                                                 PlayerListener* listener)
    : _window(window) {
  if (content == nullptr) {
    BC_ERR(LOG, "BroadcastTeletextPlayer Failed, no content provided");
    return;
  }
  _hasContent = true;
  _content = content;
  _plugin = plugin;
  if (listener != nullptr) _imageListeners.push_back(listener);
  {
    const Lock lock(registry()._lives);
    registry().living.insert(this);  // from here on content and plugin may go
  }
  {
    const Lock lock(registry()._containers);
    registry().shown.insert(this);  // before the middleware knows of this player: a picture may come at once
  }
  const durix_render_data render = renderData(window);
  const durix_return_code code = durix_player_create(&_handle, &render, listener);
  if (code != DURIX_OK) {
    BC_ERR(LOG, "durix_player_create Failed error:%u", code);
    _handle = nullptr;
  }
  registry().listeners.add(_handle, listener);
  if (_handle == nullptr) return;
  const Lock lock(registry()._playersMutex);
  registry()._players.insert({_handle, this});
}

BroadcastTeletextPlayer::~BroadcastTeletextPlayer() {
  BroadcastTeletextPlayer::stop();
  if (!_hasContent) return;
  {
    const Lock lock(registry()._lives);
    registry().living.erase(this);
  }
  {
    const Lock lock(registry()._playersMutex);
    const auto entry = registry()._players.find(_handle);
    if (entry != registry()._players.end() && entry->second == this) registry()._players.erase(entry);
  }
  {
    const Lock lock(registry()._containers);
    registry().shown.erase(this);
  }
  registry().pictures.waitUntilLeft(this);
  registry().listeners.remove(_handle);
  durix_player_destroy(_handle);  // a null one too: the middleware then says no
}

void BroadcastTeletextPlayer::forgetContents(const std::vector<Service*>& services) {
  const std::set<const AvContent*> dying(services.begin(), services.end());
  const Lock lives(registry()._lives);
  for (BroadcastTeletextPlayer* const player : registry().living) {
    const Lock lock(player->_lock);
    const auto* const program = dynamic_cast<Program*>(player->_content);
    const AvContent* const service = program == nullptr ? player->_content : program->getService();
    if (dying.contains(service)) player->_content = nullptr;
  }
}

void BroadcastTeletextPlayer::forgetPlugin(const BroadcastPlugin* plugin) {
  const Lock lives(registry()._lives);
  for (BroadcastTeletextPlayer* const player : registry().living) {
    const Lock lock(player->_lock);
    if (player->_plugin != plugin) continue;
    player->_plugin = nullptr;
    player->_content = nullptr;
  }
}

void BroadcastTeletextPlayer::setContent(AvContent* content) {
  const Lock lock(_lock);
  _content = content;
}

AvContent* BroadcastTeletextPlayer::getContent() {
  const Lock lock(_lock);
  return _content;
}

void BroadcastTeletextPlayer::setCanvas(Canvas* canvas) {
  _canvas = canvas;
  if (_handle == nullptr) {
    BC_ERR(LOG, "ERROR in BroadcastTeletextPlayer. durixPlayer handle NULL");
    return;
  }
  if (canvas == nullptr) return;
  const durix_render_data render = renderData(canvas->getWindowId());
  BC_INFO(LOG, "Setting canvas  h = %d, w = %d,  window_id=%d", static_cast<int>(canvas->getHeight()),
          static_cast<int>(canvas->getWidth()), static_cast<int>(reinterpret_cast<std::intptr_t>(render.window)));
  durix_player_render_data_set(_handle, &render);
}

Canvas* BroadcastTeletextPlayer::getCanvas() {
  return _canvas;
}

bool BroadcastTeletextPlayer::isValid() {
  {
    const Lock lock(_lock);
    if (_plugin != nullptr && _plugin->getState() == PLUGIN_ACTIVE) return true;
  }
  BC_INFO(LOG, "Tried to start BroadcastTeletextPlayer when plugin was NOT ACTIVE!");
  return false;
}

bool BroadcastTeletextPlayer::start(bool flag) {
  BC_INFO(LOG, "BroadcastTeletextPlayer::start()");
  if (_handle == nullptr) BC_ERR(LOG, "ERROR in BroadcastTeletextPlayer. durixPlayer handle wasn't inited on creation");
  if (!isValid()) return false;
  if (!gate::Pass()) return false;  // the plugin is closing
  std::vector<durix_esg_object> feeds;
  std::vector<durix_esg_object> teletext;
  {
    const Lock lock(_lock);
    if (_content == nullptr) return false;
    feeds = feedsOf(_content);
  }
  BC_INFO(LOG, "%u Feeds found, selecting feeds to be activated", static_cast<unsigned>(feeds.size()));
  for (const durix_esg_object& feed : feeds) {
    if (feed_chooser::typeOf(feed) == DURIX_FEED_TELETEXT) teletext.push_back(feed);
  }
  BC_INFO(LOG, "found %u Feeds to be activated", static_cast<unsigned>(teletext.size()));
  {
    const Lock lock(_lock);
    _teletextFeeds = teletext;
  }
  for (const durix_esg_object& feed : teletext) {
    const durix_return_code code = durix_player_feed_add(_handle, &feed);
    if (code == DURIX_OK) continue;
    BC_ERR(LOG, "durix_player_feed_add Failed return_code = %u", code);
    return false;
  }
  const durix_return_code code = durix_player_start(_handle, flag);
  if (code != DURIX_OK) {
    BC_ERR(LOG, "durix_player_start Failed return_code = %u", code);
    return false;
  }
  _started = true;
  return true;
}

bool BroadcastTeletextPlayer::stop() {
  if (!_started.exchange(false)) return true;
  {
    const Lock lock(registry()._playersMutex);
    registry()._players.erase(_handle);
  }
  {
    const Lock lock(_lock);
    BC_INFO(LOG, "BroadcastTeletextPlayer::stop()");
    _teletextFeeds.clear();
  }
  const durix_return_code code = durix_player_stop(_handle);
  if (code == DURIX_OK) return true;
  BC_ERR(LOG, "durix_player_stop Failed, return_code = %u", code);
  return false;
}

bool BroadcastTeletextPlayer::pause(bool on) {
  if (_handle == nullptr) {
    BC_ERR(LOG, "ERROR in BroadcastTeletextPlayer. DurixPlayer handle wasn't inited on creation");
    return false;
  }
  BC_INFO(LOG, "BroadcastTeletextPlayer::pause()");
  const durix_return_code code = durix_player_pause(_handle, on);
  if (code == DURIX_OK) return true;
  BC_ERR(LOG, "durix_player_pause Failed, return_code = %u", code);
  return false;
}

bool BroadcastTeletextPlayer::setSize(unsigned /*width*/, unsigned /*height*/) {
  return false;
}
bool BroadcastTeletextPlayer::setVolume(unsigned char /*volume*/) {
  return false;
}
unsigned char BroadcastTeletextPlayer::getVolume() {
  return 0;
}
bool BroadcastTeletextPlayer::setMute(bool /*mute*/) {
  return false;
}
bool BroadcastTeletextPlayer::isMuted() {
  return false;
}

bool BroadcastTeletextPlayer::setTeletextPage(unsigned page, unsigned subpage) {
  if (_handle != nullptr && durix_player_teletext_set_page(_handle, page, subpage) == DURIX_OK) return true;
  BC_ERR(LOG, "setTeletextPage failed");
  return false;
}

bool BroadcastTeletextPlayer::changeTeletextPage(VmTeletextPageCmd command) {
  if (static_cast<std::uint32_t>(command) >= DURIX_TELETEXT_COMMANDS) {
    BC_ERR(LOG, "changeTeletextPage invalid cmd");
    return false;
  }
  if (_handle != nullptr && durix_player_teletext_change_page(_handle, command) == DURIX_OK) return true;
  BC_ERR(LOG, "changeTeletextPage failed");
  return false;
}

void BroadcastTeletextPlayer::handleImageReceived(FFPic* picture) {
  const std::vector<PlayerListener*> listeners = _imageListeners;  // the host may delete this player in the call
  for (PlayerListener* const listener : listeners) listener->imageReceived(picture);
}

void BroadcastTeletextPlayer::imageReceivedEvent(void* picture, void* user) {
  const gate::Pass pass;
  if (!pass) return;
  {
    const Lock lock(registry()._containers);
    if (!registry().shown.contains(user)) return;  // it has just died
    registry().pictures.enter(user);
  }
  atBorder(LOG, "picture",
           [&] { static_cast<BroadcastTeletextPlayer*>(user)->handleImageReceived(static_cast<FFPic*>(picture)); });
  registry().pictures.leave(user);
}

void BroadcastTeletextPlayer::sendNotifyPlayer(durix_player* player, Plugin* /*plugin*/, bool isStarted,
                                               bool hasError) {
  BC_INFO(LOG, "sendNotifyPlayer isStarted %d, hasError %d", static_cast<int>(isStarted), static_cast<int>(hasError));
  registry().listeners.tellState(player, isStarted, hasError, LOG);
}

#include "playback/PlayerFactory.h"

#include "BroadcastPlayer.h"
#include "BroadcastTeletextPlayer.h"

namespace {

/// The service that playing `content` takes a receiver for; null for recordings.
Service* serviceOf(AvContent* content) {
  if (auto* const service = dynamic_cast<Service*>(content)) return service;
  if (const auto* const program = dynamic_cast<Program*>(content)) return program->getService();
  return nullptr;
}

}  // namespace

Player* PlayerFactory::createPlayer(AvContent* content, void* window, PlayerListener* listener) {
  _host.closeCurrentDataFeed();
  auto* const player = new BroadcastPlayer(&_plugin, content, window, listener, _host.isSubtitlesEnabled(), false);
  BroadcastPlayer::setMainPlayer(player);
  return player;
}

Player* PlayerFactory::createTeletextPlayer(AvContent* content, void* window, PlayerListener* listener) {
  return new BroadcastTeletextPlayer(&_plugin, content, window, listener);
}

Player* PlayerFactory::createSecondaryPlayer(AvContent* content, void* window, PlayerListener* listener) {
  auto* const player = new BroadcastPlayer(&_plugin, content, window, listener, _host.isSubtitlesEnabled(), true);
  _plugin.setPlayableStatus({});
  std::vector<Service*> services = _host.activeSchedulingsServices();
  if (Service* const service = serviceOf(content)) services.push_back(service);
  _plugin.setPlayableStatus(services);
  return player;
}

bool PlayerFactory::destroySecondaryPlayer(Player* player) {
  delete player;
  _plugin.setPlayableStatus({});
  _plugin.setPlayableStatus(_host.activeSchedulingsServices());
  return true;
}

void PlayerFactory::enableSubtitles(bool enabled) {
  BroadcastPlayer::withMainPlayer([&](BroadcastPlayer& player) { player.enableSubtitles(enabled); });
}

void PlayerFactory::changeAudioLanguage(const std::string& language) {
  BroadcastPlayer::withMainPlayer([&](BroadcastPlayer& player) { player.changeAudioLanguage(language); });
}

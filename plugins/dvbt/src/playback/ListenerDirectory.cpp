#include "playback/ListenerDirectory.h"

#include "support/Border.h"

void ListenerDirectory::add(durix_player* player, PlayerListener* listener) {
  if (player == nullptr || listener == nullptr) return;
  const Lock lock(_containers);
  _mapping.insert({player, listener});
}

void ListenerDirectory::remove(durix_player* player) {
  {
    const Lock lock(_containers);
    _mapping.erase(player);
  }
  _calls.waitUntilLeft(player);
}

void ListenerDirectory::tellState(durix_player* player, bool isStarted, bool hasError, const LogSource& log) {
  PlayerListener* listener = nullptr;
  {
    const Lock lock(_containers);
    const auto entry = _mapping.find(player);
    if (entry == _mapping.end()) return;
    listener = entry->second;
    _calls.enter(player);
  }
  atBorder(log, "player listener", [&] {
    if (isStarted) {
      BC_INFO(log, "playerStarted");
      listener->playerStarted();
    } else if (hasError) {
      BC_INFO(log, "playerError");
      listener->playerError();
    } else {
      BC_INFO(log, "playerStopped");
      listener->playerStopped();
    }
  });
  _calls.leave(player);
}

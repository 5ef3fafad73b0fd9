#pragma once

#include <memory>
#include <string>

#include "Interrupt.h"
#include "PlayerDoor.h"
#include "PlayerEvents.h"
#include "velmora/Player.h"

namespace tv {

class Session;

/// One content that plays, until this is gone. One thread.
class Playing {
 public:
  /// `window` as players want it; null for none. Throws Failure when another command plays it already.
  Playing(Session& session, AvContent& content, void* window);

  Player& player() { return *_player; }
  const PlayerDoor& door() const { return _door; }
  AvContent& content() { return _content; }
  const PlayerEvents& events() const { return _events; }

  /// Starts and waits until it has. Throws Failure that says why it does not, and Interrupted.
  void start(const Interrupt& interrupt);

  /// Stops, and waits a moment for what is told of that.
  void stop();

  /// Throws Failure when it has failed meanwhile.
  void check() const;

 private:
  [[noreturn]] void fail(const std::string& fallback) const;

  AvContent& _content;
  PlayerEvents _events;
  const PlayerDoor _door;
  std::unique_ptr<Player> _player;  // first to go: it tells its events until then
};

}  // namespace tv

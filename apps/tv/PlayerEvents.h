#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "velmora/Player.h"

namespace tv {

/// What a player tells, kept for who asks later. It outlives the player.
class PlayerEvents : public PlayerListener {
 public:
  void imageReceived(FFPic*) override {}
  void playerStarted() override { add("started", &State::started); }
  void playerError() override { add("error", &State::failed); }
  void playerStopped() override { add("stopped", &State::stopped); }
  void playerBlocked() override { add("blocked", &State::blocked); }
  void playerUnblocked() override {
    add("unblocked", &State::unblocked);
    const std::lock_guard lock(_mutex);
    _state.blocked = false;
  }

  struct State {
    bool started = false, failed = false, stopped = false, blocked = false, unblocked = false;
  };
  State state() const {
    const std::lock_guard lock(_mutex);
    return _state;
  }
  std::vector<std::string> names() const {
    const std::lock_guard lock(_mutex);
    return _names;
  }

  /// By which the side door knows the player.
  const void* key() const { return static_cast<const PlayerListener*>(this); }

 private:
  void add(const char* name, bool State::*flag) {
    const std::lock_guard lock(_mutex);
    _names.emplace_back(name);
    _state.*flag = true;
  }

  mutable std::mutex _mutex;
  std::vector<std::string> _names;  // guarded by _mutex, as the next
  State _state;
};

}  // namespace tv

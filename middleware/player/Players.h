#pragma once

#include <cstdint>
#include <memory>

#include "middleware/player/Player.h"
#include "middleware/portability/HandleTable.h"

namespace durix {

/// A player lives as long as the instance that it was made with, if nobody destroys it before.
struct OwnedPlayer {
  std::weak_ptr<Instance> instance;
  std::uint32_t kind = DURIX_RENDER_VIDEO;
  const void* user = nullptr;  // as it was given
  std::shared_ptr<Player> player;
};

/// All players of the process. Never destroyed: a call may come while the process ends.
HandleTable<durix_player, OwnedPlayer>& players();

}  // namespace durix

#pragma once

#include <map>

#include "durix/durix_player.h"
#include "support/Lock.h"
#include "support/Log.h"
#include "support/Visitors.h"
#include "velmora/Player.h"

/// Which listener of the host belongs to which middleware player. Calls go out with no lock held; `remove` returns when
/// no other thread is inside that player's listener, so that the host may delete it then.
class ListenerDirectory {
 public:
  void add(durix_player* player, PlayerListener* listener);  // the first one of a player stays
  void remove(durix_player* player);

  /// Tells the player's listener, if it has one, that the player started, else failed, else stopped.
  void tellState(durix_player* player, bool isStarted, bool hasError, const LogSource& log);

 private:
  RankedMutex _containers{LockRank::Leaf};
  std::map<durix_player*, PlayerListener*> _mapping BC_GUARDED_BY(_containers);  // the host's
  Visitors _calls;                                                               // by player
};

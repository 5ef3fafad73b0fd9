#pragma once

#include <vector>

#include "support/Lock.h"

class PluginListener;

/// The process-wide registry of plugin listeners that the host may look into. Nothing in the plugin reads it, and
/// entries are never taken out: one may point to a plugin that has been closed.
class BroadcastListener {
 public:
  static BroadcastListener* getInstance();

  void addListener(PluginListener* listener);

 private:
  BroadcastListener() = default;

  static BroadcastListener* instance_;

  RankedMutex _mutex{LockRank::Leaf};
  std::vector<PluginListener*> _listeners BC_GUARDED_BY(_mutex);  // not owned
};

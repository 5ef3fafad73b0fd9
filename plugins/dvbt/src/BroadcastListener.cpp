#include "BroadcastListener.h"

BroadcastListener* BroadcastListener::instance_ = nullptr;

BroadcastListener* BroadcastListener::getInstance() {
  // Never destroyed: the host may look in at any time.
  static BroadcastListener* const registry = instance_ = new BroadcastListener;
  return registry;
}

void BroadcastListener::addListener(PluginListener* listener) {
  const Lock lock(_mutex);
  _listeners.push_back(listener);
}

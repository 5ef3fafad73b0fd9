#include "BroadcastListener.h"

BroadcastListener* BroadcastListener::instance_ = nullptr;

BroadcastListener* BroadcastListener::getInstance() {
  static BroadcastListener* const registry =
      new BroadcastListener;  // never destroyed: the host may look in at any time
  instance_ = registry;
  return instance_;
}

void BroadcastListener::addListener(PluginListener* listener) {
  const Lock lock(_mutex);
  _listeners.push_back(listener);
}

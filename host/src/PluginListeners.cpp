#include "host/src/PluginListeners.h"

#include <algorithm>
#include <map>

namespace host {
namespace {

struct Plugins {
  std::mutex mutex;                                                 // a leaf
  std::map<const Plugin*, std::shared_ptr<PluginListeners>> alive;  // guarded by mutex
};

}  // namespace

void PluginListeners::enter(PluginListener* listener) {
  const VmLock lock(*_lock);
  if (_mirror && listener && std::find(_mirror->begin(), _mirror->end(), listener) == _mirror->end()) {
    _mirror->push_back(listener);
  }
  add(listener);
}

void PluginListeners::leave(PluginListener* listener) {
  {
    const VmLock lock(*_lock);
    if (_mirror) std::erase(*_mirror, listener);
  }
  remove(listener);  // waits, so the listener lock is free again
}

void PluginListeners::detach() {
  const VmLock lock(*_lock);
  _mirror = nullptr;
}

std::shared_ptr<PluginListeners> PluginListeners::of(const Plugin* plugin) {
  auto& plugins = forEver<Plugins>();
  const std::lock_guard lock(plugins.mutex);
  const auto known = plugins.alive.find(plugin);
  return known == plugins.alive.end() ? nullptr : known->second;
}

void PluginListeners::remember(const Plugin* plugin, const std::shared_ptr<PluginListeners>& listeners) {
  auto& plugins = forEver<Plugins>();
  const std::lock_guard lock(plugins.mutex);
  plugins.alive[plugin] = listeners;
}

void PluginListeners::forgetPlugin(const Plugin* plugin) {
  auto& plugins = forEver<Plugins>();
  const std::lock_guard lock(plugins.mutex);
  plugins.alive.erase(plugin);
}

}  // namespace host

PluginListener::~PluginListener() {
  host::PluginListeners::forget(this);
}

// NOLINTBEGIN(performance-unnecessary-value-param): the contract passes these by value
void PluginListener::notifyDiscover(Plugin*, bool, bool, unsigned, unsigned, unsigned, std::vector<std::string>) {}
void PluginListener::notifyStatistics(Plugin*, unsigned, unsigned, bool, unsigned char, unsigned char) {}
void PluginListener::notifyPlayer(Plugin*, bool, bool) {}
void PluginListener::pluginStateChanged(Plugin*, PluginState, PluginState) {}
void PluginListener::notifyServiceUpdate(Plugin*, std::vector<Service*>*) {}
void PluginListener::notifyProgramUpdate(Plugin*, Service*, std::vector<Program*>*) {}
void PluginListener::notifyReminder(Plugin*, AvContent*) {}
void PluginListener::notifySearch(Plugin*, std::vector<AvContent*>) {}
void PluginListener::notifyProgramStarted(Plugin*, Service*, Program*) {}
void PluginListener::notifyProgramEnded(Plugin*, Service*, Program*) {}
void PluginListener::notifyCurrentProgram(Plugin*, Service*, Program*) {}
// NOLINTEND(performance-unnecessary-value-param)

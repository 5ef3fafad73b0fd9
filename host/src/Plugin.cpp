#include "velmora/Plugin.h"

#include "host/src/PluginListeners.h"
#include "host/src/ReminderBook.h"

Plugin::Plugin() : _listenerMutex(new VmMutex), _deliveries(std::make_unique<Deliveries>()) {
  _deliveries->listeners = host::PluginListeners::make<host::PluginListeners>(_listenerMutex, _listeners);
  host::PluginListeners::remember(this, _deliveries->listeners);
}

Plugin::~Plugin() {
  host::forgetReminders(this);
  host::PluginListeners::forgetPlugin(this);
  _deliveries->listeners->detach();
}

void Plugin::configure(VmProperties* properties) {
  if (!properties) return;
  const host::VmLock lock(_configurationMutex);
  _configuration = *properties;
}

VmProperties Plugin::getConfiguration() {
  const host::VmLock lock(_configurationMutex);
  return _configuration;
}

std::string Plugin::getTitle() {
  return "Some plugin";
}

Plugin::PluginState Plugin::getState() {
  return _state;
}

void Plugin::setState(PluginState state) {
  const PluginState before = _state.exchange(state);
  if (before == state) return;
  const auto listeners = _deliveries->listeners;
  listeners->tell([&](PluginListener& listener) { listener.pluginStateChanged(this, before, state); });
}

void Plugin::addListener(PluginListener* listener) {
  _deliveries->listeners->enter(listener);
}

void Plugin::removeListener(PluginListener* listener) {
  _deliveries->listeners->leave(listener);
}

int Plugin::executeQuery(VmHttpQuery*, VmHttpListener*) {
  return 0;
}
int Plugin::cancelQuery(VmHttpQuery*) {
  return 0;
}
void Plugin::update() {}
void Plugin::clear() {}
void Plugin::load() {}
// NOLINTBEGIN(performance-unnecessary-value-param): the contract passes these by value
void Plugin::load(std::string) {}
// NOLINTEND(performance-unnecessary-value-param)
void Plugin::cancelAll() {}
void Plugin::search(Search*) {}
void Plugin::cancel(Search*) {}
void Plugin::loadMore(Search*) {}
void Plugin::flush() {}
AccountManager* Plugin::getAccountManager() {
  return nullptr;
}
void Plugin::closeAccountManager() {}
void Plugin::halt() {}
void Plugin::addProvider(Provider*) {}
std::vector<Provider*> Plugin::getProviders() {
  return {};
}
void Plugin::loadData(Content*) {}

#include "velmora/BroadcastPlugin.h"

#include "host/src/PluginListeners.h"

BroadcastPlugin::BroadcastPlugin() = default;
BroadcastPlugin::~BroadcastPlugin() = default;

void BroadcastPlugin::search(Tag*) {}

void BroadcastPlugin::sendNotifyDiscover(Plugin* plugin, bool finished, bool success, unsigned progress,
                                         unsigned frequency, unsigned serviceCount,
                                         std::vector<std::string> serviceNames) {
  const auto listeners = _deliveries->listeners;
  listeners->tell([&](PluginListener& listener) {
    listener.notifyDiscover(plugin, finished, success, progress, frequency, serviceCount, serviceNames);
  });
}

void BroadcastPlugin::sendNotifyStatistics(Plugin* plugin, unsigned frequency, unsigned bandwidth, bool locked,
                                           unsigned char quality, unsigned char battery) {
  const auto listeners = _deliveries->listeners;
  listeners->tell([&](PluginListener& listener) {
    listener.notifyStatistics(plugin, frequency, bandwidth, locked, quality, battery);
  });
}

void BroadcastPlugin::sendNotifyServiceUpdate(Plugin* plugin, std::vector<Service*>* services) {
  const auto listeners = _deliveries->listeners;
  listeners->tell([&](PluginListener& listener) { listener.notifyServiceUpdate(plugin, services); });
}

void BroadcastPlugin::sendNotifyProgramUpdate(Plugin* plugin, Service* service, std::vector<Program*>* programs) {
  const auto listeners = _deliveries->listeners;
  listeners->tell([&](PluginListener& listener) { listener.notifyProgramUpdate(plugin, service, programs); });
}

void BroadcastPlugin::sendNotifyCurrentProgram(Plugin* plugin, Service* service, Program* program) {
  const auto listeners = _deliveries->listeners;
  listeners->tell([&](PluginListener& listener) { listener.notifyCurrentProgram(plugin, service, program); });
}

void BroadcastPlugin::sendNotifyProgramStarted(Plugin* plugin, Service* service, Program* program) {
  const auto listeners = _deliveries->listeners;
  listeners->tell([&](PluginListener& listener) { listener.notifyProgramStarted(plugin, service, program); });
}

void BroadcastPlugin::sendNotifyProgramEnded(Plugin* plugin, Service* service, Program* program) {
  const auto listeners = _deliveries->listeners;
  listeners->tell([&](PluginListener& listener) { listener.notifyProgramEnded(plugin, service, program); });
}

#pragma once

#include <string>
#include <vector>

#include "velmora/PluginState.h"

class AvContent;
class Program;
class Service;

class Plugin;

/// Told by a plugin, on whatever thread the news comes from. Every operation does nothing unless overridden.
class PluginListener {
 public:
  virtual ~PluginListener();  // leaves every plugin
  virtual void notifyDiscover(Plugin* plugin, bool finished, bool success, unsigned progress, unsigned frequency,
                              unsigned serviceCount, std::vector<std::string> serviceNames);
  virtual void notifyStatistics(Plugin* plugin, unsigned frequency, unsigned bandwidth, bool locked,
                                unsigned char quality, unsigned char battery);
  virtual void notifyPlayer(Plugin* plugin, bool isStarted, bool hasError);
  virtual void pluginStateChanged(Plugin* plugin, PluginState before, PluginState now);
  virtual void notifyServiceUpdate(Plugin* plugin, std::vector<Service*>* services);
  virtual void notifyProgramUpdate(Plugin* plugin, Service* service, std::vector<Program*>* programs);
  virtual void notifyReminder(Plugin* plugin, AvContent* content);
  virtual void notifySearch(Plugin* plugin, std::vector<AvContent*> results);
  virtual void notifyProgramStarted(Plugin* plugin, Service* service, Program* program);
  virtual void notifyProgramEnded(Plugin* plugin, Service* service, Program* program);
  virtual void notifyCurrentProgram(Plugin* plugin, Service* service, Program* program);
};

#pragma once

#include <functional>
#include <string>

#include "tests/support/ScriptedMiddleware.h"
#include "velmora/BroadcastPlugin.h"

/// The platform around a whole plugin: the scripted middleware and the host's notices, which become lines "> notice".
class Stage : public ScriptedMiddleware, public PluginListener {
 public:
  Stage();
  ~Stage() override;

  /// The plugin, made through the entry point, with this stage as its listener.
  BroadcastPlugin* plugin();
  /// A plugin that has been started, with what that wrote dropped.
  BroadcastPlugin* startedPlugin();
  /// Closes the plugin if there is one.
  void close();

  /// Puts a locations file into the library directory, which from now on is one on disk, and into its listing.
  void addLocations(const std::string& fileName, const std::string& xml);

  // ---- the host's notices ----
  void notifyDiscover(Plugin* plugin, bool finished, bool success, unsigned progress, unsigned frequency,
                      unsigned serviceCount, Lines serviceNames) override;
  void notifyStatistics(Plugin* plugin, unsigned frequency, unsigned bandwidth, bool locked, unsigned char quality,
                        unsigned char battery) override;
  void notifyPlayer(Plugin* plugin, bool isStarted, bool hasError) override;
  void pluginStateChanged(Plugin* plugin, PluginState before, PluginState now) override;
  void notifyServiceUpdate(Plugin* plugin, std::vector<Service*>* services) override;
  std::function<void()> onNotice;  // done inside each of them

 private:
  void tell(const std::string& notice);

  BroadcastPlugin* _plugin = nullptr;
};

/// One line below the other, so that a difference is shown as such.
std::string asText(const Lines& lines);

/// The expected transcript of that name, without comments (lines that begin with "#") and empty lines.
std::string expected(const std::string& name);

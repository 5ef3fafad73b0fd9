#pragma once

#include <map>
#include <string>

#include "velmora/BroadcastPlugin.h"

namespace tv {

class PluginLibrary;

/// Values that options of the plugin have for a while: they are as before when this is gone, and kept for no later run.
class Preferences {
 public:
  Preferences(BroadcastPlugin& plugin, const PluginLibrary& library) : _plugin(plugin), _library(library) {}
  Preferences(const Preferences&) = delete;
  Preferences& operator=(const Preferences&) = delete;
  ~Preferences();

  void set(const std::string& option, const std::string& value);
  void set(const std::string& option, bool value);

  /// Sound of several channels comes first. Throws Failure with a plugin that takes no such wish.
  void preferMultichannel();

 private:
  Option* take(const std::string& option);
  bool deliverMultichannel(bool value);  // false when it does not get there

  BroadcastPlugin& _plugin;
  const PluginLibrary& _library;
  bool _isMultichannel = false;
  std::map<Option*, std::string> _before;
};

}  // namespace tv

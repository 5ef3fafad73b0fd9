#pragma once

#include <map>

#include "tests/support/IdlePlugin.h"

/// A plugin with programmes and nothing else.
class TestPlugin : public IdlePlugin {
 public:
  Program* getProgram(int id) override { return programs.count(id) ? programs[id] : nullptr; }

  /// The listeners as code of the plugin sees them.
  std::vector<PluginListener*> walked() {
    _listenerMutex->acquire();
    std::vector<PluginListener*> copy = _listeners;
    _listenerMutex->release();
    return copy;
  }

  std::map<int, Program*> programs;
};

#pragma once

#include <cstdint>
#include <string>

#include "velmora/BroadcastPlugin.h"

namespace tv {

/// The plugin's shared library and, through it, the middleware's. Stays loaded until the process ends, since the host
/// may hold things that came from it.
class PluginLibrary {
 public:
  /// Throws Failure when the file is no plugin.
  explicit PluginLibrary(const std::string& file);

  /// The plugin; a new one after the last was closed.
  BroadcastPlugin* plugin() const { return _entry(); }

  /// A function by its exported name in the plugin or what it links; null when there is none.
  template <typename Function>
  Function* find(const char* name) const {
    return reinterpret_cast<Function*>(address(name));
  }
  void* address(const char* name) const;

 private:
  void* _handle = nullptr;
  BroadcastPlugin* (*_entry)() = nullptr;
};

}  // namespace tv

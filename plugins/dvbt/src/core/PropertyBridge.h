#pragma once

#include <string>

#include "durix/durix.h"
#include "velmora/PluginState.h"

/// What the bridge asks of the plugin.
class PropertyHost {
 public:
  virtual durix_handle* durixHandle() = 0;
  virtual PluginState getState() = 0;
  virtual void flush() = 0;  // the guide refresh that follows a change

 protected:
  ~PropertyHost() = default;
};

/// The middleware's numbered text properties under the names that settings and host use.
/// Called by host threads and the event thread; holds nothing.
class PropertyBridge {
 public:
  explicit PropertyBridge(PropertyHost& host) : _host(host) {}

  /// Sets the property that `name` stands for; an unknown name is logged and dropped.
  void setDurixProperty(const std::string& name, const std::string& value);

  /// The property's text, empty when it cannot be read.
  std::string getDurixProperty(durix_property number);

  /// Host properties under "plugin.broadcast": the receiver's address and the guide update switch.
  void notifyPropertyChanged(const std::string& name, const std::string& value);

  void setRecordingsPath(const char* path);

 private:
  PropertyHost& _host;  // outlives this
};

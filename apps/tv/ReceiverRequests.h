#pragma once

#include <string>

#include "velmora/Types.h"

namespace tv {

class PluginLibrary;

/// The plugin library's receiver control, reached by its exported names. Each is true on success.
class ReceiverRequests {
 public:
  /// `device` is a device's handle. Throws Failure when the library has no receiver control.
  ReceiverRequests(const PluginLibrary& library, void* device);

  bool select(ReceiverType type, const std::string& first, const std::string& second);
  bool setAddress(const std::string& address, int port);
  bool reset();

 private:
  const PluginLibrary& _library;  // outlives this
  /// A ReceiverControl as the compilers of this platform lay it out: its operations are not virtual, so that they can
  /// be called on it by name without linking the library.
  struct Control {
    void* table;
    void* handle;
  } _control;
};

/// The text of the plugin's `getTunerType`; empty when the library does not export it.
std::string tunerType(const PluginLibrary& library, void* plugin);

}  // namespace tv

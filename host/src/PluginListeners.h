#pragma once

#include <memory>
#include <vector>

#include "host/src/ListenerList.h"
#include "velmora/Plugin.h"
#include "velmora/PluginListener.h"
#include "velmora/VmMutex.h"

namespace host {

/// Holds a VmMutex for the life of the object.
class VmLock {
 public:
  explicit VmLock(VmMutex& mutex) : _mutex(mutex) { _mutex.acquire(); }
  VmLock(const VmLock&) = delete;
  VmLock& operator=(const VmLock&) = delete;
  ~VmLock() { _mutex.release(); }

 private:
  VmMutex& _mutex;
};

/// The listeners of one plugin. Fan-outs use the list; the plugin's own vector mirrors it for those who walk that one
/// under the listener lock. Lock order: the listener lock, then the list's leaf.
class PluginListeners : public ListenerList<PluginListener> {
 public:
  /// Owns the listener lock, because a dying listener may still need it when the plugin has just gone.
  PluginListeners(VmMutex* lock, std::vector<PluginListener*>& mirror) : _lock(lock), _mirror(&mirror) {}

  void enter(PluginListener* listener);
  void leave(PluginListener* listener) override;

  /// The plugin goes, and its vector with it.
  void detach();

  /// Null when there is no such plugin any more.
  static std::shared_ptr<PluginListeners> of(const Plugin* plugin);
  static void remember(const Plugin* plugin, const std::shared_ptr<PluginListeners>& listeners);
  static void forgetPlugin(const Plugin* plugin);

 private:
  const std::unique_ptr<VmMutex> _lock;
  std::vector<PluginListener*>* _mirror;  // guarded by *_lock; null once the plugin has gone
};

}  // namespace host

struct Plugin::Deliveries {
  std::shared_ptr<host::PluginListeners> listeners;
};

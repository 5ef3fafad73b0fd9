#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>

#include "Interrupt.h"
#include "velmora/BroadcastPlugin.h"

namespace tv {

/// How a receiver last said that it receives.
struct ReceiverStatistics {
  unsigned frequency = 0;  // as in the locations files
  unsigned bandwidth = 0;  // Hz
  bool locked = false;
  unsigned quality = 0;  // per cent
  unsigned battery = 0;  // per cent
};

/// Follows the plugin's state and its receivers' statistics for those who wait or ask for them.
class PluginWatch : public PluginListener {
 public:
  explicit PluginWatch(BroadcastPlugin& plugin) : _plugin(plugin) { _plugin.addListener(this); }
  ~PluginWatch() override { _plugin.removeListener(this); }

  void pluginStateChanged(Plugin* plugin, PluginState before, PluginState now) override;

  void notifyStatistics(Plugin* plugin, unsigned frequency, unsigned bandwidth, bool locked, unsigned char quality,
                        unsigned char battery) override;

  /// The last statistics; nothing before any came.
  std::optional<ReceiverStatistics> statistics() const;

  /// Whether the state has been active.
  bool wasActive() const { return _wasActive; }

  /// Waits until `wanted` holds for the state, at most that long; gives the last state. Throws Interrupted.
  PluginState waitFor(const std::function<bool(PluginState)>& wanted, std::chrono::milliseconds limit,
                      const Interrupt& interrupt);

 private:
  BroadcastPlugin& _plugin;  // outlives this
  std::atomic<bool> _wasActive = false;
  mutable std::mutex _mutex;
  std::condition_variable _changed;
  std::optional<ReceiverStatistics> _statistics;  // guarded by _mutex
};

}  // namespace tv

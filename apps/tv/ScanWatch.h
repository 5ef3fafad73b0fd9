#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "velmora/BroadcastPlugin.h"

namespace tv {

/// One notice of a scan in progress.
struct ScanNotice {
  bool finished = false;
  bool success = false;
  unsigned progress = 0;   // 0 to 100
  unsigned frequency = 0;  // as in the locations files, 0 when finished
  unsigned serviceCount = 0;
  std::vector<std::string> names;  // cut by the middleware
};

/// Collects the notices of a scan for the thread that shows them.
class ScanWatch : public PluginListener {
 public:
  explicit ScanWatch(BroadcastPlugin& plugin) : _plugin(plugin) { _plugin.addListener(this); }
  ~ScanWatch() override { _plugin.removeListener(this); }

  void notifyDiscover(Plugin* plugin, bool finished, bool success, unsigned progress, unsigned frequency,
                      unsigned serviceCount, std::vector<std::string> serviceNames) override;

  /// The next notice; nothing when none comes within the limit.
  std::optional<ScanNotice> next(std::chrono::milliseconds limit);

 private:
  BroadcastPlugin& _plugin;  // outlives this
  std::mutex _mutex;
  std::condition_variable _changed;
  std::deque<ScanNotice> _notices;  // guarded by _mutex
};

}  // namespace tv

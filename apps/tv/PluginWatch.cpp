#include "PluginWatch.h"

#include <algorithm>

namespace tv {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {
constexpr milliseconds TURN{50};
}

void PluginWatch::pluginStateChanged(Plugin* /*plugin*/, PluginState /*before*/, PluginState now) {
  if (now == PLUGIN_ACTIVE) _wasActive = true;
  const std::lock_guard lock(_mutex);
  _changed.notify_all();
}

void PluginWatch::notifyStatistics(Plugin* /*plugin*/, unsigned frequency, unsigned bandwidth, bool locked,
                                   unsigned char quality, unsigned char battery) {
  const std::lock_guard lock(_mutex);
  _statistics = ReceiverStatistics{frequency, bandwidth, locked, quality, battery};
}

std::optional<ReceiverStatistics> PluginWatch::statistics() const {
  const std::lock_guard lock(_mutex);
  return _statistics;
}

PluginState PluginWatch::waitFor(const std::function<bool(PluginState)>& wanted, milliseconds limit,
                                 const Interrupt& interrupt) {
  const auto end = steady_clock::now() + limit;
  for (;;) {
    interrupt.check();
    const PluginState state = _plugin.getState();
    const auto left = end - steady_clock::now();
    if (wanted(state) || left <= steady_clock::duration::zero()) return state;
    std::unique_lock lock(_mutex);
    _changed.wait_for(lock, std::min<steady_clock::duration>(left, TURN));
  }
}

}  // namespace tv

#include "ScanWatch.h"

#include <utility>

namespace tv {

void ScanWatch::notifyDiscover(Plugin* /*plugin*/, bool finished, bool success, unsigned progress, unsigned frequency,
                               unsigned serviceCount, std::vector<std::string> serviceNames) {
  const std::lock_guard lock(_mutex);
  _notices.push_back({finished, success, progress, frequency, serviceCount, std::move(serviceNames)});
  _changed.notify_all();
}

std::optional<ScanNotice> ScanWatch::next(std::chrono::milliseconds limit) {
  std::unique_lock lock(_mutex);
  if (!_changed.wait_for(lock, limit, [this] { return !_notices.empty(); })) return std::nullopt;
  ScanNotice notice = std::move(_notices.front());
  _notices.pop_front();
  return notice;
}

}  // namespace tv

#include "middleware/guide/GuideFeeds.h"

namespace durix {

void GuideFeeds::open(std::uint32_t multiplex) {
  const std::scoped_lock lock(_mutex);
  ++_counts[multiplex];
  ++_changes;
  _changed.notify_all();
}

bool GuideFeeds::close(std::uint32_t multiplex) {
  const std::scoped_lock lock(_mutex);
  const auto found = _counts.find(multiplex);
  if (found == _counts.end()) return false;
  if (--found->second == 0) _counts.erase(found);
  ++_changes;
  _changed.notify_all();
  return true;
}

std::vector<std::uint32_t> GuideFeeds::multiplexes() const {
  const std::scoped_lock lock(_mutex);
  std::vector<std::uint32_t> open;
  for (const auto& [multiplex, count] : _counts) open.push_back(multiplex);
  return open;
}

bool GuideFeeds::isAnyOpen() const {
  const std::scoped_lock lock(_mutex);
  return !_counts.empty();
}

void GuideFeeds::waitForChange(const std::stop_token& stop, std::chrono::milliseconds longest) {
  std::unique_lock lock(_mutex);
  _changed.wait_for(lock, stop, longest, [this, before = _changes] { return _changes != before; });
}

}  // namespace durix

#include "middleware/guide/GuideFeeds.h"

namespace durix {

void GuideFeeds::open(std::uint32_t multiplex) {
  const std::scoped_lock lock(_mutex);
  ++_counts[multiplex];
}

bool GuideFeeds::close(std::uint32_t multiplex) {
  const std::scoped_lock lock(_mutex);
  const auto found = _counts.find(multiplex);
  if (found == _counts.end()) return false;
  if (--found->second == 0) _counts.erase(found);
  return true;
}

}  // namespace durix

#include "middleware/store/Catalogue.h"

#include <algorithm>

namespace durix {

const StoredService* Catalogue::service(std::uint32_t id) const {
  const auto found = services.find(id);
  return found == services.end() ? nullptr : &found->second;
}

const Feed* Catalogue::feed(std::uint32_t id) const {
  const auto owner = serviceOfFeed.find(id);
  if (owner == serviceOfFeed.end()) return nullptr;
  const auto& feeds = services.at(owner->second).feeds;
  const auto found = std::find_if(feeds.begin(), feeds.end(), [&](const Feed& feed) { return feed.id == id; });
  return found == feeds.end() ? nullptr : &*found;
}

}  // namespace durix

#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "host/src/ForEver.h"
#include "velmora/Velmora.h"

namespace {

struct Resources {
  std::mutex mutex;  // a leaf
  // guarded by mutex
  std::map<std::pair<std::string, int>, std::unique_ptr<Resource>> known;  // by URI and type
};

}  // namespace

Resource* VmResourceLoader::getResource(const std::string& uri, int type) {
  if (uri.empty()) return nullptr;
  auto& resources = host::forEver<Resources>();
  const std::lock_guard lock(resources.mutex);
  auto& resource = resources.known[{uri, type}];
  if (!resource) resource = std::make_unique<Resource>(uri);
  return resource.get();
}

VmRecommendationUpdater::VmRecommendationUpdater(Plugin* plugin, AvContent::AvType type)
    : _plugin(plugin), _type(type) {}

bool VmRecommendationUpdater::Start() {
  // Who would feed a service if there were one.
  static_cast<void>(_plugin);
  static_cast<void>(_type);
  return false;
}

void VmRecommendationUpdater::Stop() {}
// NOLINTBEGIN(performance-unnecessary-value-param): the contract passes these by value
void VmRecommendationUpdater::updateContentRecommendations(std::vector<AvContent*>, Playlist*) {}
// NOLINTEND(performance-unnecessary-value-param)

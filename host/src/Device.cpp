#include <cstring>
#include <mutex>
#include <vector>

#include "host/src/ForEver.h"
#include "velmora/Velmora.h"

namespace {

/// Nobody deletes devices: here they stay reachable.
struct Devices {
  std::mutex mutex;          // a leaf
  std::vector<Device*> all;  // never dereferenced; guarded by mutex
};

}  // namespace

Device::Device(void* record) {
  if (record) {
    std::memcpy(_record, record, sizeof _record);
  } else {
    std::memset(_record, 0, sizeof _record);
  }
  auto& devices = host::forEver<Devices>();
  const std::lock_guard lock(devices.mutex);
  devices.all.push_back(this);
}

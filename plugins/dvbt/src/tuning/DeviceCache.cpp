#include "tuning/DeviceCache.h"

#include <utility>

#include "support/Log.h"
#include "velmora/Velmora.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

}  // namespace

std::vector<Device*> DeviceCache::getDevices() {
  durix_handle* const handle = _host.durixHandle();
  if (handle == nullptr) {
    BC_ERR(LOG, "Invalid durix handle");
    return {};
  }
  {
    const Lock lock(_containers);
    if (!_devices.empty()) return _devices;
  }
  auto records = std::make_unique<MwArray<durix_device>>();
  if (durix_device_get(handle, records->items(), records->count()) != DURIX_OK) {
    BC_ERR(LOG, "Could not get devices");
    return {};
  }
  std::vector<Device*> devices;
  for (durix_device& record : *records) devices.push_back(new Device(&record));
  const Lock lock(_containers);
  // Of two threads that ask first together, one wins; nobody has seen the other's devices.
  if (_devices.empty()) {
    _devices.swap(devices);
    _records.swap(records);
  }
  return _devices;
}

std::string DeviceCache::getTunerType() {
  MwText value;
  if (durix_property_get(_host.durixHandle(), DURIX_PROPERTY_CONNECTION_TYPE, value.out()) != DURIX_OK) return {};
  return value.str() == "Wi-Fi" ? "Wi-Fi" : "";
}

void DeviceCache::clear() {
  std::unique_ptr<MwArray<durix_device>> records;
  const Lock lock(_containers);
  _devices.clear();
  _records.swap(records);
}

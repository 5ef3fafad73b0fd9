#pragma once

#include <memory>
#include <string>
#include <vector>

#include "durix/durix.h"
#include "support/Lock.h"
#include "support/MwMemory.h"

class Device;

/// What the cache asks of the plugin.
class DeviceHost {
 public:
  virtual durix_handle* durixHandle() = 0;

 protected:
  ~DeviceHost() = default;
};

/// The receivers that the middleware knows, as the host's devices, asked for once. Called by host threads.
class DeviceCache {
 public:
  explicit DeviceCache(DeviceHost& host) : _host(host) {}

  /// The devices, shared with the cache; empty when they cannot be had, and then the next call asks again.
  std::vector<Device*> getDevices();

  /// "Wi-Fi" for a receiver that is reached so, else empty.
  std::string getTunerType();

  /// Forgets the devices, which live on, and releases the records that they were made from.
  void clear();

 private:
  // fixed after construction
  DeviceHost& _host;  // outlives this

  // guarded by _containers, a leaf
  RankedMutex _containers{LockRank::Leaf};
  std::vector<Device*> _devices BC_GUARDED_BY(_containers);
  std::unique_ptr<MwArray<durix_device>> _records BC_GUARDED_BY(_containers);  // a device may point into them
};

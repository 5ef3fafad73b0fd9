#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "ServiceImpl.h"
#include "durix/durix.h"
#include "guide/ServiceOrderFile.h"
#include "support/Lock.h"
#include "support/ThreadSafety.h"
#include "velmora/BroadcastPlugin.h"

class BroadcastProvider;

/// What the service list and its services ask of the plugin.
class ServiceListHost : public ServiceHost {
 public:
  virtual BroadcastProvider* activeInProviders() = 0;  // the active provider if the provider list knows it; else null
  virtual bool hasProviders() = 0;
  virtual int receiverCount() = 0;  // receivers announced and not withdrawn

 protected:
  ~ServiceListHost() = default;
};

/// True when `a` goes before `b` in the channel list; channel_order::goesBefore says how.
bool logicalChannelNumberSorter(Service* a, Service* b);

/// True when `a` has the smaller content identifier (unsigned).
bool serviceComparation(Service* a, Service* b);

/// The active provider's services, and the channel list that the host shows of them: sorted, in the user's order,
/// without doubles. Called by host threads, the event thread and the recorder; the plugin owns it.
///
/// A reload works aside under the reload mutex and is swapped in under a leaf, so that nobody sees half a list and
/// `getServices` waits for nothing but a reload. `_servicesMutex` comes before the reload mutex.
class ServiceList {
 public:
  /// `channelList` is the list that the host's base holds.
  ServiceList(BroadcastPlugin& plugin, std::vector<Service*>& channelList, ServiceListHost& host);
  ServiceList(const ServiceList&) = delete;
  ServiceList& operator=(const ServiceList&) = delete;
  ~ServiceList();

  /// The channel list, reloaded first when it is not valid.
  std::vector<Service*> getServices();
  /// Fetches, sorts and orders the services; returns them without doubles.
  std::vector<Service*> getMwServices();
  /// Reloads the channel list, then tells the host with no lock of the list held.
  void updateServiceList();

  std::vector<Service*> orderServices(const std::vector<Service*>& services);
  void setServiceOrder(const std::vector<Service*>& services);  // takes effect with the next reload
  static std::vector<Service*> removeDuplicates(const std::vector<Service*>& services);

  bool serviceExists(unsigned id);
  /// The first service with this name and, unless it is 0, this original network; null when there is none.
  Service* getService(const std::string& name, unsigned network);

  /// Marks what cannot be received together with `selected` as not playable; an empty list makes all playable again.
  void setPlayableStatus(const std::vector<Service*>& selected);
  /// The services that cannot be received together with `selected`, by one source for each receiver.
  std::vector<Service*> getConflicting(const std::vector<Service*>& selected);

  bool isServiceDataValid() const { return _stale == 0; }
  void setServiceDataValid(bool valid);

  /// Empties both lists, then hands all services to `beforeDeletion`, so that everybody lets go of them, then deletes
  /// them. No lock is held meanwhile. The caller empties first what finds programmes.
  void deleteAll(const std::function<void(const std::vector<Service*>&)>& beforeDeletion);

  std::vector<Service*> channelList();                     // as the host has it, not reloaded
  std::vector<Service*> services();                        // doubles included
  RankedMutex& servicesMutex() { return _servicesMutex; }  // guards what walks the lists and their programmes

 private:
  void fetch(const durix_provider& provider) BC_REQUIRES(_reloadMutex);
  void add(const durix_esg_object& object) BC_REQUIRES(_reloadMutex);
  std::vector<Service*> arrange() BC_REQUIRES(_reloadMutex);
  void publish(const std::vector<Service*>& channelList) BC_EXCLUDES(_containers);

  // fixed after construction
  BroadcastPlugin& _plugin;
  ServiceListHost& _host;
  ServiceOrderFile _orderFile;

  RankedMutex _servicesMutex{LockRank::Services};
  RankedMutex _reloadMutex{LockRank::Reload};

  std::atomic<std::uint32_t> _stale = 0;  // 0: valid; else which invalidation it is
  std::atomic<std::uint32_t> _invalidations = 0;

  // guarded by the leaf; written under the reload mutex only
  RankedMutex _containers{LockRank::Leaf};
  std::vector<Service*> _services BC_GUARDED_BY(_containers);  // owned
  std::unordered_set<std::uint32_t> _ids BC_GUARDED_BY(_containers);
  std::vector<Service*>& _channelList BC_GUARDED_BY(_containers);
};

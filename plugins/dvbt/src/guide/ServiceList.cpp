#include "guide/ServiceList.h"

#include <algorithm>
#include <optional>
#include <unordered_set>
#include <utility>

#include "BroadcastProvider.h"
#include "ServiceImpl.h"
#include "guide/ChannelOrder.h"
#include "guide/EsgAttributes.h"
#include "support/Log.h"
#include "support/MwMemory.h"
#include "support/Text.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

using channel_order::Key;
using channel_order::Positions;

Key keyOf(Service* service) {
  // The host's number, which the fetch has filled, not the service's own, which would ask the middleware again for 0.
  return {service->getStreamType(), service->AvContent::getChannelNumber(), service->getName()};
}

std::vector<Key> keysOf(const std::vector<Service*>& services) {
  std::vector<Key> keys;
  keys.reserve(services.size());
  for (Service* const service : services) keys.push_back(keyOf(service));
  return keys;
}

/// The items at these positions, each of which occurs once.
template <typename Item>
std::vector<Item> pick(std::vector<Item>&& items, const Positions& positions) {
  std::vector<Item> picked;
  picked.reserve(positions.size());
  for (const std::size_t i : positions) picked.push_back(std::move(items[i]));
  return picked;
}

Positions inUserOrder(const std::string& orderText, const std::vector<Service*>& services) {
  std::vector<std::uint32_t> ids;
  ids.reserve(services.size());
  for (const Service* const service : services) ids.push_back(service->getId());
  return channel_order::byUser(channel_order::parseLines(orderText), ids,
                               [&](std::size_t i) { return services[i]->getOriginalNetwork(); });
}

Positions withoutDuplicates(const std::vector<Service*>& services, const std::vector<Key>& keys) {
  return channel_order::bestOfEachName(keys, [&](std::size_t i) { return services[i]->getQuality(); });
}

/// What a service is received from: services of one source share a receiver. Anything but a service of this plugin has
/// none.
std::optional<std::int32_t> sourceOf(Service* service) {
  const auto* const own = dynamic_cast<ServiceImpl*>(service);
  std::int32_t source = 0;
  if (own != nullptr && durix_attribute_get_int(own->getDataPtr(), DURIX_ATTRIBUTE_SOURCE_ID, &source) == 0) {
    return source;
  }
  BC_ERR(LOG, "Could not get service source");
  return std::nullopt;
}

}  // namespace

bool logicalChannelNumberSorter(Service* a, Service* b) {
  return channel_order::goesBefore(keyOf(a), keyOf(b));
}

bool serviceComparation(Service* a, Service* b) {
  return a->getId() < b->getId();
}

ServiceList::ServiceList(BroadcastPlugin& plugin, std::vector<Service*>& channelList, ServiceListHost& host)
    : _plugin(plugin), _host(host), _channelList(channelList) {}

ServiceList::~ServiceList() {
  deleteAll([](const std::vector<Service*>& /*services*/) {});
}

std::vector<Service*> ServiceList::getServices() {
  if (isServiceDataValid()) return channelList();
  const Lock lock(_reloadMutex);
  std::uint32_t stale = _stale;
  if (stale == 0) return channelList();  // another thread has reloaded meanwhile
  if (!_host.hasProviders()) {
    BC_ERR(LOG, "GetServices No providers ! getServices should not be called before notifyPlugin() !");
    return channelList();
  }
  std::vector<Service*> services = getMwServices();
  publish(services);
  _stale.compare_exchange_strong(stale, 0);  // invalidated again meanwhile: the next call reloads
  BC_INFO(LOG, "getServices() number of services = %u", static_cast<unsigned>(services.size()));
  return services;
}

void ServiceList::setServiceDataValid(bool valid) {
  _stale = valid ? 0 : ++_invalidations;
}

std::vector<Service*> ServiceList::getMwServices() {
  const Lock lock(_reloadMutex);
  BroadcastProvider* const provider = _host.activeInProviders();
  if (provider == nullptr) {
    BC_ERR(LOG, "Could not get durix provider!");
    return {};
  }
  fetch(*provider->getProviderData());
  return arrange();
}

void ServiceList::fetch(const durix_provider& provider) {
  BC_INFO(LOG, "getting services for the provider = %s", textOrEmpty(provider.name));
  ServiceArray objects;
  const durix_return_code code = durix_services_get(&provider, objects.items(), objects.count());
  if (code != 0) {
    BC_INFO(LOG, "durix_services_get Failed return_code = %u", code);
    return;
  }
  // "Successfull" is how the contract spells it.
  BC_INFO(LOG, "durix_services_get(num_found = %u) Successfull", *objects.count());
  for (const durix_esg_object& object : objects.view()) {
    if (!serviceExists(object.id)) add(object);
  }
}

void ServiceList::add(const durix_esg_object& object) {
  // One service for each type that the list knows, all with the object's identifier.
  for (const int type : getIntArrayAttribute(&object, DURIX_ATTRIBUTE_STREAM_TYPES)) {
    if (type != AvContent::STREAM_TV && type != AvContent::STREAM_RADIO) {
      BC_INFO(LOG, "durix_services_get() type = %u skipping", static_cast<unsigned>(type));
      continue;
    }
    auto service = std::make_unique<ServiceImpl>(object, &_plugin, &_host);
    service->getChannelNumber();  // these three are read once at first sight; number and name stay with the service
    service->isProtected();
    service->getName();
    const Lock lock(_containers);
    _ids.insert(object.id);
    _services.push_back(service.get());
    static_cast<void>(service.release());  // the list's from here on
  }
}

std::vector<Service*> ServiceList::arrange() {
  std::vector<Service*> all = services();
  std::vector<Key> keys = keysOf(all);
  const auto rearrange = [&](const Positions& order) {
    all = pick(std::move(all), order);
    keys = pick(std::move(keys), order);
  };
  rearrange(channel_order::byNumber(keys));
  rearrange(inUserOrder(_orderFile.read(), all));
  {
    const Lock lock(_containers);
    _services = all;
  }
  const Positions best = withoutDuplicates(all, keys);
  return pick(std::move(all), best);
}

std::vector<Service*> ServiceList::orderServices(const std::vector<Service*>& services) {
  return pick(std::vector<Service*>(services), inUserOrder(_orderFile.read(), services));
}

void ServiceList::setServiceOrder(const std::vector<Service*>& services) {
  _orderFile.write(services);
}

std::vector<Service*> ServiceList::removeDuplicates(const std::vector<Service*>& services) {
  return pick(std::vector<Service*>(services), withoutDuplicates(services, keysOf(services)));
}

void ServiceList::updateServiceList() {
  std::vector<Service*> services;
  {
    const Lock walkers(_servicesMutex);
    const Lock lock(_reloadMutex);
    services = getMwServices();
    publish(services);
  }
  // After the lock, so that a listener may call back; the list that it sees cannot change.
  _plugin.sendNotifyServiceUpdate(&_plugin, &services);
}

bool ServiceList::serviceExists(unsigned id) {
  const Lock lock(_containers);
  return _ids.contains(id);
}

Service* ServiceList::getService(const std::string& name, unsigned network) {
  for (Service* const service : getServices()) {
    if (service->getName() != name) continue;
    if (network == 0 || static_cast<unsigned>(service->getOriginalNetwork()) == network) return service;
  }
  return nullptr;
}

void ServiceList::setPlayableStatus(const std::vector<Service*>& selected) {
  {
    const Lock walkers(_servicesMutex);
    // What is not in conflict keeps its playability; only an empty selection gives all of it back.
    const bool playable = selected.empty();
    for (Service* const service : playable ? services() : getConflicting(selected)) service->setPlayable(playable);
  }
  updateServiceList();
}

std::vector<Service*> ServiceList::getConflicting(const std::vector<Service*>& selected) {
  const Lock walkers(_servicesMutex);
  std::vector<Service*> conflicts;
  std::unordered_set<std::int32_t> used;
  int slots = std::max(_host.receiverCount(), 1);
  for (Service* const service : selected) {
    const std::optional<std::int32_t> source = sourceOf(service);
    if (!source) return {};
    if (slots >= 1 && used.insert(*source).second) --slots;
  }
  if (slots < 1) {  // else a receiver is left, as it is with nothing selected
    for (Service* const service : services()) {
      const std::optional<std::int32_t> source = sourceOf(service);
      if (source && !used.contains(*source)) conflicts.push_back(service);
    }
  }
  BC_INFO(LOG, "getConflicting(): %d conflicts found", static_cast<int>(conflicts.size()));
  return conflicts;
}

void ServiceList::deleteAll(const std::function<void(const std::vector<Service*>&)>& beforeDeletion) {
  std::vector<Service*> doomed;
  {
    const Lock walkers(_servicesMutex);
    const Lock reload(_reloadMutex);
    const Lock lock(_containers);
    _channelList.clear();
    doomed.swap(_services);
    _ids.clear();
  }
  beforeDeletion(doomed);
  for (const Service* const service : doomed) delete service;
}

std::vector<Service*> ServiceList::channelList() {
  const Lock lock(_containers);
  return _channelList;
}

std::vector<Service*> ServiceList::services() {
  const Lock lock(_containers);
  return _services;
}

void ServiceList::publish(const std::vector<Service*>& channelList) {
  const Lock lock(_containers);
  _channelList = channelList;
}

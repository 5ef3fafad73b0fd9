#include "tuning/ProviderRegistry.h"

#include <algorithm>

#include "support/Log.h"
#include "support/MwMemory.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

}  // namespace

bool ProviderRegistry::fetchProviders() {
  MwArray<durix_provider> records;
  if (durix_providers_get(_host.durixHandle(), records.items(), records.count()) != DURIX_OK) {
    BC_ERR(LOG, "durix_providers_get Failed");
    return false;
  }
  if (records.size() == 0) {
    BC_INFO(LOG, "durix_providers_get(num_durix_providers = %u) Failed", 0U);
    return false;
  }
  BC_INFO(LOG, "durix_providers_get(num_durix_providers = %u) Successfull", records.size());
  std::vector<std::unique_ptr<BroadcastProvider>> made;
  std::vector<BroadcastProvider*> fetched;
  for (const durix_provider& record : records) {
    made.push_back(std::make_unique<BroadcastProvider>(record));
    fetched.push_back(made.back().get());
  }
  const Lock lock(_containers);
  _providers.swap(fetched);
  std::move(made.begin(), made.end(), std::back_inserter(_everMade));
  return true;
}

bool ProviderRegistry::init_provider() {
  if (!fetchProviders()) return false;
  const std::vector<BroadcastProvider*> fetched = providers();
  if (BroadcastProvider* const candidate = _matchedProvider; candidate != nullptr) {
    // The old object is mounted, not the one just fetched: their identity is the same.
    for (const BroadcastProvider* provider : fetched) {
      if (provider->isSameAs(*candidate) && candidate->mount()) return true;
    }
  }
  const BroadcastProtocolType protocol = _host.receiverProtocolType();
  if (protocol == BROADCAST_PROTOCOL_NONE || fetched.empty()) return false;
  const ReceiverType receiver = _host.receiverType();
  for (BroadcastProvider* provider : fetched) {
    if (!provider->matchDurixProvider(protocol, receiver)) continue;
    _matchedProvider = provider;
    if (provider->mount()) return true;
  }
  return false;
}

bool ProviderRegistry::providerMount(BroadcastProvider* provider) {
  return provider->mount();
}

bool ProviderRegistry::providerUnmount(BroadcastProvider* provider) {
  return provider->unmount();
}

bool ProviderRegistry::providerActivate(BroadcastProvider* provider) {
  if (!provider->activate()) return false;
  _host.setUpdaterEnabled(true);
  _activeProvider = provider;
  return true;
}

bool ProviderRegistry::providerDeactivate(BroadcastProvider* provider) {
  if (!provider->deactivate()) return false;
  _activeProvider = nullptr;
  return true;
}

BroadcastProvider* ProviderRegistry::firstMatching(BroadcastProtocolType protocol, ReceiverType type) {
  for (BroadcastProvider* provider : providers()) {
    if (!provider->matchDurixProvider(protocol, type)) continue;
    _matchedProvider = provider;
    return provider;
  }
  return nullptr;
}

std::vector<BroadcastProvider*> ProviderRegistry::providers() const {
  const Lock lock(_containers);
  return _providers;
}

BroadcastProvider* ProviderRegistry::listed(const BroadcastProvider* provider) const {
  if (provider == nullptr) return nullptr;
  const Lock lock(_containers);
  const auto found = std::find_if(_providers.begin(), _providers.end(),
                                  [&](const BroadcastProvider* p) { return p->isSameAs(*provider); });
  return found == _providers.end() ? nullptr : *found;
}

void ProviderRegistry::forgetChoices() {
  _matchedProvider = nullptr;
  _activeProvider = nullptr;
}

bool ProviderRegistry::isActiveProvider(const BroadcastProvider* provider) const {
  const BroadcastProvider* const current = active();
  return provider != nullptr && current != nullptr && provider->isSameAs(*current);
}

BroadcastProvider* ProviderRegistry::activeInProviders() const {
  BroadcastProvider* const current = active();
  return listed(current) == nullptr ? nullptr : current;
}

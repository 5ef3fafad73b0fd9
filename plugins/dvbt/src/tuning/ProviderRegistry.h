#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "BroadcastProvider.h"
#include "durix/durix.h"
#include "support/Lock.h"
#include "velmora/Types.h"

/// What the registry asks of the plugin.
class ProviderHost {
 public:
  virtual durix_handle* durixHandle() = 0;
  // of the receiver announced last
  virtual BroadcastProtocolType receiverProtocolType() = 0;
  virtual ReceiverType receiverType() = 0;
  virtual void setUpdaterEnabled(bool enabled) = 0;  // the guide updater

 protected:
  ~ProviderHost() = default;
};

/// The middleware's providers, and which of them is active (mounted and activated: its services are the channel list)
/// or matched (the candidate). Called by host threads and the event thread. A provider object lives as long as the
/// registry, since the recorder and the two choices keep pointing at objects of earlier fetches.
class ProviderRegistry {
 public:
  explicit ProviderRegistry(ProviderHost& host) : _host(host) {}

  /// Reads the provider list anew; false when there is none, and then the old list stays.
  bool fetchProviders();

  /// After a scan: fetches, then chooses and mounts a provider as the matched one; false when none could be mounted.
  bool init_provider();

  bool providerMount(BroadcastProvider* provider);
  bool providerUnmount(BroadcastProvider* provider);
  bool providerActivate(BroadcastProvider* provider);    // on success it is the active one and the updater is enabled
  bool providerDeactivate(BroadcastProvider* provider);  // on success there is no active one

  /// The first provider that matches becomes the matched one; null when none does, and then the old one stays.
  BroadcastProvider* firstMatching(BroadcastProtocolType protocol, ReceiverType type);

  /// The list of this moment, in the middleware's order.
  std::vector<BroadcastProvider*> providers() const;
  /// The provider of the list that is the same as `provider` (which may be null); null when there is none.
  BroadcastProvider* listed(const BroadcastProvider* provider) const;

  BroadcastProvider* active() const { return _activeProvider; }
  BroadcastProvider* matched() const { return _matchedProvider; }
  void setActive(BroadcastProvider* provider) { _activeProvider = provider; }
  void setMatched(BroadcastProvider* provider) { _matchedProvider = provider; }
  void forgetChoices();

  bool isActiveProvider(const BroadcastProvider* provider) const;
  /// The active provider while the list has it, else null.
  BroadcastProvider* activeInProviders() const;

 private:
  // fixed after construction
  ProviderHost& _host;  // outlives this

  std::atomic<BroadcastProvider*> _activeProvider = nullptr;
  std::atomic<BroadcastProvider*> _matchedProvider = nullptr;

  // guarded by _containers, a leaf
  mutable RankedMutex _containers{LockRank::Leaf};
  std::vector<BroadcastProvider*> _providers BC_GUARDED_BY(_containers);
  std::vector<std::unique_ptr<BroadcastProvider>> _everMade BC_GUARDED_BY(_containers);
};

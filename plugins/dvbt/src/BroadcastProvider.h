#pragma once

#include "durix/durix.h"
#include "velmora/Types.h"

/// One provider of the middleware: the tuned network of one protocol on one kind of receiver. Two objects stand for the
/// same provider when their identities are equal. Owned by the provider registry; unchanged after construction.
class BroadcastProvider {
 public:
  explicit BroadcastProvider(const durix_provider& record);
  virtual ~BroadcastProvider();

  /// The record, for middleware calls.
  durix_provider* getProviderData() { return &_record; }

  bool isSameAs(const BroadcastProvider& other) const { return _record.identity == other._record.identity; }

  // Each forwards to the middleware, logs how it went, and is true on success.
  bool mount();
  bool unmount();
  bool activate();
  bool deactivate();
  /// The arguments are the plugin's own type values, passed as they are.
  bool matchDurixProvider(unsigned protocol, unsigned receiverType);

  BroadcastProtocolType getProviderProtocol() const;
  ReceiverType getProviderSubtype() const;

  // The numbers of host and middleware are the same; one that they do not know becomes 0.
  static BroadcastProtocolType getProtocolType(durix_provider_protocol protocol);
  static ReceiverType getReceiverType(durix_device_receiver_type type);
  static durix_provider_protocol getDurixProtocolType(BroadcastProtocolType protocol);
  static durix_device_receiver_type getDurixReceiverType(ReceiverType type);

 private:
  durix_provider _record;
};

#include "BroadcastProvider.h"

#include "support/Log.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastProvider"};

// Both sides number their types alike, from 0 without gaps.
std::uint32_t known(std::uint32_t value, std::uint32_t last) {
  return value <= last ? value : 0;
}

}  // namespace

BroadcastProvider::BroadcastProvider(const durix_provider& record) : _record(record) {}

BroadcastProvider::~BroadcastProvider() = default;

// "Successfull" is how the contract spells it, here and below.
bool BroadcastProvider::mount() {
  const bool mounted = durix_provider_mount(&_record) == DURIX_OK;
  if (mounted) {
    BC_INFO(LOG, "mount Successfull");
  } else {
    BC_INFO(LOG, "mount Failed");
  }
  return mounted;
}

bool BroadcastProvider::unmount() {
  const bool unmounted = durix_provider_unmount(&_record) == DURIX_OK;
  if (unmounted) {
    BC_INFO(LOG, "unmount Successfull");
  } else {
    BC_INFO(LOG, "unmount Failed");
  }
  return unmounted;
}

bool BroadcastProvider::activate() {
  const bool activated = durix_provider_activate(&_record) == DURIX_OK;
  if (activated) {
    BC_INFO(LOG, "activate Successfull");
  } else {
    BC_INFO(LOG, "activate Failed");
  }
  return activated;
}

bool BroadcastProvider::deactivate() {
  const bool deactivated = durix_provider_deactivate(&_record) == DURIX_OK;
  if (deactivated) {
    BC_INFO(LOG, "deactivate Successfull");
  } else {
    BC_INFO(LOG, "deactivate Failed");
  }
  return deactivated;
}

bool BroadcastProvider::matchDurixProvider(unsigned protocol, unsigned receiverType) {
  const bool matches = durix_provider_match(&_record, protocol, receiverType) == DURIX_OK;
  if (matches) {
    BC_INFO(LOG, "Provider match found");
  } else {
    BC_INFO(LOG, "No provider match found");
  }
  return matches;
}

BroadcastProtocolType BroadcastProvider::getProviderProtocol() const {
  return getProtocolType(_record.protocol);
}

ReceiverType BroadcastProvider::getProviderSubtype() const {
  return getReceiverType(_record.receiver_type);
}

BroadcastProtocolType BroadcastProvider::getProtocolType(durix_provider_protocol protocol) {
  return static_cast<BroadcastProtocolType>(known(protocol, BROADCAST_PROTOCOL_LAST));
}

ReceiverType BroadcastProvider::getReceiverType(durix_device_receiver_type type) {
  return static_cast<ReceiverType>(known(type, RECEIVER_ISDB_T));
}

durix_provider_protocol BroadcastProvider::getDurixProtocolType(BroadcastProtocolType protocol) {
  return known(protocol, BROADCAST_PROTOCOL_LAST);
}

durix_device_receiver_type BroadcastProvider::getDurixReceiverType(ReceiverType type) {
  return known(type, RECEIVER_ISDB_T);
}

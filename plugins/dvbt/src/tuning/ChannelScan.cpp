#include "tuning/ChannelScan.h"

#include <utility>

#include "support/Border.h"
#include "support/Log.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

const std::string RECEIVER_READY = "RECEIVER_READY";

// The middleware may keep looking at it after the call.
const durix_scan_configuration NOTHING_TO_SCAN{0, nullptr};

// The user has asked for a scan. Of the process, not of a plugin: it stays true when the plugin is closed and made
// anew.
std::atomic<bool> isOrderedByUI = false;

/// Raises a flag for a scope; a start inside a start leaves it up.
class Starting {
 public:
  explicit Starting(bool& flag) : _flag(flag), _before(std::exchange(flag, true)) {}
  Starting(const Starting&) = delete;
  Starting& operator=(const Starting&) = delete;
  ~Starting() { _flag = _before; }

 private:
  bool& _flag;
  const bool _before;
};

}  // namespace

bool ChannelScan::requestDiscover(const std::string& location, bool flag) {
  const BroadcastProtocolType protocol = _host.receiverProtocolType();
  const ReceiverType receiver = _host.receiverType();
  if (_providers.providers().empty()) return requestSpecificDiscover(location, protocol, receiver, flag);
  for (BroadcastProvider* provider : {_providers.active(), _providers.matched()}) {
    if (_providers.listed(provider) == nullptr) continue;
    return requestSpecificDiscover(location, provider->getProviderProtocol(), provider->getProviderSubtype(), flag);
  }
  if (protocol == BROADCAST_PROTOCOL_NONE) return false;
  return requestSpecificDiscover(location, protocol, receiver, flag);
}

bool ChannelScan::requestSpecificDiscover(std::string location, BroadcastProtocolType protocol, ReceiverType receiver,
                                          bool flag) {
  if (location.empty()) location = _host.locationOptionValue();
  if (location == RECEIVER_READY) {
    BC_INFO(LOG, "requestSpecificDiscover VM, location = %s", location.c_str());
    _receiverReady = true;
  } else {
    isOrderedByUI = true;
    BC_INFO(LOG, "requestSpecificDiscover UI, trying location = %s", location.c_str());
    _currentScanConfiguration = nullptr;
    chooseLocation(location, receiver);
  }
  BCLocation* const chosen = _currentScanConfiguration;
  if (!_receiverReady || !isOrderedByUI || chosen == nullptr) return false;
  if (!_locations.loadScanConfigurationFromXml(chosen)) return false;
  return _host.discover(chosen->scanConfiguration, protocol, receiver, flag);
}

bool ChannelScan::discover(const std::string& location, BroadcastProtocolType protocol, ReceiverType receiver,
                           bool flag) {
  BC_WARN(LOG, "discover:: THIS SHOULD NOT BE CALLED, INSTEAD USE requestDiscover = %s", location.c_str());
  const Lock lock(_discoverMutex);
  if (_host.getState() == PLUGIN_DISCOVERING) {
    BC_INFO(LOG, "State()==PLUGIN_DISCOVERING");
    return true;
  }
  if (BCLocation* const current = _currentScanConfiguration; current != nullptr) {
    BC_INFO(LOG, "_currentScanConfiguration != NULL");
    if (!_locations.loadScanConfigurationFromXml(current)) return false;
    return _host.discover(current->scanConfiguration, protocol, receiver, flag);
  }
  BC_WARN(LOG, "_currentScanConfiguration == NULL");
  return _host.discover(&NOTHING_TO_SCAN, protocol, receiver, flag);
}

bool ChannelScan::discover(const durix_scan_configuration* configuration, BroadcastProtocolType protocol,
                           ReceiverType receiver, bool flag) {
  BC_WARN(LOG, "discover::");
  _host.deactivateRecorder();
  _host.setUpdaterEnabled(false);
  _host.joinUpdater();
  _host.clearNotificationTimer();
  _host.dropUpdateNotices();
  _host.clearNotifier();
  // Only an active plugin gives its providers up; a pending scan leaves them mounted.
  if (_host.getState() == PLUGIN_ACTIVE) deactivateProviders();
  const bool isStarted = start(configuration, protocol, receiver, flag);
  doDeferred();
  return isStarted;
}

bool ChannelScan::start(const durix_scan_configuration* configuration, BroadcastProtocolType protocol,
                        ReceiverType receiver, bool flag) {
  const Lock lock(_scanStart);
  const Starting starting(_isStarting);
  if (durix_discover_start(_host.durixHandle(), BroadcastProvider::getDurixProtocolType(protocol),
                           BroadcastProvider::getDurixReceiverType(receiver), configuration, flag) != DURIX_OK) {
    // Nothing is undone: the updater stays disabled until the next activation.
    BC_INFO(LOG, "discover() start failed");
    return false;
  }
  _providers.forgetChoices();
  BC_INFO(LOG, "discover() started succesfull");  // as the contract spells it
  _host.setState(PLUGIN_DISCOVERING);
  _host.stopRecommendations();
  _host.deleteAll();
  _host.removeReminders();
  return true;
}

bool ChannelScan::discover_cancel() {
  _host.setUpdaterEnabled(true);
  const bool cancelled = durix_discover_cancel(_host.durixHandle()) == DURIX_OK;
  if (cancelled) {
    BC_INFO(LOG, "discover_cancel() succefull");  // as the contract spells it
  } else {
    BC_INFO(LOG, "discover() failed");
  }
  return cancelled;
}

bool ChannelScan::deferWhileStarting(std::function<void()> work) {
  const Lock lock(_scanStart);
  if (!_isStarting) return false;
  _deferred.push_back(std::move(work));
  return true;
}

void ChannelScan::doDeferred() {
  std::vector<std::function<void()>> deferred;
  {
    const Lock lock(_scanStart);
    if (!_isStarting) deferred.swap(_deferred);
  }
  for (const auto& work : deferred) atBorder(LOG, "middleware event", work);
}

void ChannelScan::chooseLocation(const std::string& name, ReceiverType receiver) {
  BCLocation* location = _locations.findNamed(name, receiver);
  if (location == nullptr) location = _locations.findSuitable(receiver);
  if (location == nullptr) return;
  _currentScanConfiguration = location;
  BC_INFO(LOG, "requestDiscover:: scan conf set location = %s", location->name.c_str());
}

void ChannelScan::deactivateProviders() {
  for (BroadcastProvider* provider : _providers.providers()) {
    if (!_providers.providerDeactivate(provider)) {
      BC_ERR(LOG, "providerDeactivate failed");
      _host.setState(PLUGIN_ERROR);
    }
    if (!_providers.providerUnmount(provider)) {
      BC_ERR(LOG, "providerUnmount failed");
      _host.setState(PLUGIN_ERROR);
    }
  }
}

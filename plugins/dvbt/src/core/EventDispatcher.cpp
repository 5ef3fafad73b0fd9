#include "core/EventDispatcher.h"

#include "BroadcastPlayer.h"
#include "BroadcastProvider.h"
#include "ServiceImpl.h"
#include "core/OptionKeys.h"
#include "core/PropertyBridge.h"
#include "guide/GuideUpdater.h"
#include "guide/ServiceList.h"
#include "settings/SettingsOptions.h"
#include "support/Border.h"
#include "support/Log.h"
#include "support/MwMemory.h"
#include "tuning/ChannelScan.h"
#include "tuning/LocationCatalogue.h"
#include "tuning/ProviderRegistry.h"
#include "velmora/Velmora.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

const std::string RECEIVER_READY = "RECEIVER_READY";
constexpr std::uint32_t PROPERTY_SETTLING_TIME = 250;  // in the portability layer's unit
constexpr std::size_t RECEIVER_ON_SIZE = DURIX_OFFSET_RECEIVER_ON_TYPE + sizeof(std::uint32_t);  // bytes that are read

std::size_t discoverSize(const EventRecord& event) {
  return DURIX_OFFSET_DISCOVER_SERVICE_NAMES +
         std::size_t{event.word(DURIX_OFFSET_DISCOVER_SERVICE_COUNT)} * DURIX_DISCOVER_NAME_SIZE;
}

std::vector<std::string> serviceNames(const EventRecord& event, std::uint32_t count) {
  std::vector<std::string> names;
  for (std::uint32_t i = 0; i < count; ++i) {
    names.push_back(event.text(DURIX_OFFSET_DISCOVER_SERVICE_NAMES + std::size_t{i} * DURIX_DISCOVER_NAME_SIZE,
                               DURIX_DISCOVER_NAME_SIZE));
    BC_INFO(LOG, "service_names[%u] = %s", i, names.back().c_str());
  }
  return names;
}

bool isOn(Option* option) {
  return option != nullptr && option->getBooleanValue();
}

std::string boolText(Option* option) {
  return option == nullptr ? "false" : Option::boolToString(option);
}

}  // namespace

void EventDispatcher::handle(const durix_event_data* data) {
  const EventRecord event(data);
  switch (event.id()) {
    case DURIX_EVENT_RECEIVER_ON:
      return afterScanStart(event, RECEIVER_ON_SIZE, &EventDispatcher::receiverOn);
    case DURIX_EVENT_RECEIVER_OFF:
      return receiverOff();
    case DURIX_EVENT_RECEIVER_STATISTICS:
      return receiverStatistics(event);
    case DURIX_EVENT_RECEIVER_LOCK:
      return BC_INFO(LOG, "DURIX_EVENT_RECEIVER_LOCK");
    case DURIX_EVENT_RECEIVER_LOCK_LOST:
      return BC_INFO(LOG, "DURIX_EVENT_RECEIVER_LOCK_LOST");
    case DURIX_EVENT_DISCOVER_PROGRESS:
      return discoverProgress(event);
    case DURIX_EVENT_DISCOVER_FINISHED:
      return afterScanStart(event, discoverSize(event), &EventDispatcher::discoverFinished);
    case DURIX_EVENT_SERVICES_CHANGED:
      return servicesChanged();
    case DURIX_EVENT_PROVIDERS_CHANGED:
      return BC_INFO(LOG, "DURIX_EVENT_PROVIDERS_CHANGED");
    case DURIX_EVENT_SERVICE_SELECTED:
      return BC_INFO(LOG, "DURIX_EVENT_SERVICE_SELECTED");
    case DURIX_EVENT_STREAM_TIME_AVAILABLE:
      return BC_INFO(LOG, "DURIX_EVENT_STREAM_TIME_AVAILABLE");
    case DURIX_EVENT_CURRENT_PROGRAM:
      return BC_INFO(LOG, "DURIX_EVENT_CURRENT_PROGRAM");
    case DURIX_EVENT_INTERACTIVITY_RECEIVED:
      return BC_INFO(LOG, "DURIX_EVENT_INTERACTIVITY_RECEIVED");
    case DURIX_EVENT_INTERACTIVITY_EXPIRED:
      return BC_INFO(LOG, "DURIX_EVENT_INTERACTIVITY_EXPIRED");
    case DURIX_EVENT_PROGRAM_EVENTS_CHANGED:
      return programEventsChanged();
    case DURIX_PLAYER_EVENT_STARTED:
      return playerEvent("DURIX_PLAYER_EVENT_STARTED", event.pointer<durix_player>(DURIX_OFFSET_PLAYER_HANDLE), true,
                         false);
    case DURIX_PLAYER_EVENT_CLOSED:
      return playerEvent("DURIX_PLAYER_EVENT_CLOSED", event.pointer<durix_player>(DURIX_OFFSET_PLAYER_HANDLE), false,
                         false);
    case DURIX_PLAYER_EVENT_FAILED:
      return playerEvent("DURIX_PLAYER_EVENT_FAILED", event.pointer<durix_player>(DURIX_OFFSET_PLAYER_HANDLE), false,
                         true);
    case DURIX_PLAYER_EVENT_END_OF_MEDIA:
      return playerEvent("DURIX_PLAYER_EVENT_END_OF_MEDIA",
                         event.pointer<durix_player>(DURIX_OFFSET_PLAYER_END_OF_MEDIA_HANDLE), false, false);
    default:  // 8, 19, 22, 23, 24 and 25 are registered and not acted on
      return;
  }
}

/// These events change what the last steps of a scan start change. They wait for a start on another thread; one that
/// the middleware sends from inside the very call that starts the scan is handled, from a copy, when the start is done.
void EventDispatcher::afterScanStart(const EventRecord& event, std::size_t size, Handler handler) {
  const bool isDeferred = _parts.scan.deferWhileStarting([this, handler, bytes = event.copy(size)] {
    (this->*handler)(EventRecord(reinterpret_cast<const durix_event_data*>(bytes.data())));
  });
  if (!isDeferred) (this->*handler)(event);
}

void EventDispatcher::forgetReceiver() {
  _receiverProtocolType = BROADCAST_PROTOCOL_NONE;
  _receiverType = RECEIVER_NONE;
}

void EventDispatcher::receiverOn(const EventRecord& event) {
  ++_receiverCount;
  _parts.scan.setReceiverReady();
  _receiverProtocolType = BroadcastProvider::getProtocolType(event.word(DURIX_OFFSET_RECEIVER_ON_PROTOCOL));
  _receiverType = BroadcastProvider::getReceiverType(event.word(DURIX_OFFSET_RECEIVER_ON_TYPE));
  BC_INFO(LOG, "DURIX_EVENT_RECEIVER_ON");
  offerLocations();

  if (!_parts.providers.fetchProviders()) {
    BC_INFO(LOG, "MW database has no providers, triggering discover");
    _host.plugin().setState(PLUGIN_DISCOVER_PENDING);
    _host.plugin().requestDiscover(RECEIVER_READY, true);
    return;
  }
  // With none that fits, the matched provider stays what it was.
  BroadcastProvider* const provider = _parts.providers.firstMatching(_receiverProtocolType, _receiverType);
  if (provider == nullptr) return requestScan(_receiverProtocolType, _receiverType);
  // After a receiver went off and on again the plugin stays inactive here: the contract goes no further.
  if (_parts.providers.isActiveProvider(provider)) return;

  BC_INFO(LOG, "Found provider from MW database, now checking if provider has services");
  if (!provider->mount()) {
    BC_ERR(LOG, "providerMount failed");
    _host.plugin().setState(PLUGIN_ERROR);
  }
  std::uint32_t count = 0;
  if (hasServices(*provider, &count) || hasHiddenServices(*provider, &count)) {
    BC_INFO(LOG, "Found %u services, activating provider", count);
    return useProvider(provider);
  }
  BC_INFO(LOG, "No services, unmounting provider");
  if (!provider->unmount()) {
    BC_ERR(LOG, "providerUnmount failed");
    _host.plugin().setState(PLUGIN_ERROR);
  }
  BC_INFO(LOG, "No services, starting discovery");
  requestScan(provider->getProviderProtocol(), provider->getProviderSubtype());
}

/// Offers the places that fit the receiver.
void EventDispatcher::offerLocations() {
  if (_parts.locations.empty()) return;
  const std::vector<std::string> names = _parts.locations.filterForReceiver(_receiverType);
  if (Option* const option = _parts.settings.locationOption()) option->setPossibleStringValuesList(names);
}

bool EventDispatcher::hasServices(BroadcastProvider& provider, std::uint32_t* count) {
  ServiceArray services;
  if (durix_services_get(provider.getProviderData(), services.items(), services.count()) != DURIX_OK) return false;
  *count = services.size();
  return *count > 0;
}

/// Asks again with nothing hidden, in case the user's settings hide all there is.
bool EventDispatcher::hasHiddenServices(BroadcastProvider& provider, std::uint32_t* count) {
  Option* const hideRadio = _parts.settings.hideRadioOption();
  Option* const hideProtected = _parts.settings.hideProtectedOption();
  if (!isOn(hideRadio) && !isOn(hideProtected)) return false;
  _parts.properties.setDurixProperty(OPTION_ID_HIDE_PROTECTED, "false");
  _parts.properties.setDurixProperty(OPTION_ID_HIDE_RADIO, "false");
  ostiv_time_sleep(PROPERTY_SETTLING_TIME);
  const bool found = hasServices(provider, count);
  _parts.properties.setDurixProperty(OPTION_ID_HIDE_PROTECTED, boolText(hideProtected));
  _parts.properties.setDurixProperty(OPTION_ID_HIDE_RADIO, boolText(hideRadio));
  ostiv_time_sleep(PROPERTY_SETTLING_TIME);
  return found;
}

void EventDispatcher::requestScan(BroadcastProtocolType protocol, ReceiverType receiver) {
  _host.plugin().setState(PLUGIN_DISCOVER_PENDING);
  _parts.scan.requestSpecificDiscover(RECEIVER_READY, protocol, receiver, true);
}

void EventDispatcher::useProvider(BroadcastProvider* provider) {
  if (!_parts.providers.providerActivate(provider)) {
    BC_ERR(LOG, "providerActivate failed");
    _host.plugin().setState(PLUGIN_ERROR);
    return;
  }
  _parts.services.setServiceDataValid(false);
  _host.plugin().getServices();  // loads the channel list
  _host.initializeRecorder();
  _host.plugin().setState(PLUGIN_ACTIVE);
  _parts.guide.updateProgramList();
  Velmora::getInstance()->updateReminders(&_host.plugin());
  _host.startRecommendations();
}

void EventDispatcher::receiverOff() {
  BC_INFO(LOG, "DURIX_EVENT_RECEIVER_OFF");
  int count = _receiverCount;
  while (count > 0 && !_receiverCount.compare_exchange_weak(count, count - 1)) {
  }
  _host.plugin().setState(PLUGIN_INACTIVE);  // whatever the remaining count
}

void EventDispatcher::receiverStatistics(const EventRecord& event) {
  const std::uint32_t frequency = event.word(DURIX_OFFSET_STATISTICS_FREQUENCY);
  const std::uint32_t bandwidth = event.word(DURIX_OFFSET_STATISTICS_BANDWIDTH);
  const std::uint32_t locked = event.word(DURIX_OFFSET_STATISTICS_SIGNAL_LOCKED);
  const std::uint8_t quality = event.byte(DURIX_OFFSET_STATISTICS_SIGNAL_QUALITY);
  const std::uint8_t reported = event.byte(DURIX_OFFSET_STATISTICS_BATTERY_LEVEL);
  const auto text = [&](std::size_t offset) { return event.text(offset, DURIX_STATISTICS_TEXT_SIZE); };
  BC_INFO(LOG,
          "DURIX_EVENT_RECEIVER_STATISTICS ptr = %p frequency = %u, bandwidth = %u, signal_available = %u, "
          "signal_locked = %u, signal_quality = %u, signal_strength = %u, snr = %s, ber = %s, per = %s, mfer = %s, "
          "battery_level = %u",
          event.address(), frequency, bandwidth, event.word(DURIX_OFFSET_STATISTICS_SIGNAL_AVAILABLE), locked, quality,
          event.byte(DURIX_OFFSET_STATISTICS_SIGNAL_STRENGTH), text(DURIX_OFFSET_STATISTICS_SNR).c_str(),
          text(DURIX_OFFSET_STATISTICS_BER).c_str(), text(DURIX_OFFSET_STATISTICS_PER).c_str(),
          text(DURIX_OFFSET_STATISTICS_MFER).c_str(), reported);
  const std::uint8_t battery = reported != 0 ? reported : BatteryLevel().getLevel();
  _host.plugin().sendNotifyStatistics(&_host.plugin(), frequency, bandwidth, locked != 0, quality, battery);
}

void EventDispatcher::discoverProgress(const EventRecord& event) {
  const std::uint32_t progress = event.word(DURIX_OFFSET_DISCOVER_PROGRESS);
  const std::uint32_t frequency = event.word(DURIX_OFFSET_DISCOVER_FREQUENCY);
  const std::uint32_t count = event.word(DURIX_OFFSET_DISCOVER_SERVICE_COUNT);
  BC_INFO(LOG, "DURIX_EVENT_DISCOVER_PROGRESS progress = %u, frequency = %u, valid = %u, service_count = %u", progress,
          frequency, event.word(DURIX_OFFSET_DISCOVER_VALID), count);
  _host.plugin().sendNotifyDiscover(&_host.plugin(), false, true, progress, frequency, count,
                                    serviceNames(event, count));
}

void EventDispatcher::discoverFinished(const EventRecord& event) {
  BC_INFO(LOG, "DURIX_EVENT_DISCOVER_FINISHED");
  const std::uint32_t count = event.word(DURIX_OFFSET_DISCOVER_SERVICE_COUNT);
  const std::vector<std::string> names = serviceNames(event, count);
  if (!_parts.providers.init_provider()) {
    BC_ERR(LOG, "init_provider failed");
    return reportScanFailed(count, names);
  }
  // A scan that the host starts meanwhile takes the matched one away.
  BroadcastProvider* const provider = _parts.providers.matched();
  if (provider == nullptr || !_parts.providers.providerActivate(provider)) {
    BC_ERR(LOG, "providerActivate failed");
    return reportScanFailed(count, names);
  }
  BroadcastPlugin& plugin = _host.plugin();
  _parts.services.setServiceDataValid(false);
  plugin.getServices();  // loads the channel list
  plugin.sendNotifyDiscover(&plugin, true, true, 100, 0, count, names);
  // The updater arms programme notices only in an active plugin, so its thread starts after the state is set.
  _host.initializeRecorder();
  plugin.setState(PLUGIN_ACTIVE);
  _parts.guide.updateProgramList();
  announceServices();
  Velmora::getInstance()->updateReminders(&plugin);
  if (_host.startRecommendations()) _host.clearRecommendations();
}

void EventDispatcher::reportScanFailed(std::uint32_t serviceCount, const std::vector<std::string>& names) {
  _host.plugin().sendNotifyDiscover(&_host.plugin(), true, false, 100, 0, serviceCount, names);
  _host.plugin().setState(PLUGIN_ERROR);
}

/// Queues a notice for each service; most have no programmes yet, and an empty notice is one too. Meanwhile nobody
/// deletes a service.
void EventDispatcher::announceServices() {
  const Lock walkers(_parts.services.servicesMutex());
  for (Service* const service : _host.plugin().getServices()) {
    std::vector<Program*> programs = service->getPrograms(false);
    _host.notifyProgramUpdate(service, &programs);
  }
}

void EventDispatcher::servicesChanged() {
  if (_host.plugin().getState() == PLUGIN_DISCOVERING) return;
  BC_INFO(LOG, "DURIX_EVENT_SERVICES_CHANGED");
  _parts.services.updateServiceList();
}

void EventDispatcher::programEventsChanged() {
  if (_host.plugin().getState() != PLUGIN_ACTIVE) {
    BC_WARN(LOG, "RECEIVED DURIX_EVENT_PROGRAM_EVENTS_CHANGED BUT PLUGIN IS NOT ACTIVE, IGNORING");
    return;
  }
  BC_INFO(LOG, "DURIX_EVENT_PROGRAM_EVENTS_CHANGED");
  _parts.guide.updateProgramList();
}

void EventDispatcher::playerEvent(const char* name, durix_player* player, bool isStarted, bool hasError) {
  BC_INFO(LOG, "%s", name);
  atBorder(LOG, name, [&] { _host.notifyPlayer(isStarted, hasError); });  // the player hears of it whatever that throws
  BroadcastPlayer::sendNotifyPlayer(player, &_host.plugin(), isStarted, hasError);
}

#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "durix/durix_player.h"
#include "support/EventRecord.h"
#include "velmora/BroadcastPlugin.h"

class BroadcastProvider;
class ChannelScan;
class GuideUpdater;
class LocationCatalogue;
class PropertyBridge;
class ProviderRegistry;
class ServiceList;
class SettingsOptions;

/// What the dispatcher asks of the plugin.
class EventHost {
 public:
  virtual BroadcastPlugin& plugin() = 0;
  virtual void initializeRecorder() = 0;
  virtual bool startRecommendations() = 0;  // false when there is no such service
  virtual void clearRecommendations() = 0;  // an empty update
  virtual void notifyPlayer(bool isStarted, bool hasError) = 0;
  virtual void notifyProgramUpdate(Service* service, std::vector<Program*>* programs) = 0;

 protected:
  ~EventHost() = default;
};

/// Turns each middleware event into the plugin's next state.
///
///   any          --receiver on, no provider / none fits / no services--> DISCOVER_PENDING, and a scan is requested
///   any          --receiver on, provider activated------------------> ACTIVE
///   any          --receiver on, activation failed-------------------> ERROR
///   any          --receiver off--------------------------------------> INACTIVE
///   DISCOVERING  --scan finished, provider activated-----------------> ACTIVE
///   DISCOVERING  --scan finished, no provider or activation failed---> ERROR
///
/// Runs on the middleware's event thread; the gate has let the event in.
class EventDispatcher {
 public:
  struct Components {
    ProviderRegistry& providers;
    LocationCatalogue& locations;
    ChannelScan& scan;
    ServiceList& services;
    GuideUpdater& guide;
    SettingsOptions& settings;
    PropertyBridge& properties;
  };
  EventDispatcher(const Components& components, EventHost& host) : _parts(components), _host(host) {}

  void handle(const durix_event_data* data);

  int receiverCount() const { return _receiverCount; }
  BroadcastProtocolType receiverProtocolType() const { return _receiverProtocolType; }
  ReceiverType receiverType() const { return _receiverType; }
  void forgetReceiver();

 private:
  using Handler = void (EventDispatcher::*)(const EventRecord& event);

  void afterScanStart(const EventRecord& event, std::size_t size, Handler handler);
  void receiverOn(const EventRecord& event);
  void receiverOff();
  void receiverStatistics(const EventRecord& event);
  void discoverProgress(const EventRecord& event);
  void discoverFinished(const EventRecord& event);
  void servicesChanged();
  void programEventsChanged();
  void playerEvent(const char* name, durix_player* player, bool isStarted, bool hasError);

  void offerLocations();
  bool hasServices(BroadcastProvider& provider, std::uint32_t* count);
  bool hasHiddenServices(BroadcastProvider& provider, std::uint32_t* count);
  void requestScan(BroadcastProtocolType protocol, ReceiverType receiver);
  void useProvider(BroadcastProvider* provider);
  void reportScanFailed(std::uint32_t serviceCount, const std::vector<std::string>& names);
  void announceServices();

  const Components _parts;  // outlive this
  EventHost& _host;         // outlives this

  std::atomic<int> _receiverCount = 0;  // announced and not withdrawn
  std::atomic<BroadcastProtocolType> _receiverProtocolType = BROADCAST_PROTOCOL_NONE;
  std::atomic<ReceiverType> _receiverType = RECEIVER_NONE;
};

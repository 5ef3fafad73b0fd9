#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "BCLocation.h"
#include "durix/durix.h"
#include "support/Lock.h"
#include "tuning/LocationCatalogue.h"
#include "tuning/ProviderRegistry.h"
#include "velmora/PluginState.h"
#include "velmora/Types.h"

/// What a scan asks of the plugin.
class ScanHost {
 public:
  virtual durix_handle* durixHandle() = 0;
  virtual PluginState getState() = 0;
  virtual void setState(PluginState state) = 0;
  virtual BroadcastProtocolType receiverProtocolType() = 0;
  virtual ReceiverType receiverType() = 0;
  virtual std::string locationOptionValue() = 0;  // empty while there is no such option

  /// The plugin's virtual operation, so that a subclass may start scans its own way.
  virtual bool discover(const durix_scan_configuration* configuration, BroadcastProtocolType protocol,
                        ReceiverType receiver, bool flag) = 0;

  // What a scan takes down, in the order in which it does. Each is nothing where its object is missing.
  virtual void deactivateRecorder() = 0;
  virtual void setUpdaterEnabled(bool enabled) = 0;
  virtual void joinUpdater() = 0;
  virtual void clearNotificationTimer() = 0;
  virtual void dropUpdateNotices() = 0;  // the queued ones, under _updateDataMutex
  virtual void clearNotifier() = 0;
  virtual void stopRecommendations() = 0;
  virtual void deleteAll() = 0;
  virtual void removeReminders() = 0;

 protected:
  ~ScanHost() = default;
};

/// Scans for channels. A scan starts when the user has asked for one, which picks the location, and a receiver is
/// ready; whichever comes second starts it. Its end arrives as an event.
/// Called by host threads and, for "RECEIVER_READY", by the event thread.
class ChannelScan {
 public:
  ChannelScan(ProviderRegistry& providers, LocationCatalogue& locations, ScanHost& host)
      : _providers(providers), _locations(locations), _host(host) {}

  /// The host's entry: takes protocol and receiver from the provider in use, else from the receiver announced last.
  bool requestDiscover(const std::string& location, bool flag);

  /// `location` is a name, empty for the location option's value, or "RECEIVER_READY". True when a scan has started.
  bool requestSpecificDiscover(std::string location, BroadcastProtocolType protocol, ReceiverType receiver, bool flag);

  /// Older entry: scans the current location, whatever the name.
  bool discover(const std::string& location, BroadcastProtocolType protocol, ReceiverType receiver, bool flag);

  /// Takes the running services down and starts the scan. What was taken down stays so when the start fails.
  bool discover(const durix_scan_configuration* configuration, BroadcastProtocolType protocol, ReceiverType receiver,
                bool flag);

  bool discover_cancel();

  /// Returns when no other thread is between asking the middleware for a scan and the last step of its start; then
  /// false. On the thread that is in there itself: true, and `work` is done after the last step. The handlers of a
  /// finished scan and of an announced receiver ask first, so that they never overtake a start.
  bool deferWhileStarting(std::function<void()> work);

  void setReceiverReady() { _receiverReady = true; }

  /// The location of the next scan; null for none.
  BCLocation* currentScanConfiguration() const { return _currentScanConfiguration; }
  void setCurrentScanConfiguration(BCLocation* location) { _currentScanConfiguration = location; }

 private:
  bool start(const durix_scan_configuration* configuration, BroadcastProtocolType protocol, ReceiverType receiver,
             bool flag);
  void doDeferred();
  void chooseLocation(const std::string& name, ReceiverType receiver);
  void deactivateProviders();

  // fixed after construction; all outlive this
  ProviderRegistry& _providers;
  LocationCatalogue& _locations;
  ScanHost& _host;

  std::atomic<bool> _receiverReady = false;
  std::atomic<BCLocation*> _currentScanConfiguration = nullptr;  // the catalogue's

  RankedMutex _discoverMutex{LockRank::Discover};  // one start through the older entry at a time
  // The start, from the middleware's call to its last step; the notice of the new state is sent inside. Who hears it
  // may ask the plugin, but must not wait for the event thread, which may be waiting here.
  RankedMutex _scanStart{LockRank::ScanStart};
  bool _isStarting BC_GUARDED_BY(_scanStart) = false;  // seen by the starting thread itself only
  std::vector<std::function<void()>> _deferred BC_GUARDED_BY(_scanStart);
};

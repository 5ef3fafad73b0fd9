#pragma once

#include <functional>
#include <set>
#include <string>

#include "tests/support/ScriptedMiddleware.h"
#include "tuning/ChannelScan.h"
#include "tuning/DeviceCache.h"
#include "tuning/ProviderRegistry.h"

/// The scripted middleware, with the files of a test.
struct ScriptedPlatform : ScriptedMiddleware {
  ScriptedPlatform();
  ~ScriptedPlatform() override;

  /// Of the providers only these match a receiver of DVB-T.
  void setMatching(const std::set<std::uint32_t>& identities);

  std::set<std::string> paths;  // removed at the end
};

/// The plugin above the components.
class ScriptedPlugin final : public ProviderHost, public ScanHost, public DeviceHost {
 public:
  durix_handle* durixHandle() override { return hasHandle ? reinterpret_cast<durix_handle*>(this) : nullptr; }
  BroadcastProtocolType receiverProtocolType() override { return protocol; }
  ReceiverType receiverType() override { return receiver; }
  PluginState getState() override { return state; }
  void setState(PluginState newState) override;
  std::string locationOptionValue() override { return option; }
  bool discover(const durix_scan_configuration* configuration, BroadcastProtocolType scanProtocol,
                ReceiverType scanReceiver, bool flag) override;
  void deactivateRecorder() override { note("deactivateRecorder"); }
  void setUpdaterEnabled(bool enabled) override { note(enabled ? "enableUpdater" : "disableUpdater"); }
  void joinUpdater() override { note("joinUpdater"); }
  void clearNotificationTimer() override { note("clearNotificationTimer"); }
  void dropUpdateNotices() override { note("dropUpdateNotices"); }
  void clearNotifier() override { note("clearNotifier"); }
  void stopRecommendations() override { note("stopRecommendations"); }
  void deleteAll() override;
  void removeReminders() override { note("removeReminders"); }

  bool hasHandle = true;
  BroadcastProtocolType protocol = BROADCAST_PROTOCOL_DVB;
  ReceiverType receiver = RECEIVER_DVB_T;
  PluginState state = PLUGIN_INACTIVE;
  std::string option;
  std::function<void()> onDeleteAll;

 private:
  static void note(const std::string& line) { ScriptedMiddleware::current()->note(line); }
};

/// Writes a file for the running test and returns its path.
std::string writeFile(const std::string& name, const std::string& text);

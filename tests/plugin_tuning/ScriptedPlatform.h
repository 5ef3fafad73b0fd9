#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "durix/durix.h"
#include "tuning/ChannelScan.h"
#include "tuning/DeviceCache.h"
#include "tuning/ProviderRegistry.h"

using Lines = std::vector<std::string>;

/// Middleware and host as the tests script them: what is asked of them and what is logged ends up in one transcript,
/// `LEVEL text` for a line and the call's name with what it was asked for. Used by one thread at a time.
struct ScriptedPlatform {
  ScriptedPlatform();
  ~ScriptedPlatform();

  Lines takeTranscript();

  Lines transcript;
  std::set<std::string> failing;     // transcript lines of calls that fail
  std::set<std::uint32_t> matching;  // identities of providers that match any receiver
  std::vector<durix_provider> providers;
  std::vector<ostiv_directory_entry> directory;
  std::uint32_t devices = 0;
  std::map<std::uint32_t, std::string> properties;
  std::vector<std::uint8_t> request;  // the data of the last device request
  std::set<std::string> files;        // removed at the end
  int liveAllocations = 0;
  bool hasMemory = true;
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
  static void note(const char* line);
};

/// Writes a file for the running test and returns its path.
std::string writeFile(const std::string& name, const std::string& text);

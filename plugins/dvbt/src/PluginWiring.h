#pragma once

#include <string>
#include <vector>

#include "BroadcastRecorder.h"
#include "core/EventDispatcher.h"
#include "core/PropertyBridge.h"
#include "guide/EsgFeedRotation.h"
#include "guide/GuideUpdater.h"
#include "guide/ServiceList.h"
#include "playback/PlayerFactory.h"
#include "settings/SettingsOptions.h"
#include "tuning/ChannelScan.h"
#include "tuning/DeviceCache.h"
#include "tuning/ProviderRegistry.h"

class BroadcastPluginImpl;

/// Answers what the components ask of the plugin. It holds nothing but the plugin, which owns it.
class PluginWiring final : public PropertyHost,
                           public ProviderHost,
                           public DeviceHost,
                           public ServiceListHost,
                           public EsgFeedHost,
                           public GuideUpdaterHost,
                           public ScanHost,
                           public SettingsHost,
                           public RecorderHost,
                           public PlayerFactoryHost,
                           public EventHost {
 public:
  explicit PluginWiring(BroadcastPluginImpl& plugin) : _plugin(plugin) {}

  // of several components
  durix_handle* durixHandle() override;
  PluginState getState() override;
  BroadcastProtocolType receiverProtocolType() override;
  ReceiverType receiverType() override;
  void setUpdaterEnabled(bool enabled) override;
  bool isRecordingsActive() override;
  void notifyProgramUpdate(Service* service, std::vector<Program*>* programs) override;
  std::string getDurixProperty(durix_property number) override;

  // PropertyHost
  void flush() override;

  // ServiceListHost
  BroadcastProvider* activeInProviders() override;
  bool hasProviders() override;
  int receiverCount() override;

  // GuideUpdaterHost
  bool isClosing() override;
  void programsChanged(ServiceImpl* service) override;
  VmRecommendationUpdater* recommendationUpdater() override;

  // ScanHost
  void setState(PluginState state) override;
  std::string locationOptionValue() override;
  bool discover(const durix_scan_configuration* configuration, BroadcastProtocolType protocol, ReceiverType receiver,
                bool flag) override;
  void deactivateRecorder() override;
  void joinUpdater() override;
  void clearNotificationTimer() override;
  void dropUpdateNotices() override;
  void clearNotifier() override;
  void stopRecommendations() override;
  void deleteAll() override;
  void removeReminders() override;

  // SettingsHost
  bool hasRecorder() override;
  void setDurixProperty(const std::string& name, const std::string& value) override;
  void selectLocation(BCLocation* location) override;
  void enableSubtitles(bool enabled) override;
  void changeAudioLanguage(const std::string& language) override;

  // RecorderHost
  Service* getService(const std::string& name, unsigned network) override;

  // PlayerFactoryHost
  std::vector<Service*> activeSchedulingsServices() override;
  void closeCurrentDataFeed() override;
  bool isSubtitlesEnabled() override;

  // EventHost
  BroadcastPlugin& plugin() override;
  void initializeRecorder() override;
  bool startRecommendations() override;
  void clearRecommendations() override;
  void notifyPlayer(bool isStarted, bool hasError) override;

 private:
  BroadcastPluginImpl& _plugin;
};

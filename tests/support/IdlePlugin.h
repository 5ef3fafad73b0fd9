#pragma once

#include "velmora/BroadcastPlugin.h"

/// A plugin that has nothing and does nothing; a test overrides what it needs.
class IdlePlugin : public BroadcastPlugin {
 public:
  using BroadcastPlugin::search;

  void close() override {}
  int getType() override { return 1; }
  std::string getName() override { return "Test"; }
  std::string getId() override { return "TEST"; }
  bool init() override { return true; }
  bool init(const char*, const char*) override { return true; }
  std::vector<OptionGroup*>* getOptions() override { return nullptr; }
  Player* createPlayer(AvContent*, void*, PlayerListener*) override { return nullptr; }
  Player* createTeletextPlayer(AvContent*, void*, PlayerListener*) override { return nullptr; }
  Player* createSecondaryPlayer(AvContent*, void*, PlayerListener*) override { return nullptr; }
  bool destroySecondaryPlayer(Player*) override { return false; }
  int getPlayerType(AvContent*) override { return 0; }
  bool discover(std::string, BroadcastProtocolType, ReceiverType, bool) override { return false; }
  bool discover_cancel() override { return false; }
  bool requestDiscover(std::string, bool) override { return false; }
  std::vector<Service*> getServices() override { return {}; }
  std::vector<Program*> getPrograms() override { return {}; }
  Program* getProgram(int) override { return nullptr; }
  std::vector<Program*> search(std::vector<std::string>) override { return {}; }
  Recorder* getRecorder() override { return nullptr; }
  int getTimeshiftDuration() override { return 0; }
  void setPlayableStatus(std::vector<Service*>) override {}
  void updateFavoritePlaylist(Playlist*) override {}
  void allowUpdates() override {}
  std::map<std::string, std::string> getCountriesAndFlags() override { return {}; }
  std::vector<Program*> getProgramsWithTitles(std::vector<std::string>) override { return {}; }
  std::string getPreferredAudioLanguage() override { return {}; }
  std::string getPreferredSubtitleLanguage() override { return {}; }
  bool isPreferredAudioTypeMultiChannel() override { return false; }
  std::vector<Device*> getDevices() override { return {}; }
  void esgUpdateEnable(bool) override {}
  void openEsgDataFeeds() override {}
  void closeEsgDataFeeds() override {}
  void setServiceOrder(std::vector<Service*>) override {}
  void setRecordingsPath(const char*) override {}
  bool discover(const durix_scan_configuration*, BroadcastProtocolType, ReceiverType, bool) override { return false; }
  std::vector<Service*> getConflicting(std::vector<Service*>) override { return {}; }
};

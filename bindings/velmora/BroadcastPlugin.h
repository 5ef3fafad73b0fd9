#pragma once

#include <map>
#include <string>
#include <vector>

#include "durix/durix.h"
#include "velmora/Clip.h"
#include "velmora/Plugin.h"
#include "velmora/Program.h"
#include "velmora/Service.h"
#include "velmora/Types.h"

class Device;
class Playlist;
class Recorder;

/// A plugin that gives live television.
class BroadcastPlugin : public Plugin {
 public:
  BroadcastPlugin();
  ~BroadcastPlugin() override;
  using Plugin::search;

  virtual bool discover(std::string location, BroadcastProtocolType protocol, ReceiverType receiver, bool flag) = 0;
  virtual bool discover_cancel() = 0;
  virtual bool requestDiscover(std::string location, bool flag) = 0;
  virtual std::vector<Service*> getServices() = 0;
  virtual std::vector<Program*> getPrograms() = 0;
  virtual Program* getProgram(int id) = 0;
  virtual std::vector<Program*> search(std::vector<std::string> words) = 0;
  virtual Recorder* getRecorder() = 0;
  virtual int getTimeshiftDuration() = 0;  // minutes
  virtual void setPlayableStatus(std::vector<Service*> selected) = 0;
  virtual void updateFavoritePlaylist(Playlist* playlist) = 0;
  virtual void allowUpdates() = 0;
  virtual std::map<std::string, std::string> getCountriesAndFlags() = 0;
  virtual std::vector<Program*> getProgramsWithTitles(std::vector<std::string> titles) = 0;
  virtual std::string getPreferredAudioLanguage() = 0;
  virtual std::string getPreferredSubtitleLanguage() = 0;
  virtual bool isPreferredAudioTypeMultiChannel() = 0;
  virtual std::vector<Device*> getDevices() = 0;
  virtual void esgUpdateEnable(bool enable) = 0;
  virtual void openEsgDataFeeds() = 0;
  virtual void closeEsgDataFeeds() = 0;
  virtual void setServiceOrder(std::vector<Service*> services) = 0;
  virtual void search(Tag* tag);  // does nothing
  virtual void setRecordingsPath(const char* path) = 0;
  virtual bool discover(const durix_scan_configuration* configuration, BroadcastProtocolType protocol,
                        ReceiverType receiver, bool flag) = 0;
  virtual std::vector<Service*> getConflicting(std::vector<Service*> selected) = 0;

  // Each tells every listener of this moment, in order, with no lock held.
  void sendNotifyDiscover(Plugin* plugin, bool finished, bool success, unsigned progress, unsigned frequency,
                          unsigned serviceCount, std::vector<std::string> serviceNames);
  void sendNotifyStatistics(Plugin* plugin, unsigned frequency, unsigned bandwidth, bool locked, unsigned char quality,
                            unsigned char battery);
  void sendNotifyServiceUpdate(Plugin* plugin, std::vector<Service*>* services);
  void sendNotifyProgramUpdate(Plugin* plugin, Service* service, std::vector<Program*>* programs);
  void sendNotifyCurrentProgram(Plugin* plugin, Service* service, Program* program);
  void sendNotifyProgramStarted(Plugin* plugin, Service* service, Program* program);
  void sendNotifyProgramEnded(Plugin* plugin, Service* service, Program* program);

 protected:
  std::vector<Service*> _channelList;  // handed to the host; guarded by the plugin
};

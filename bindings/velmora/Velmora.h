#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "velmora/Content.h"
#include "velmora/Option.h"

class Playlist;
class Plugin;

class PropertyListener {
 public:
  virtual ~PropertyListener();  // leaves the registry; waits for a call in progress on another thread
  virtual void notifyPropertyChanged(std::string name, std::string value) = 0;
};

/// The host itself: one for each process, never destroyed.
class Velmora {
 public:
  static Velmora* getInstance();

  std::string getProperty(const std::string& name);  // empty when absent
  void setProperty(const std::string& name, const std::string& value);
  std::string getSystemProperty(const std::string& name);  // "system.data_directory", "system.library_directory"
  void addPropertyListener(const std::string& prefix, PropertyListener* listener);
  std::vector<OptionGroup*> getOptions();  // the host's own groups

  /// ISO 639-2/T code to 639-2/B; empty when the code has none of its own.
  std::string getIso6392bFromIso6392t(const std::string& code);

  std::string getTime(bool utc);    // YYYY-MM-DDTHH:MM:SS, in UTC followed by "Z"
  std::int64_t getTimeI(bool utc);  // seconds since the epoch

  void updateReminders(Plugin* plugin);
  void removeReminders(Plugin* plugin);  // by the stored plugin; no content is touched

 private:
  Velmora();
  struct State;
  const std::unique_ptr<State> _state;
};

/// Feeds a recommendation service.
class VmRecommendationUpdater {
 public:
  VmRecommendationUpdater(Plugin* plugin, AvContent::AvType type);
  bool Start();  // false: there is no such service
  void Stop();   // synchronous
  void updateContentRecommendations(std::vector<AvContent*> contents, Playlist* playlist);

 private:
  Plugin* _plugin;
  AvContent::AvType _type;
};

/// Something that a URI names.
class Resource {
 public:
  explicit Resource(std::string uri) : _uri(std::move(uri)) {}
  const std::string& getUri() const { return _uri; }

 private:
  const std::string _uri;
};

class VmResourceLoader {
 public:
  static Resource* getResource(const std::string& uri, int type);  // owned by the loader; null for an empty URI
};

class BatteryLevel {
 public:
  BatteryLevel();
  unsigned char getLevel() const;  // per cent
};

/// One receiver; copies the middleware's record. Devices live for the whole process.
class Device {
 public:
  explicit Device(void* record);  // 72 bytes
  const void* getRecord() const { return _record; }
  void* getHandle() { return _record; }

 private:
  alignas(8) unsigned char _record[72];
};

#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "velmora/Content.h"
#include "velmora/Option.h"
#include "velmora/Player.h"
#include "velmora/PluginListener.h"
#include "velmora/VmMutex.h"
#include "velmora/VmProperties.h"

class AccountManager;
class Provider;
class Search;
class VmHttpListener;
class VmHttpQuery;

/// What the host loads.
class Plugin {
 public:
  using PluginState = ::PluginState;

  Plugin();
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;
  virtual ~Plugin();
  virtual void configure(VmProperties* properties);
  virtual VmProperties getConfiguration();
  virtual void close() = 0;
  virtual int getType() = 0;
  virtual std::string getName() = 0;
  virtual std::string getId() = 0;
  virtual std::string getTitle();  // "Some plugin"
  virtual PluginState getState();
  virtual void addListener(PluginListener* listener);
  virtual void removeListener(PluginListener* listener);  // returns when no other thread is inside it
  virtual bool init() = 0;
  virtual bool init(const char* dataDirectory, const char* libraryDirectory) = 0;
  virtual std::vector<OptionGroup*>* getOptions() = 0;
  virtual Player* createPlayer(AvContent* content, void* window, PlayerListener* listener) = 0;
  virtual Player* createTeletextPlayer(AvContent* content, void* window, PlayerListener* listener) = 0;
  virtual Player* createSecondaryPlayer(AvContent* content, void* window, PlayerListener* listener) = 0;
  virtual bool destroySecondaryPlayer(Player* player) = 0;
  virtual int getPlayerType(AvContent* content) = 0;
  virtual int executeQuery(VmHttpQuery* query, VmHttpListener* listener);  // 0
  virtual int cancelQuery(VmHttpQuery* query);                             // 0
  virtual void update();
  virtual void clear();
  virtual void load();
  virtual void load(std::string name);
  virtual void cancelAll();
  virtual void search(Search* search);
  virtual void cancel(Search* search);
  virtual void loadMore(Search* search);
  virtual void flush();
  virtual AccountManager* getAccountManager();
  virtual void closeAccountManager();
  virtual void halt();
  virtual void addProvider(Provider* provider);
  virtual std::vector<Provider*> getProviders();
  virtual void loadData(Content* content);

  /// Sets the state and, when it is another, tells the listeners with `pluginStateChanged`.
  void setState(PluginState state);

 protected:
  std::string _name;
  std::string _text;
  std::atomic<PluginState> _state = PLUGIN_INACTIVE;

  VmMutex* const _listenerMutex;            // owned
  std::vector<PluginListener*> _listeners;  // not owned; guarded by _listenerMutex

  /// The listeners of this moment. What is handed out to one of them stands between `enter` and `leave`, so that
  /// `removeListener` can wait for it; no lock is held in between.
  struct Deliveries;
  const std::unique_ptr<Deliveries> _deliveries;

 private:
  VmMutex _configurationMutex;
  VmProperties _configuration;  // guarded by _configurationMutex
};

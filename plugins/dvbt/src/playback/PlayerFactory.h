#pragma once

#include <string>
#include <vector>

#include "velmora/BroadcastPlugin.h"

class BroadcastPlayer;

/// What player creation asks of the plugin.
class PlayerFactoryHost {
 public:
  virtual std::vector<Service*> activeSchedulingsServices() = 0;  // none without a recorder
  virtual void closeCurrentDataFeed() = 0;                        // frees the receiver that collects the guide
  virtual bool isSubtitlesEnabled() = 0;

 protected:
  ~PlayerFactoryHost() = default;
};

/// Makes players for the host, which owns them. Secondary players come back through `destroySecondaryPlayer`, so that
/// what can still be received beside them is worked out again. Called by host threads.
class PlayerFactory {
 public:
  PlayerFactory(BroadcastPlugin& plugin, PlayerFactoryHost& host) : _plugin(plugin), _host(host) {}

  Player* createPlayer(AvContent* content, void* window, PlayerListener* listener);
  Player* createTeletextPlayer(AvContent* content, void* window, PlayerListener* listener);
  Player* createSecondaryPlayer(AvContent* content, void* window, PlayerListener* listener);
  bool destroySecondaryPlayer(Player* player);  // always true; null is allowed

  // Of the current main player, the one made last that still lives; nothing when there is none.
  static void enableSubtitles(bool enabled);
  static void changeAudioLanguage(const std::string& language);

 private:
  BroadcastPlugin& _plugin;  // outlives this
  PlayerFactoryHost& _host;  // outlives this
};

#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "BroadcastPluginImpl.h"
#include "Stage.h"
#include "velmora/Player.h"

/// The host's side of a player: its calls become lines "> call".
class Screen : public PlayerListener {
 public:
  explicit Screen(Stage& stage) : _stage(stage) {}

  void imageReceived(FFPic* picture) override;
  void playerStarted() override { tell("> started"); }
  void playerError() override { tell("> error"); }
  void playerStopped() override { tell("> stopped"); }
  void playerBlocked() override { tell("> blocked"); }
  void playerUnblocked() override { tell("> unblocked"); }
  std::function<void()> onCall;  // done inside the next of them

 private:
  void tell(const std::string& call);

  Stage& _stage;
};

/// One elementary stream of a channel, an event or a recording.
struct Feed {
  std::uint32_t id;
  int type;
  const char* language;
  int contentType = 0;
};

/// A stage with an active plugin and two channels, to play on. What all players share is the host's and the process's;
/// it is put back before and after.
class Theatre {
 public:
  static constexpr std::uint32_t ONE = 11;
  static constexpr std::uint32_t TWO = 12;

  Theatre();
  Theatre(const Theatre&) = delete;
  Theatre& operator=(const Theatre&) = delete;
  ~Theatre();

  /// Starts the plugin and waits until its first pass for programmes is through.
  void open();
  void give(std::uint32_t content, const std::vector<Feed>& feeds);
  Service* channel(std::uint32_t id) const;
  static void protectChildren(bool enabled);  // parental control, for those younger than 12

  std::unique_ptr<Player> create(AvContent* content);
  std::unique_ptr<Player> createTeletext(AvContent* content);
  Player* createSecondary(AvContent* content);
  /// A player's event, as the middleware sends it.
  void send(std::uint32_t event, std::uintptr_t player);
  void changeFeeds(std::uint32_t service, std::uint32_t state = 1);
  void prefer(const std::string& audio, const std::string& subtitles, bool multichannel = false);
  void enableSubtitles(bool enabled);

  /// The lines of this thread since the last time, one below the other; without the reads that every choice among feeds
  /// and every new channel list repeats.
  std::string lines();

  Stage stage;
  Screen screen{stage};
  BroadcastPluginImpl* plugin = nullptr;

 private:
  Option* setting(const std::string& name) const;
};

std::string hostProperty(const std::string& name);
void setHostProperty(const std::string& name, const std::string& value);

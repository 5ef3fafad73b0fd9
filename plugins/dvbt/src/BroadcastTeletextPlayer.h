#pragma once

#include <atomic>
#include <vector>

#include "durix/durix_player.h"
#include "support/Lock.h"
#include "velmora/BroadcastPlugin.h"

/// Shows the teletext of a service or programme: the middleware renders pages, this hands them on as pictures. The
/// plugin makes it and the host owns it; content and plugin let go of it before they die.
class BroadcastTeletextPlayer : public Player {
 public:
  BroadcastTeletextPlayer(BroadcastPlugin* plugin, AvContent* content, void* window, PlayerListener* listener);
  ~BroadcastTeletextPlayer() override;

  void setCanvas(Canvas* canvas) override;
  Canvas* getCanvas() override;
  bool start(bool flag) override;
  bool stop() override;
  bool pause(bool on) override;
  // A page has neither size nor sound.
  bool setSize(unsigned width, unsigned height) override;
  bool setVolume(unsigned char volume) override;
  unsigned char getVolume() override;
  bool setMute(bool mute) override;
  bool isMuted() override;
  bool setTeletextPage(unsigned page, unsigned subpage) override;
  bool changeTeletextPage(VmTeletextPageCmd command) override;
  AvContent* getContent() override;

  virtual void handleImageReceived(FFPic* picture);  // on a middleware thread

  void setContent(AvContent* content);
  bool isValid();

  static void imageReceivedEvent(void* picture, void* user);
  static void sendNotifyPlayer(durix_player* player, Plugin* plugin, bool isStarted, bool hasError);

  /// As BroadcastPlayer has them.
  static void forgetContents(const std::vector<Service*>& services);
  static void forgetPlugin(const BroadcastPlugin* plugin);

 private:
  struct Registry;
  static Registry& registry();

  durix_render_data renderData(void* window);

  // fixed after construction
  durix_player* _handle = nullptr;
  void* _window;
  bool _hasContent = false;                      // false: made without, and known to nobody
  std::vector<PlayerListener*> _imageListeners;  // the host's

  // read and written without a lock
  std::atomic<bool> _started = false;

  // guarded by _lock, with the host's content
  RankedMutex _lock{LockRank::Player};
  BroadcastPlugin* _plugin BC_GUARDED_BY(_lock) = nullptr;
  std::vector<durix_esg_object> _teletextFeeds BC_GUARDED_BY(_lock);
};

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "durix/durix_player.h"
#include "middleware/api/Companion.h"
#include "middleware/api/Failure.h"
#include "middleware/store/Catalogue.h"

namespace durix {

class Instance;

/// A feed that a player was given: the record, and what it stood for at that moment, so that it can be taken away again
/// when the service has changed meanwhile.
struct ChosenFeed {
  durix_esg_object record{};
  std::uint32_t service = 0;    // 0 of a recording's
  std::uint32_t recording = 0;  // 0 of a service's
  Feed feed{};
};

/// By which changes among feeds are seen.
std::vector<std::uint32_t> idsOf(const std::vector<ChosenFeed>& feeds);

/// A player of the contract. There are two kinds: video and sound of a service or a recording (VideoPlayer), and pages
/// of teletext as pictures (TeletextPlayer). Any thread; operations throw Failure.
///
/// Its life: made, then any number of times started and ended, then stopped for good, by its destruction or with its
/// instance. No operation waits for the thread that delivers events.
class Player : public Companion {
 public:
  /// The data is of the kind that the player was made for.
  virtual void setRenderData(const durix_render_data& data) = 0;

  void addFeed(const ChosenFeed& chosen);  // again is no failure
  void removeFeed(std::uint32_t feed);     // UnknownObject when it was not added

  /// By which its events tell of it. Set before anybody else knows of it.
  void setHandle(durix_player* handle) { _handle = handle; }
  durix_player* handle() const { return _handle; }

  /// Returns at once: what comes of it is told by events.
  virtual void start() = 0;
  /// Returns soon, and nothing is received any more.
  virtual void end() = 0;
  virtual void pause(bool isOn) = 0;

  virtual void setSize(std::uint32_t width, std::uint32_t height);  // pixels
  virtual void setVolume(std::uint8_t volume);                      // 0 to 100; 0 mutes
  virtual void seek(std::uint32_t position);                        // seconds, as the next two
  virtual std::uint32_t position();
  virtual std::uint32_t duration();
  virtual void setTeletextPage(std::uint32_t page, std::uint32_t subpage);  // 100 to 899; 0 is any
  virtual void changeTeletextPage(std::uint32_t command);                   // 0 to 3

 protected:
  std::vector<ChosenFeed> feeds() const;

  /// After each change of the feeds.
  virtual void feedsChanged() {}

 private:
  durix_player* _handle = nullptr;

  // guarded by _feedsMutex, a leaf
  mutable std::mutex _feedsMutex;
  std::vector<ChosenFeed> _feeds;
};

}  // namespace durix

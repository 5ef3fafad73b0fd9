#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "durix/durix_player.h"
#include "middleware/durix_tools.h"
#include "tests/middleware/Support.h"

namespace durix::test {

/// Where the recorded broadcasts are; empty when they are missing.
std::filesystem::path captures();

/// A middleware that receives streams, each on a frequency of its own, and knows their channels.
class Television {
 public:
  /// Files, received on 474 MHz and every 8 MHz further up.
  explicit Television(const std::vector<std::filesystem::path>& streams, unsigned tuners = 1);
  Television(const Television&) = delete;
  Television& operator=(const Television&) = delete;

  durix_esg_object channel(const std::string& name) const;  // all zero without
  std::vector<durix_esg_object> feeds(const durix_esg_object& channel) const { return _middleware.feeds(channel); }

  /// The first feed of a channel of this type and language ("" for any), all zero without.
  durix_esg_object feed(const durix_esg_object& channel, std::int32_t type, const std::string& language = {}) const;

  Middleware& middleware() const { return _middleware; }

 private:
  mutable Middleware _middleware;
};

/// One player, and what its events told of it.
class Screen {
 public:
  explicit Screen(void* window = nullptr);
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;
  ~Screen();

  durix_player* player() const { return _player; }
  bool add(const durix_esg_object& feed) const { return durix_player_feed_add(_player, &feed) == DURIX_OK; }
  bool remove(const durix_esg_object& feed) const { return durix_player_feed_remove(_player, &feed) == DURIX_OK; }
  bool start() const { return durix_player_start(_player, true) == DURIX_OK; }
  bool stop() const { return durix_player_stop(_player) == DURIX_OK; }
  void destroy();

  /// Adds a channel's picture and sound in a language, and starts.
  bool play(const Television& television, const std::string& channel, const std::string& language = {});

  unsigned count(std::uint32_t event) const;  // how often it came for this player
  bool waitFor(std::uint32_t event) const;    // until it has come
  std::uint32_t position() const;             // seconds
  bool waitForPosition(std::uint32_t seconds) const;

  struct Track {
    std::uint32_t type = 0, pid = 0;
    std::string codec, language;
  };
  struct State {
    bool isStarted = false;
    std::string failure;
    std::uint32_t width = 0, height = 0;
    std::uint64_t dropped = 0;
    std::vector<Track> tracks;
    const Track* track(std::uint32_t type) const;
  };
  State state() const;

  struct Picture {
    std::uint32_t width = 0, height = 0;
    std::vector<std::uint8_t> pixels;
    unsigned colours() const;  // different ones, coarsely
  };
  std::optional<Picture> picture() const;
  /// The first picture that is more than one colour.
  std::optional<Picture> waitForPicture() const;

  std::uint32_t save(const char* file) const { return durix_tools_player_save(this, file); }

 private:
  static void handler(durix_event_data* event, void* user);

  durix_player* _player = nullptr;
  mutable std::mutex _mutex;
  std::vector<std::uint32_t> _events;
};

}  // namespace durix::test

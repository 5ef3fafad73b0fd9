#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "durix/durix_player.h"

namespace durix {

/// One player of the contract: what it is to play, and how. Any thread.
class Player {
 public:
  explicit Player(const durix_render_data& data) : _renderData(data) {}
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  void setRenderData(const durix_render_data& data);
  void setSize(std::uint32_t width, std::uint32_t height);  // pixels
  void setVolume(std::uint8_t volume);                      // 0 to 100
  void addFeed(const durix_esg_object& feed);               // again is no failure
  bool removeFeed(const durix_esg_object& feed);            // false when it was not added

 private:
  // guarded by _mutex, a leaf
  std::mutex _mutex;
  durix_render_data _renderData;
  std::vector<durix_esg_object> _feeds;
  std::uint32_t _width = 0;
  std::uint32_t _height = 0;
  std::uint8_t _volume = 100;
};

}  // namespace durix

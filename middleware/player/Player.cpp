#include "middleware/player/Player.h"

#include <algorithm>

namespace durix {

void Player::setRenderData(const durix_render_data& data) {
  const std::scoped_lock lock(_mutex);
  _renderData = data;
}

void Player::setSize(std::uint32_t width, std::uint32_t height) {
  const std::scoped_lock lock(_mutex);
  _width = width;
  _height = height;
}

void Player::setVolume(std::uint8_t volume) {
  const std::scoped_lock lock(_mutex);
  _volume = volume;
}

void Player::addFeed(const durix_esg_object& feed) {
  const std::scoped_lock lock(_mutex);
  const auto isSame = [&](const durix_esg_object& one) { return one.id == feed.id; };
  if (std::none_of(_feeds.begin(), _feeds.end(), isSame)) _feeds.push_back(feed);
}

bool Player::removeFeed(const durix_esg_object& feed) {
  const std::scoped_lock lock(_mutex);
  return std::erase_if(_feeds, [&](const durix_esg_object& one) { return one.id == feed.id; }) > 0;
}

}  // namespace durix

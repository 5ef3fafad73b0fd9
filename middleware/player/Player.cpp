#include "middleware/player/Player.h"

#include <algorithm>

namespace durix {

std::vector<std::uint32_t> idsOf(const std::vector<ChosenFeed>& feeds) {
  std::vector<std::uint32_t> ids;
  ids.reserve(feeds.size());
  for (const auto& one : feeds) ids.push_back(one.record.id);
  return ids;
}

void Player::addFeed(const ChosenFeed& chosen) {
  {
    const std::scoped_lock lock(_feedsMutex);
    const auto isSame = [&](const ChosenFeed& one) { return one.record.id == chosen.record.id; };
    if (std::any_of(_feeds.begin(), _feeds.end(), isSame)) return;
    _feeds.push_back(chosen);
  }
  feedsChanged();
}

void Player::removeFeed(std::uint32_t feed) {
  {
    const std::scoped_lock lock(_feedsMutex);
    if (std::erase_if(_feeds, [&](const ChosenFeed& one) { return one.record.id == feed; }) == 0) {
      throw Failure(Code::UnknownObject);
    }
  }
  feedsChanged();
}

std::vector<ChosenFeed> Player::feeds() const {
  const std::scoped_lock lock(_feedsMutex);
  return _feeds;
}

// What a kind of players has no use for is ignored where the host sets it for all, and else not to be had.
void Player::setSize(std::uint32_t, std::uint32_t) {}
void Player::setVolume(std::uint8_t) {}

void Player::seek(std::uint32_t) {
  throw Failure(Code::NotSupported);
}

std::uint32_t Player::position() {
  throw Failure(Code::NotSupported);
}

std::uint32_t Player::duration() {
  throw Failure(Code::NotSupported);
}

void Player::setTeletextPage(std::uint32_t, std::uint32_t) {
  throw Failure(Code::NotSupported);
}

void Player::changeTeletextPage(std::uint32_t) {
  throw Failure(Code::NotSupported);
}

}  // namespace durix

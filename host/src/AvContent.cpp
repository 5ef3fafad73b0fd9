#include <algorithm>

#include "host/src/HostOptions.h"
#include "velmora/Content.h"

AvContent::AvContent(unsigned id, Plugin* plugin, AvType type) : Content(id, plugin), _avType(type) {}
AvContent::~AvContent() = default;

std::string AvContent::getTitle() {
  const std::lock_guard lock(_store);
  return _title.empty() ? _name : _title;
}

std::string AvContent::getName() {
  {
    const std::lock_guard lock(_store);
    if (!_name.empty()) return _name;
  }
  return getTitle();  // the subclass's; ours looks at the stored texts only, so this goes no further
}

void AvContent::setName(const std::string& name) {
  const std::lock_guard lock(_store);
  _name = name;
}

ParentalRating* AvContent::getParentalRating() {
  return _parentalRating;
}
std::vector<Tag*> AvContent::getGenres() {
  return {};
}
bool AvContent::isProtected() {
  return false;
}

bool AvContent::isPlayable() {
  const std::lock_guard lock(_store);
  return _playable;
}

void AvContent::setPlayable(bool playable) {
  const std::lock_guard lock(_store);
  _playable = playable;
}

AvContent::StreamType AvContent::getStreamType() {
  return _streamType;
}
std::string AvContent::getLogoUri() {
  return {};
}

bool AvContent::isFavorite() {
  const std::lock_guard lock(_store);
  return _favorite;
}

void AvContent::setFavorite(bool favorite, long) {
  const std::lock_guard lock(_store);
  _favorite = favorite;
}

bool AvContent::isBlockedByParentalControl() {
  const auto limit = host::parentalLimit();  // first: reading a rating may ask the middleware
  if (!limit) return false;
  const ParentalRating* const rating = getParentalRating();
  return rating && rating->getValue() > *limit;
}

bool AvContent::isPlaying() const {
  const std::lock_guard lock(_store);
  return _playing;
}

void AvContent::setPlaying(bool playing) {
  const std::lock_guard lock(_store);
  _playing = playing;
}

int AvContent::getDuration() const {
  return getIntProperty("duration");
}
int AvContent::getChannelNumber() const {
  return getIntProperty("channelnumber");
}

void AvContent::addTag(Tag* tag) {
  if (!tag) return;
  const std::lock_guard lock(_store);
  if (std::find(_tags.begin(), _tags.end(), tag) == _tags.end()) _tags.push_back(tag);
}

void AvContent::removeTag(Tag* tag) {
  const std::lock_guard lock(_store);
  std::erase(_tags, tag);
}

bool AvContent::hasTag(Tag* tag) const {
  const std::lock_guard lock(_store);
  return std::find(_tags.begin(), _tags.end(), tag) != _tags.end();
}

bool AvContent::hasTag(const std::string& id) const {
  const std::lock_guard lock(_store);
  return std::any_of(_tags.begin(), _tags.end(), [&](const Tag* tag) { return tag->getId() == id; });
}

std::vector<Tag*> AvContent::getTags() const {
  const std::lock_guard lock(_store);
  return _tags;
}

// What the user and parental control do to a player meanwhile: volume, position, languages, blocking. Its life, start,
// stop and changed feeds are in BroadcastPlayer.cpp.
#include "BroadcastPlayer.h"
#include "ServiceImpl.h"
#include "guide/EsgAttributes.h"
#include "playback/FeedChooser.h"
#include "playback/SharedVolume.h"
#include "support/Log.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLAYER"), "plugins/dvbt/src/BroadcastPlayer"};

const std::string PARENTAL_CONTROL_ENABLED = "velmora.option.parentalcontrol.enabled.id";

}  // namespace

void BroadcastPlayer::setCanvas(Canvas* canvas) {
  _canvas = canvas;
  if (_handle == nullptr) {
    BC_ERR(LOG, "ERROR in BroadcastPlayer. durixPlayer handle NULL");
  } else if (canvas != nullptr) {
    canvas->getWindowId();  // asked and not used: the picture stays in the window of the creation
  }
}

Canvas* BroadcastPlayer::getCanvas() {
  return _canvas;
}

bool BroadcastPlayer::pause(bool on) {
  BC_INFO(LOG, "BroadcastPlayer::pause()");
  const durix_return_code code = durix_player_pause(_handle, on);
  if (code == DURIX_OK) return true;
  BC_ERR(LOG, "durix_player_pause Failed, return_code = %u", code);
  return false;
}

void BroadcastPlayer::seek(unsigned position) {
  const durix_return_code code = durix_player_seek(_handle, position);
  if (code != DURIX_OK) BC_ERR(LOG, "durix_player_seek Failed, return_code = %u", code);
}

unsigned BroadcastPlayer::getCurrentPos() {
  std::uint32_t position = 0;
  const durix_return_code code = durix_player_get_position(_handle, &position);
  if (code == DURIX_OK) {
    _lastPosition = position;
  } else {
    BC_ERR(LOG, "durix_player_get_position Failed, return_code = %u", code);
  }
  return _lastPosition;
}

unsigned BroadcastPlayer::getBufferBegin() {
  return 0;
}

unsigned BroadcastPlayer::getBufferEnd() {
  std::uint32_t duration = 0;
  const durix_return_code code = durix_player_get_duration(_handle, &duration);
  if (code != DURIX_OK) {
    BC_ERR(LOG, "durix_player_get_duration Failed, return_code = %u", code);
    return _lastBufferEnd;
  }
  const auto margin = static_cast<unsigned>(_bufferEndMargin);
  _lastBufferEnd = duration > margin ? duration - margin : 0;
  return duration;
}

unsigned BroadcastPlayer::getDuration() {
  return _duration != 0 ? _duration : getBufferEnd();
}

bool BroadcastPlayer::setSize(unsigned width, unsigned height) {
  const durix_return_code code = durix_player_size_set(_handle, width, height);
  if (code != DURIX_OK) {
    BC_ERR(LOG, "durix_player_size_set Failed, return_code = %u", code);
    return false;
  }
  _width = width;
  _height = height;
  return true;
}

bool BroadcastPlayer::setMute(bool mute) {
  shared_volume::storeMute(mute);
  const durix_return_code code = durix_player_volume_set(_handle, mute ? 0 : shared_volume::volume());
  if (code == DURIX_OK) return true;
  BC_ERR(LOG, "Mute: durix_player_volume_set(0) Failed, return_code = %u", code);
  return false;
}

bool BroadcastPlayer::isMuted() {
  return shared_volume::isMuted();
}

bool BroadcastPlayer::setVolume(unsigned char volume) {
  shared_volume::storeVolume(volume);
  if (!shared_volume::isMuted()) {
    const durix_return_code code = durix_player_volume_set(_handle, volume);
    if (code != DURIX_OK) {
      BC_ERR(LOG, "durix_player_volume_set Failed, return_code = %u", code);
      return false;
    }
  }
  _volume = volume;
  shared_volume::setVolume(volume);
  return true;
}

unsigned char BroadcastPlayer::getVolume() {
  return _volume;
}

std::string BroadcastPlayer::preferredAudioLanguage() {
  const Lock lock(_lock);
  return _plugin == nullptr ? std::string() : _plugin->getPreferredAudioLanguage();
}

std::string BroadcastPlayer::preferredSubtitleLanguage() {
  const Lock lock(_lock);
  return _plugin == nullptr ? std::string() : _plugin->getPreferredSubtitleLanguage();
}

std::uint32_t BroadcastPlayer::getPreferredAudioType() {
  const Lock lock(_lock);
  const bool multichannel = _plugin != nullptr && _plugin->isPreferredAudioTypeMultiChannel();
  return multichannel ? std::uint32_t{DURIX_FEED_CONTENT_AC3} : std::uint32_t{DURIX_FEED_CONTENT_ANY};
}

std::vector<std::string> BroadcastPlayer::getAudioLanguages() {
  std::vector<std::string> languages;
  for (const durix_esg_object& feed : contentFeeds()) {
    const std::uint32_t type = feed_chooser::typeOf(feed);
    if (type != DURIX_FEED_AUDIO && type != DURIX_FEED_AUDIO_SECOND) continue;
    languages.push_back(feed_chooser::shownAudioLanguage(feed));
    BC_INFO(LOG, "Audio Feed found, language = %s", languages.back().c_str());
  }
  return languages;
}

std::vector<std::string> BroadcastPlayer::getSubtitleLanguages() {
  std::vector<std::string> languages;
  for (const durix_esg_object& feed : contentFeeds()) {
    const std::uint32_t type = feed_chooser::typeOf(feed);
    if (type != DURIX_FEED_SUBTITLES && type != DURIX_FEED_SUBTITLES_SECOND && type != DURIX_FEED_SUBTITLES_THIRD &&
        type != DURIX_FEED_SUBTITLES_FOURTH) {
      continue;
    }
    languages.push_back(getStringAttribute(&feed, DURIX_ATTRIBUTE_LANGUAGE));
    BC_INFO(LOG, "Subtitle Feed found, language = %s", languages.back().c_str());
  }
  return languages;
}

std::string BroadcastPlayer::getSelectedAudioLanguage() {
  const Lock lock(_lock);
  return _selectedAudioLanguage;
}

std::string BroadcastPlayer::getSelectedSubtitleLanguage() {
  const Lock lock(_lock);
  return _selectedSubtitleLanguage;
}

/// The feed type for the content: live for services and programmes, recorded for recordings, 0 for anything else.
std::uint32_t BroadcastPlayer::feedTypeFor(std::uint32_t live, std::uint32_t recorded) {
  switch (_content->getAvType()) {
    case AvContent::AV_SERVICE:
    case AvContent::AV_PROGRAM:
      return live;
    case AvContent::AV_RECORDING:
      return recorded;
    default:
      return 0;
  }
}

void BroadcastPlayer::changeAudioLanguage(std::string language) {
  const Lock lock(_lock);
  BC_INFO(LOG, "BroadcastPlayer::changeAudioLanguage: %s", language.c_str());
  if (_content == nullptr || !_started) return;
  const feed_chooser::AudioWish wish = feed_chooser::audioWish(language);
  const std::uint32_t type = feedTypeFor(DURIX_FEED_AUDIO, DURIX_FEED_AUDIO_SECOND);
  const durix_esg_object feed =
      type == 0 ? durix_esg_object{}
                : feed_chooser::findFeedType(feed_chooser::feedsOf(_content), type, wish.language, wish.contentType);
  if (feed_chooser::isEmpty(feed)) {
    BC_ERR(LOG, "No audio feed found!");
    return;
  }
  BC_INFO(LOG, "removing audioFeed");
  removeFeed(&_feeds.audio);
  BC_INFO(LOG, "adding audioFeed");
  if (addFeed(&_feeds.audio, feed)) _selectedAudioLanguage = feed_chooser::shownAudioLanguage(feed);
}

/// Removes the slot's feed, an empty one too; what could not be removed stays in the slot.
bool BroadcastPlayer::removeFeed(durix_esg_object* slot) {
  const durix_return_code code = durix_player_feed_remove(_handle, slot);
  if (code != DURIX_OK) {
    BC_ERR(LOG, "durix_player_feed_remove Failed return_code = %u", code);
    return false;
  }
  *slot = {};
  return true;
}

bool BroadcastPlayer::addFeed(durix_esg_object* slot, const durix_esg_object& feed) {
  const durix_return_code code = durix_player_feed_add(_handle, &feed);
  if (code != DURIX_OK) {
    BC_ERR(LOG, "durix_player_feed_add Failed return_code = %u", code);
    return false;
  }
  *slot = feed;
  return true;
}

durix_esg_object BroadcastPlayer::findSubtitles(const std::string& language) {
  const std::uint32_t type = feedTypeFor(DURIX_FEED_SUBTITLES, DURIX_FEED_SUBTITLES_SECOND);
  if (type == 0) return {};
  return feed_chooser::findFeedType(feed_chooser::feedsOf(_content), type, language, DURIX_FEED_CONTENT_ANY);
}

void BroadcastPlayer::changeSubtitleLanguage(std::string language) {
  const Lock lock(_lock);
  BC_INFO(LOG, "BroadcastPlayer::changeSubtitleLanguage: %s", language.c_str());
  if (_content == nullptr || !_started) return;
  const durix_esg_object feed = findSubtitles(language);
  if (feed_chooser::isEmpty(feed)) {
    BC_ERR(LOG, "No subtitle feed found!");
    return;
  }
  BC_INFO(LOG, "removing subtitleFeed");
  removeFeed(&_feeds.subtitle);
  BC_INFO(LOG, "adding subtitleFeed");
  if (addFeed(&_feeds.subtitle, feed)) {
    _selectedSubtitleLanguage = getStringAttribute(&feed, DURIX_ATTRIBUTE_LANGUAGE);
  }
}

void BroadcastPlayer::enableSubtitles(bool on) {
  const Lock lock(_lock);
  _subtitlesEnabled = on;
  BC_INFO(LOG, "BroadcastPlayer::enableSubtitles: %d", static_cast<int>(on));
  if (_content == nullptr || !_started) return;
  if (on) {
    const durix_esg_object feed = findSubtitles(preferredSubtitleLanguage());
    if (!feed_chooser::isEmpty(feed)) {
      BC_INFO(LOG, "adding subtitlefeed");
      addFeed(&_feeds.subtitle, feed);
      return;
    }
    BC_ERR(LOG, "No subtitle feed found!");
  } else {
    if (!feed_chooser::isEmpty(_feeds.subtitle)) {
      BC_INFO(LOG, "removing subtitlefeed");
      removeFeed(&_feeds.subtitle);
      return;
    }
    BC_ERR(LOG, "No active subtitle feed found!");
  }
  _subtitlesEnabled = false;
  _feeds.subtitle = {};
}

void BroadcastPlayer::handleImageReceived(FFPic* picture) {
  for (PlayerListener* const listener : _imageListeners) listener->imageReceived(picture);
}

void BroadcastPlayer::imageReceivedEvent(void* picture, void* user) {
  if (user != nullptr) static_cast<BroadcastPlayer*>(user)->handleImageReceived(static_cast<FFPic*>(picture));
}

void BroadcastPlayer::optionChanged(Option* option) {
  if (option == nullptr || option->getId() != PARENTAL_CONTROL || _parentalOption == nullptr) return;
  for (const Option* const member : _parentalOption->getOptions()) {
    bool enabled = false;
    if (member->getId() == PARENTAL_CONTROL_ENABLED && member->getValue(&enabled)) parentalControlChanged(enabled);
  }
}

void BroadcastPlayer::parentalControlChanged(bool enabled) {
  BroadcastPlugin* plugin = nullptr;
  Service* service = nullptr;
  Program* program = nullptr;
  {
    const Lock lock(_lock);
    plugin = _plugin;
    if (auto* const ownService = dynamic_cast<ServiceImpl*>(_content)) {
      service = ownService;
      program = ownService->getCurrentProgram();
    } else if (auto* const ownProgram = dynamic_cast<Program*>(_content)) {
      program = ownProgram;
      service = ownProgram->getService();
    }
  }
  if (program == nullptr) return;
  if (enabled) {
    notifyProgramStarted(plugin, service, program);
  } else {
    notifyProgramEnded(plugin, service, program);
  }
}

void BroadcastPlayer::notifyProgramStarted(Plugin* /*plugin*/, Service* service, Program* program) {
  {
    const Lock lock(_lock);
    if (service == nullptr || service != _content || !program->isBlockedByParentalControl()) return;
  }
  PlayerListener* const listener = _listener;
  _blocked = true;
  BC_WARN(LOG, "BroadcastPlayer detected ParentalControl!");
  BC_WARN(LOG, "BroadcastPlayer stopping playback based on ParentalControl!");
  stop();
  if (listener == nullptr) return;
  BC_WARN(LOG, "BroadcastPlayer call PlayerListener.playerBlocked() by parental control");
  listener->playerBlocked();  // last: the host may delete this player in the call
}

void BroadcastPlayer::notifyProgramEnded(Plugin* /*plugin*/, Service* service, Program* /*program*/) {
  {
    const Lock lock(_lock);
    if (service == nullptr || service != _content) {
      BC_INFO(LOG, "notifyProgramEnded() , was not for this service we are playing here ");
      return;
    }
    auto* const own = dynamic_cast<ServiceImpl*>(service);
    Program* const next = own == nullptr ? nullptr : own->getNextProgram();
    if (next == nullptr) {
      BC_WARN(LOG, "Could not find the next program");
      return;
    }
    if (next->isBlockedByParentalControl() || !_blocked) return;
  }
  BC_INFO(LOG, "true, notifyProgramEnded() , next program is not blocked and block is enabled");
  _blocked = false;
  if (_listener != nullptr) _listener->playerUnblocked();  // playback is the host's to start again
}

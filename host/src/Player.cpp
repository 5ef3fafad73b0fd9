#include "velmora/Player.h"

PlayerListener::~PlayerListener() = default;
Canvas::~Canvas() = default;

Player::Player() = default;
Player::~Player() = default;

void Player::timerExpired(VmTimer*, void*) {}
int Player::getType() {
  return 0;
}
void Player::setCanvas(Canvas* canvas) {
  _canvas = canvas;
}
Canvas* Player::getCanvas() {
  return _canvas;
}
bool Player::play() {
  return start(false);
}
std::vector<std::string> Player::getAudioLanguages() {
  return {};
}
std::vector<std::string> Player::getSubtitleLanguages() {
  return {};
}
std::string Player::getSelectedAudioLanguage() {
  return _selectedAudioLanguage;
}
std::string Player::getSelectedSubtitleLanguage() {
  return _selectedSubtitleLanguage;
}
void Player::seek(unsigned) {}
void Player::drag(unsigned) {}
unsigned Player::getDuration() {
  return 0;
}
unsigned Player::getCurrentPos() {
  return 0;
}

double Player::getProgressRatio() {
  const unsigned duration = getDuration();
  return duration ? static_cast<double>(getCurrentPos()) / duration : 0.0;
}

unsigned Player::bytesTotal() {
  return 0;
}
unsigned Player::bytesLoaded() {
  return 0;
}
unsigned Player::bytesStart() {
  return 0;
}
unsigned Player::getBufferBegin() {
  return 0;
}
unsigned Player::getBufferEnd() {
  return 0;
}
bool Player::setTeletextPage(unsigned, unsigned) {
  return false;
}
bool Player::changeTeletextPage(VmTeletextPageCmd) {
  return false;
}
AvContent* Player::getContent() {
  return _content;
}
// NOLINTBEGIN(performance-unnecessary-value-param): the contract passes these by value
void Player::changeAudioLanguage(std::string) {}
void Player::changeSubtitleLanguage(std::string) {}
// NOLINTEND(performance-unnecessary-value-param)

#include "playback/SharedVolume.h"

#include <atomic>
#include <string>

#include "support/Text.h"
#include "velmora/Velmora.h"

namespace shared_volume {
namespace {

const std::string PLAYER_MUTE = "system.player_mute";
const std::string PLAYER_VOLUME = "system.player_volume";
constexpr unsigned char LOUDEST = 100;

std::atomic<unsigned char> _globalVolume = 0;
std::atomic<bool> _globalMute = false;

}  // namespace

bool hostMute() {
  return Velmora::getInstance()->getProperty(PLAYER_MUTE) == "true";
}

unsigned char hostVolume() {
  return static_cast<unsigned char>(decimalValue(Velmora::getInstance()->getProperty(PLAYER_VOLUME)));
}

bool isMuted() {
  return _globalMute;
}
unsigned char volume() {
  return _globalVolume;
}
void setVolume(unsigned char volume) {
  _globalVolume = volume;
}

void storeMute(bool mute) {
  _globalMute = mute;
  Velmora::getInstance()->setProperty(PLAYER_MUTE, mute ? "true" : "false");
}

void storeVolume(unsigned char volume) {
  Velmora::getInstance()->setProperty(PLAYER_VOLUME, volume <= LOUDEST ? std::to_string(volume) : std::string());
}

}  // namespace shared_volume

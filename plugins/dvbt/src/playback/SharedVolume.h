#pragma once

/// Volume (0 to 100) and mute that all players share, kept in the host properties "system.player_volume" and
/// "system.player_mute".
namespace shared_volume {

/// As the host properties say; a volume that is not a number is 0.
bool hostMute();
unsigned char hostVolume();

// As the players last set them.
bool isMuted();
unsigned char volume();
void setVolume(unsigned char volume);

/// These write the host property too; a volume above 100 is written as an empty text.
void storeMute(bool mute);
void storeVolume(unsigned char volume);

}  // namespace shared_volume

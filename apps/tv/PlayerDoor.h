#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "middleware/durix_tools.h"

namespace tv {

class PluginLibrary;

/// What the embedded middleware tells of one player beyond its contract; nothing with another middleware.
class PlayerDoor {
 public:
  /// `player` is the listener that the player was made with.
  PlayerDoor(const PluginLibrary& library, const void* player);

  bool available() const { return _state != nullptr && _picture != nullptr && _save != nullptr; }

  struct Track {
    unsigned type = 0;  // DURIX_FEED_VIDEO, DURIX_FEED_AUDIO or DURIX_FEED_SUBTITLES
    unsigned pid = 0;
    std::string codec, language;
  };
  struct State {
    std::string failure;  // empty when it did not fail
    unsigned width = 0, height = 0;
    std::uint64_t dropped = 0;  // bytes
    std::vector<Track> tracks;
  };
  std::optional<State> state() const;

  /// Writes what is shown now as a PNG; false when nothing is shown. Throws Failure when it cannot be written.
  bool writePicture(const std::string& path) const;

  /// The stream as it is played goes into a file. Throws Failure.
  void beginSaving(const std::string& path) const;
  void endSaving() const;

 private:
  const void* const _player;
  durix_return_code (*_state)(const void*, durix_tools_player_handler, void*) = nullptr;
  durix_return_code (*_picture)(const void*, durix_tools_picture_handler, void*) = nullptr;
  durix_return_code (*_save)(const void*, const char*) = nullptr;
};

}  // namespace tv

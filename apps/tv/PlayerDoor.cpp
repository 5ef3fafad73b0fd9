#include "PlayerDoor.h"

#include <exception>

#include "Failure.h"
#include "PictureFile.h"
#include "PluginLibrary.h"

namespace tv {
namespace {

// Called by the middleware: nothing may be thrown, and only memory could run out.
void takeState(const durix_tools_player_state* told, void* user) noexcept {
  auto& state = *static_cast<PlayerDoor::State*>(user);
  state = {told->failure, told->width, told->height, told->dropped, {}};
  for (std::uint32_t i = 0; i < told->track_count; ++i) {
    const durix_tools_track& track = told->tracks[i];
    state.tracks.push_back({track.type, track.pid, track.codec, track.language});
  }
}

struct Writing {
  const std::string& path;
  std::exception_ptr failure;
};

void writeShown(const durix_tools_picture* shown, void* user) noexcept {
  auto& writing = *static_cast<Writing*>(user);
  constexpr std::uint32_t PIXEL = 4;
  try {
    writePng({shown->width, shown->height, shown->width * PIXEL, shown->rgba}, writing.path);
  } catch (...) {
    writing.failure = std::current_exception();
  }
}

}  // namespace

PlayerDoor::PlayerDoor(const PluginLibrary& library, const void* player)
    : _player(player),
      _state(library.find<durix_return_code(const void*, durix_tools_player_handler, void*)>("durix_tools_player")),
      _picture(library.find<durix_return_code(const void*, durix_tools_picture_handler, void*)>(
          "durix_tools_player_picture")),
      _save(library.find<durix_return_code(const void*, const char*)>("durix_tools_player_save")) {}

std::optional<PlayerDoor::State> PlayerDoor::state() const {
  State state;
  if (_state == nullptr || _state(_player, takeState, &state) != DURIX_OK) return std::nullopt;
  return state;
}

bool PlayerDoor::writePicture(const std::string& path) const {
  Writing writing{path, nullptr};
  if (_picture == nullptr || _picture(_player, writeShown, &writing) != DURIX_OK) return false;
  if (writing.failure != nullptr) std::rethrow_exception(writing.failure);
  return true;
}

void PlayerDoor::beginSaving(const std::string& path) const {
  if (_save == nullptr || _save(_player, path.c_str()) != DURIX_OK) throw Failure("cannot write \"" + path + "\"");
}

void PlayerDoor::endSaving() const {
  if (_save != nullptr && _save(_player, nullptr) != DURIX_OK) {
    throw Failure("the stream could not be saved to its end");
  }
}

}  // namespace tv

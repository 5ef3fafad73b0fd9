// libdurix_player: its part of the side door.

#include <vector>

#include "middleware/api/Guard.h"
#include "middleware/api/Instance.h"
#include "middleware/durix_tools.h"
#include "middleware/player/Players.h"
#include "middleware/player/VideoPlayer.h"

using durix::Code;
using durix::Failure;
using durix::guarded;
using durix::VideoPlayer;

namespace {

constexpr std::chrono::seconds PICTURE_LIMIT{3};

std::shared_ptr<VideoPlayer> playerOf(const void* user) {
  const auto instance = durix::Instance::current();
  std::shared_ptr<VideoPlayer> last;
  for (const auto& owned : durix::players().all()) {
    if (owned->user != user || owned->instance.lock() != instance) continue;
    if (auto video = std::dynamic_pointer_cast<VideoPlayer>(owned->player)) last = std::move(video);
  }
  if (last == nullptr) throw Failure(Code::UnknownObject);
  return last;
}

const char* nameOf(durix::StreamKind kind) {
  using durix::StreamKind;
  switch (kind) {
    case StreamKind::Mpeg1Video:
      return "mpeg1";
    case StreamKind::Mpeg2Video:
      return "mpeg2";
    case StreamKind::Mpeg4Video:
      return "mpeg4";
    case StreamKind::H264:
      return "h264";
    case StreamKind::Hevc:
      return "hevc";
    case StreamKind::Vvc:
      return "vvc";
    case StreamKind::Mpeg1Audio:
    case StreamKind::Mpeg2Audio:
      return "mpeg audio";
    case StreamKind::AacAdts:
    case StreamKind::AacLatm:
      return "aac";
    case StreamKind::Ac3:
      return "ac3";
    case StreamKind::Eac3:
      return "eac3";
    case StreamKind::Ac4:
      return "ac4";
    case StreamKind::Dts:
      return "dts";
    case StreamKind::Teletext:
      return "teletext";
    case StreamKind::DvbSubtitle:
      return "dvb subtitles";
    case StreamKind::Data:
      break;
  }
  return "";
}

}  // namespace

extern "C" {

durix_return_code durix_tools_player(const void* player, durix_tools_player_handler handler, void* user) {
  return guarded([&] {
    const auto video = playerOf(player);
    if (handler == nullptr) throw Failure(Code::InvalidArgument);
    const auto run = video->playback();
    const auto report = run == nullptr ? durix::Playback::Report{} : run->report();
    std::vector<durix_tools_track> tracks;
    tracks.reserve(report.tracks.size());
    for (const auto& track : report.tracks) {
      tracks.push_back({static_cast<std::uint32_t>(track.type), track.pid, nameOf(track.kind), track.language.c_str()});
    }
    const durix_tools_player_state state{.started = static_cast<std::uint8_t>(report.isStarted),
                                         .failure = report.failure.c_str(),
                                         .width = report.width,
                                         .height = report.height,
                                         .dropped = report.dropped,
                                         .tracks = tracks.data(),
                                         .track_count = static_cast<std::uint32_t>(tracks.size())};
    handler(&state, user);
  });
}

durix_return_code durix_tools_player_picture(const void* player, durix_tools_picture_handler handler, void* user) {
  return guarded([&] {
    const auto run = playerOf(player)->playback();
    if (handler == nullptr) throw Failure(Code::InvalidArgument);
    const auto picture = run == nullptr ? std::nullopt : run->picture(PICTURE_LIMIT);
    if (!picture) throw Failure(Code::Failed);
    const durix_tools_picture shown{picture->width, picture->height, picture->pixels.data()};
    handler(&shown, user);
  });
}

durix_return_code durix_tools_player_save(const void* player, const char* file) {
  return guarded([&] {
    const auto video = playerOf(player);
    if (file == nullptr) return video->copy().end();
    video->copy().begin(file);
  });
}
}

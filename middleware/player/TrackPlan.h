#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "middleware/player/Player.h"
#include "middleware/si/Program.h"
#include "middleware/si/ProgramStream.h"

namespace durix {

/// What of a programme is played.
struct PlayedTrack {
  std::int32_t type = 0;  // DURIX_FEED_VIDEO, DURIX_FEED_AUDIO or DURIX_FEED_SUBTITLES
  std::uint16_t pid = 0;  // in the multiplex
  StreamKind kind = StreamKind::Data;
  std::string language{};
  std::uint16_t page = 0;  // of subtitles
};

/// A stream for the decoder: one video, one sound and one subtitle component at the most, each under a PID that is the
/// same whatever the broadcaster's is.
struct TrackPlan {
  ProgramStream::Contents contents{};
  std::vector<PlayedTrack> tracks{};
  bool hasAll = true;   // every feed is in the programme as it is now
  std::string shape{};  // the decoder goes on undisturbed from one plan to another of the same shape

  const PlayedTrack* find(std::int32_t type) const;
};

/// The feed of the subtitles that are played; null without.
const Feed* subtitlesOf(std::span<const ChosenFeed> feeds);

/// Of several feeds of a type the one that was added last is played. Components of several languages are announced with
/// the chosen one alone.
TrackPlan planTracks(const Program& program, std::span<const ChosenFeed> feeds);

}  // namespace durix

#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>

#include "middleware/recordings/RecordingIndex.h"

namespace durix {

class Recordings;

/// Brings the stream of a recording that nobody writes and its index to the same end, whichever of them is behind, torn
/// or missing. Nothing when there is no stream to be read.
struct Settled {
  IndexEntry end;
  std::uint64_t errors = 0;  // that were not known before
  bool isAnew = false;       // nothing was
};
std::optional<Settled> settle(const std::filesystem::path& recording);

/// After a run that may have died: what was being deleted goes, recordings that were being written are cut to whole
/// packets and get their end from the stream, and those whose timer is over are finished. No partial recording is ever
/// deleted. What is left of time shifts goes.
void repairRecordings(Recordings& recordings, std::int64_t now);

/// Makes indexes and descriptions of finished recordings anew, from the stream and the store, where they have been lost
/// or do not fit any more.
void restoreCompanions(Recordings& recordings, const std::stop_token& stop);

}  // namespace durix

#include "middleware/recorder/Repair.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "middleware/portability/Files.h"
#include "middleware/portability/Log.h"
#include "middleware/recorder/CleanEnd.h"
#include "middleware/recorder/RecordingPlace.h"
#include "middleware/recordings/RecordingIndex.h"
#include "middleware/recordings/Recordings.h"

namespace durix {
namespace {

constexpr std::int64_t MILLISECONDS = 1000;

bool isWanted(const Recordings& recordings, std::uint32_t id, std::int64_t now) {
  const auto timers = recordings.timers();
  return std::ranges::any_of(timers, [&](const Timer& timer) { return timer.recording == id && timer.end > now; });
}

void repair(Recordings& recordings, const Recording& recording, std::int64_t now) {
  const auto file = resolved(recording.file);
  const auto settled = settle(file);
  if (!settled) logLine("recorder: recording " + std::to_string(recording.id) + " is not there: " + file.string());
  const bool goesOn = isWanted(recordings, recording.id, now);
  recordings.changeRecording(recording.id, [&](Recording& row) {
    if (!goesOn) row.state = Recording::State::Finished;
    if (!settled) return;
    row.errors = settled->errors + (settled->isAnew ? 0 : row.errors);
    const auto seconds = static_cast<std::int64_t>(settled->end.milliseconds) / MILLISECONDS;
    row.end = std::min(row.end, row.start + seconds);
  });
  if (settled) describe(*recordings.recording(recording.id), settled->end.offset);
}

}  // namespace

std::optional<Settled> settle(const std::filesystem::path& file) {
  std::error_code error;
  const std::uint64_t size = std::filesystem::file_size(file, error);
  if (error) return std::nullopt;
  auto entries = readIndex(indexOf(file)).value_or(std::vector<IndexEntry>{});
  if (!entries.empty() && entries.back().offset == size && size % PACKET_SIZE == 0) return Settled{entries.back()};
  if (size % PACKET_SIZE != 0) std::filesystem::resize_file(file, size - size % PACKET_SIZE, error);
  cutIncompleteUnits(file);
  const auto fitted = fit(std::move(entries), file);
  if (!fitted) return std::nullopt;
  writeIndex(indexOf(file), fitted->entries);  // where it cannot be, readers make their own
  return Settled{fitted->entries.back(), fitted->errors, fitted->isAnew};
}

void repairRecordings(Recordings& recordings, std::int64_t now) {
  for (const Recording& recording : recordings.unfinished()) {
    if (recording.state == Recording::State::Running) {
      repair(recordings, recording, now);
    } else if (removeFiles(resolved(recording.file))) {
      recordings.removeRecording(recording.id);
    }
  }
  std::error_code error;
  std::filesystem::remove_all(resolved("timeshift"), error);
}

void restoreCompanions(Recordings& recordings, const std::stop_token& stop) {
  for (const Recording& recording : recordings.recordings()) {
    if (stop.stop_requested()) return;
    if (recording.state != Recording::State::Finished) continue;
    const auto file = resolved(recording.file);
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(file, error);
    if (error) continue;
    auto entries = readIndex(indexOf(file)).value_or(std::vector<IndexEntry>{});
    if (entries.empty() || entries.back().offset != size - size % PACKET_SIZE) {
      if (const auto fitted = fit(std::move(entries), file, stop)) writeIndex(indexOf(file), fitted->entries);
    }
    describe(recording, size);
  }
}

}  // namespace durix

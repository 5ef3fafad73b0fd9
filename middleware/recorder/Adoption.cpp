#include "middleware/recorder/Adoption.h"

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <system_error>

#include "middleware/portability/Files.h"
#include "middleware/portability/Log.h"
#include "middleware/recorder/RecordingPlace.h"
#include "middleware/recordings/RecordingIndex.h"
#include "middleware/recordings/Recordings.h"

namespace durix {
namespace {

// Nothing when it is no description, or not of a recording of this middleware.
std::optional<Recording> describedBy(const std::filesystem::path& description) {
  std::ifstream stream(description);
  const auto json = nlohmann::json::parse(stream, nullptr, false);
  if (!json.is_object()) return std::nullopt;
  try {
    Recording recording;
    recording.texts.name = json.at("title").get<std::string>();
    recording.texts.description = json.at("description").get<std::string>();
    recording.texts.age = json.at("rating").get<std::uint8_t>();
    recording.service.name = json.at("channel").get<std::string>();
    recording.service.originalNetworkId = json.at("originalNetwork").get<std::uint16_t>();
    recording.service.transportStreamId = json.at("transportStream").get<std::uint16_t>();
    recording.service.serviceId = json.at("service").get<std::uint16_t>();
    recording.start = json.at("startTime").get<std::int64_t>();
    recording.end = json.at("endTime").get<std::int64_t>();
    return recording;
  } catch (const nlohmann::json::exception&) {
    return std::nullopt;
  }
}

}  // namespace

void adoptRecordings(Recordings& recordings) {
  std::set<std::filesystem::path> known;
  for (const auto& recording : recordings.recordings()) known.insert(resolved(recording.file));
  for (const auto& recording : recordings.unfinished()) known.insert(resolved(recording.file));
  std::error_code error;
  for (std::filesystem::directory_iterator entry(resolved("recordings"), error), end; !error && entry != end;
       entry.increment(error)) {
    const auto& file = entry->path();
    if (file.extension() != ".ts" || known.contains(file)) continue;
    auto recording = describedBy(descriptionOf(file));
    if (!recording) continue;
    const auto id = recordings.begin(0, std::move(*recording), [&](std::uint32_t) { return keptPath(file); });
    logLine("recorder: recording " + std::to_string(id) + " is found again: " + file.string());
  }
}

}  // namespace durix

#include "middleware/recorder/RecordingPlace.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "middleware/api/EventAttributes.h"
#include "middleware/portability/Files.h"
#include "middleware/portability/Text.h"
#include "middleware/recordings/RecordingIndex.h"
#include "middleware/store/Store.h"

namespace durix {
namespace {

constexpr std::size_t LONGEST_TITLE = 120;          // bytes
constexpr std::uint64_t TELEVISION_RATE = 500'000;  // bytes a second: in between what standard and high definition take
constexpr std::uint64_t RADIO_RATE = 32'000;

std::filesystem::path made(const std::filesystem::path& directory) {
  std::error_code error;
  std::filesystem::create_directories(directory, error);
  return directory;
}

std::string legalTitle(const std::string& title) {
  std::string name;
  for (const char character : title) {
    const auto byte = static_cast<unsigned char>(character);
    const bool isLegal =
        byte >= 0x20 && byte != 0x7F && std::string_view("/\\:*?\"<>|").find(character) == std::string::npos;
    name += isLegal ? character : '_';
  }
  name = cutAtCharacter(name, LONGEST_TITLE);
  while (!name.empty() && (name.back() == '.' || name.back() == ' ')) name.pop_back();
  return name;
}

}  // namespace

std::filesystem::path recordingsDirectory(Store& store) {
  const std::string wanted = store.property(DURIX_PROPERTY_RECORDINGS_DIRECTORY).value_or("");
  return wanted.empty() ? made(resolved("recordings")) : resolved(wanted);
}

std::filesystem::path timeShiftDirectory() {
  return made(resolved("timeshift"));
}

std::filesystem::path newRecordingFile(const std::filesystem::path& directory, std::uint32_t id,
                                       const std::string& title) {
  const std::string name = legalTitle(title);
  const std::string base = std::to_string(id) + (name.empty() ? "" : " " + name);
  auto file = directory / (base + ".ts");
  std::error_code error;
  for (int i = 2; std::filesystem::exists(file, error); ++i)
    file = directory / (base + " " + std::to_string(i) + ".ts");
  return file;
}

std::filesystem::path keptPath(const std::filesystem::path& file) {
  const auto relative = file.lexically_relative(resolved(""));
  const bool isInside = !relative.empty() && *relative.begin() != "..";
  return isInside ? relative : file;
}

std::uint64_t freeBytes(const std::filesystem::path& directory) {
  struct statvfs state {};
  if (::statvfs(directory.c_str(), &state) != 0) return 0;
  return static_cast<std::uint64_t>(state.f_bavail) * state.f_frsize;
}

std::uint64_t estimatedBytes(const StoredService& service, std::int64_t seconds) {
  const std::uint64_t rate = service.kind == ServiceKind::Radio ? RADIO_RATE : TELEVISION_RATE;
  return rate * static_cast<std::uint64_t>(std::max<std::int64_t>(seconds, 0));
}

bool describe(const Recording& recording, std::uint64_t bytes) {
  const bool isRunning = recording.state == Recording::State::Running;
  const nlohmann::ordered_json description{{"id", recording.id},
                                           {"title", recording.texts.name},
                                           {"description", recording.texts.description},
                                           {"rating", recording.texts.age},
                                           {"channel", recording.service.name},
                                           {"originalNetwork", recording.service.originalNetworkId},
                                           {"transportStream", recording.service.transportStreamId},
                                           {"service", recording.service.serviceId},
                                           {"start", timeText(recording.start) + "Z"},
                                           {"end", timeText(recording.end) + "Z"},
                                           {"startTime", recording.start},
                                           {"endTime", recording.end},
                                           {"state", isRunning ? "recording" : "finished"},
                                           {"errors", recording.errors},
                                           {"bytes", bytes}};
  const std::string text = description.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
  const auto file = descriptionOf(resolved(recording.file));
  std::string known(text.size() + 1, '\0');
  std::ifstream there(file);
  there.read(known.data(), static_cast<std::streamsize>(known.size()));
  if (std::string_view(known).substr(0, static_cast<std::size_t>(there.gcount())) == text) return true;
  auto unfinished = file;
  unfinished += ".new";
  {
    std::ofstream stream(unfinished, std::ios::trunc);
    stream << text;
    if (!stream.flush()) return false;
  }
  std::error_code error;
  std::filesystem::rename(unfinished, file, error);
  return !error;
}

bool removeFiles(const std::filesystem::path& file) {
  std::error_code error;
  if (!std::filesystem::is_directory(file.parent_path(), error)) return false;
  std::filesystem::remove(file, error);
  if (error) return false;
  std::filesystem::remove(indexOf(file), error);
  std::filesystem::remove(descriptionOf(file), error);
  return true;
}

}  // namespace durix

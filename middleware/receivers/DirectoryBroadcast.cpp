#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <system_error>

#include "middleware/api/Failure.h"
#include "middleware/receivers/Broadcast.h"
#include "middleware/receivers/StreamTime.h"

namespace durix {
namespace {

std::string polarisationLetter(std::int32_t polarisation) {
  constexpr std::string_view LETTERS = "HVLR";
  if (polarisation < 1 || polarisation > 4) return {};
  return {LETTERS[static_cast<std::size_t>(polarisation - 1)]};
}

bool isStream(const std::filesystem::path& file) {
  const std::string stem = file.stem();
  return file.extension() == ".ts" && !stem.empty() && std::isdigit(static_cast<unsigned char>(stem.front())) != 0;
}

// Frequencies in order of their numbers: "474" before "1474".
bool comesBefore(const std::filesystem::path& a, const std::filesystem::path& b) {
  const std::string first = a.stem();
  const std::string second = b.stem();
  return first.size() != second.size() ? first.size() < second.size() : first < second;
}

}  // namespace

std::unique_ptr<ByteSource> DirectoryBroadcast::tune(const durix_scan_frequency& frequency) const {
  const std::string number = std::to_string(frequency.frequency);
  const std::string letter = polarisationLetter(frequency.polarisation);
  for (const std::string& name : {number + letter, number}) {
    const auto file = _settings.directory / (name + ".ts");
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) continue;
    auto source = FileSource::open(file);
    if (source == nullptr) throw Failure(Code::Failed, "cannot read " + file.string());
    return source;
  }
  return nullptr;
}

bool DirectoryBroadcast::isPresent() const {
  std::error_code error;
  return std::filesystem::is_directory(_settings.directory, error) &&
         ::access(_settings.directory.c_str(), R_OK | X_OK) == 0;
}

std::optional<std::int64_t> DirectoryBroadcast::firstTime() const {
  std::optional<std::int64_t> earliestEvent;
  for (const auto& file : streams()) {
    auto source = FileSource::open(file);
    if (source == nullptr) continue;
    const StreamTime time = readStreamTime(std::move(source));
    if (time.told) return time.told;
    if (time.presentStart) earliestEvent = std::min(*time.presentStart, earliestEvent.value_or(*time.presentStart));
  }
  return earliestEvent;
}

std::vector<std::filesystem::path> DirectoryBroadcast::streams() const {
  std::vector<std::filesystem::path> files;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(_settings.directory, error), end; !error && entry != end;
       entry.increment(error)) {
    if (isStream(entry->path())) files.push_back(entry->path());
  }
  std::sort(files.begin(), files.end(), comesBefore);
  return files;
}

}  // namespace durix

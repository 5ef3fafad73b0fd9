#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/receivers/Broadcast.h"

namespace durix {
namespace {

constexpr std::string_view POLARISATIONS = "HVLR";

std::string polarisationLetter(std::int32_t polarisation) {
  if (polarisation < 1 || polarisation > 4) return {};
  return {POLARISATIONS[static_cast<std::size_t>(polarisation - 1)]};
}

// What stands before the polarisation; nothing when the file is none of a frequency.
std::optional<std::uint64_t> frequencyOf(const std::filesystem::path& file) {
  const std::string stem = file.stem();
  std::uint64_t frequency = 0;
  const char* const end = stem.data() + stem.size();
  const auto [rest, error] = std::from_chars(stem.data(), end, frequency);
  const bool isPolarised = end - rest == 1 && POLARISATIONS.find(*rest) != std::string_view::npos;
  if (error != std::errc{} || (rest != end && !isPolarised) || file.extension() != ".ts") return std::nullopt;
  return frequency;
}

}  // namespace

std::unique_ptr<ByteSource> DirectoryBroadcast::tune(const durix_scan_frequency& frequency) const {
  const auto file = fileOf(frequency);
  if (!file) return nullptr;
  auto source = FileSource::open(*file);
  if (source == nullptr) throw Failure(Code::Failed, "cannot read " + file->string());
  return source;
}

std::optional<std::filesystem::path> DirectoryBroadcast::shiftedFile(const durix_scan_frequency& frequency) const {
  return _settings.time == TimeMode::Now ? fileOf(frequency) : std::nullopt;
}

std::string DirectoryBroadcast::revision(const durix_scan_frequency& frequency) const {
  const auto file = fileOf(frequency);
  if (!file) return {};
  std::error_code error;
  const auto size = std::filesystem::file_size(*file, error);
  const auto modified = std::filesystem::last_write_time(*file, error).time_since_epoch().count();
  return file->string() + ' ' + std::to_string(size) + ' ' + std::to_string(modified);
}

std::optional<std::filesystem::path> DirectoryBroadcast::fileOf(const durix_scan_frequency& frequency) const {
  const std::string number = std::to_string(frequency.frequency);
  const std::string letter = polarisationLetter(frequency.polarisation);
  for (const std::string& name : {number + letter, number}) {
    auto file = _settings.directory / (name + ".ts");
    std::error_code error;
    if (std::filesystem::is_regular_file(file, error)) return file;
  }
  return std::nullopt;
}

bool DirectoryBroadcast::isPresent() const {
  std::error_code error;
  return std::filesystem::is_directory(_settings.directory, error) &&
         ::access(_settings.directory.c_str(), R_OK | X_OK) == 0;
}

StreamTime DirectoryBroadcast::firstTime() const {
  StreamTime first;
  for (const auto& file : streams()) {
    first.addLater(readStreamTime(file));
    if (first.told) break;
  }
  return first;
}

std::vector<std::filesystem::path> DirectoryBroadcast::streams() const {
  std::vector<std::pair<std::uint64_t, std::filesystem::path>> found;  // in the order of the frequencies
  std::error_code error;
  for (std::filesystem::directory_iterator entry(_settings.directory, error), end; !error && entry != end;
       entry.increment(error)) {
    if (const auto frequency = frequencyOf(entry->path())) found.emplace_back(*frequency, entry->path());
  }
  std::sort(found.begin(), found.end());
  std::vector<std::filesystem::path> files;
  files.reserve(found.size());
  for (auto& [frequency, file] : found) files.push_back(std::move(file));
  return files;
}

}  // namespace durix

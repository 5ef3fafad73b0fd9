#include "Captures.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace durix::test {

std::filesystem::path captureFolder() {
  const char* const folder = std::getenv("TV_CAPTURES");
  return folder != nullptr ? std::filesystem::path(folder)
                           : std::filesystem::path(TV_SOURCE_DIR) / ".." / "shared" / "captures";
}

std::vector<std::string> dvbCaptures() {
  constexpr std::string_view SUFFIX = ".truth.json";
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(captureFolder(), error)) {
    const std::string file = entry.path().filename().string();
    if (!file.ends_with(SUFFIX)) continue;
    const std::string name = file.substr(0, file.size() - SUFFIX.size());
    if (truthOf(name)["standard"] == "DVB") names.push_back(name);
  }
  std::ranges::sort(names);
  if (names.empty()) names.emplace_back();
  return names;
}

nlohmann::json truthOf(const std::string& capture) {
  std::ifstream file(captureFolder() / (capture + ".truth.json"));
  return nlohmann::json::parse(file);
}

std::vector<std::uint8_t> bytesOf(const std::string& capture) {
  std::ifstream file(captureFolder() / (capture + ".ts"), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace durix::test

#include "host/src/Battery.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <string>
#include <system_error>

#include "velmora/Velmora.h"

namespace host {
namespace {

constexpr int FULL = 100;

std::string firstWord(const std::filesystem::path& file) {
  std::ifstream stream(file);
  std::string word;
  stream >> word;
  return word;
}

}  // namespace

unsigned char batteryLevel(const std::filesystem::path& supplies) {
  std::error_code error;
  std::set<std::filesystem::path> sorted;
  for (std::filesystem::directory_iterator entry(supplies, error), end; !error && entry != end;
       entry.increment(error)) {
    sorted.insert(entry->path());
  }
  for (const auto& supply : sorted) {
    if (firstWord(supply / "scope") == "Device") continue;  // of a mouse or the like
    std::ifstream stream(supply / "capacity");
    int level = 0;
    if (stream >> level) return static_cast<unsigned char>(std::clamp(level, 0, FULL));
  }
  return FULL;
}

}  // namespace host

BatteryLevel::BatteryLevel() = default;

unsigned char BatteryLevel::getLevel() const {
  return host::batteryLevel("/sys/class/power_supply");
}

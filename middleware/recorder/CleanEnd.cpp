#include "middleware/recorder/CleanEnd.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <map>
#include <span>
#include <system_error>
#include <vector>

#include "middleware/stream/PacketView.h"

namespace durix {
namespace {

constexpr std::uint64_t MOST_BYTES = PACKET_SIZE * 20'000;
constexpr std::size_t UNIT_HEADER = 6;  // start code, stream and length (ISO/IEC 13818-1, 2.4.3.7)

// The last unit of a PID.
struct Unit {
  std::size_t first = 0;     // packet that it begins in
  std::size_t expected = 0;  // bytes; 0: until the next one begins, which is then not there
  std::size_t come = 0;
  bool isComplete() const { return expected != 0 && come >= expected; }
};

std::map<std::uint16_t, Unit> lastUnits(std::span<const std::uint8_t> bytes) {
  std::map<std::uint16_t, Unit> units;
  for (std::size_t at = 0; at + PACKET_SIZE <= bytes.size(); at += PACKET_SIZE) {
    const PacketView packet(bytes.subspan(at).first<PACKET_SIZE>());
    const auto payload = packet.payload();
    if (packet.startsUnit()) {
      units.erase(packet.pid());
      const bool isUnit = payload.size() >= UNIT_HEADER && payload[0] == 0 && payload[1] == 0 && payload[2] == 1;
      if (!isUnit) continue;
      const std::size_t length = static_cast<std::size_t>(payload[4]) << 8U | payload[5];
      units[packet.pid()] = {at, length == 0 ? 0 : length + UNIT_HEADER, 0};
    }
    if (const auto unit = units.find(packet.pid()); unit != units.end()) unit->second.come += payload.size();
  }
  std::erase_if(units, [](const auto& entry) { return entry.second.isComplete(); });
  return units;
}

}  // namespace

bool cutIncompleteUnits(const std::filesystem::path& recording) {
  std::error_code error;
  const std::uint64_t size = std::filesystem::file_size(recording, error) / PACKET_SIZE * PACKET_SIZE;
  if (error) return false;
  const std::uint64_t from = size > MOST_BYTES ? size - MOST_BYTES : 0;
  std::fstream stream(recording, std::ios::binary | std::ios::in | std::ios::out);
  std::vector<std::uint8_t> bytes(size - from);
  stream.seekg(static_cast<std::streamoff>(from));
  if (!stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()))) return false;
  const auto units = lastUnits(bytes);
  if (units.empty()) return false;
  const std::size_t first =
      std::ranges::min_element(units, {}, [](const auto& entry) { return entry.second.first; })->second.first;
  std::vector<std::uint8_t> kept;
  for (std::size_t at = first; at < bytes.size(); at += PACKET_SIZE) {
    const auto packet = std::span<const std::uint8_t>(bytes).subspan(at).first<PACKET_SIZE>();
    const auto unit = units.find(PacketView(packet).pid());
    if (unit == units.end() || at < unit->second.first) kept.insert(kept.end(), packet.begin(), packet.end());
  }
  // Shorter first: whoever dies in between leaves a little less, and nothing twice.
  std::filesystem::resize_file(recording, from + first, error);
  if (error) return false;
  stream.seekp(static_cast<std::streamoff>(from + first));
  stream.write(reinterpret_cast<const char*>(kept.data()), static_cast<std::streamsize>(kept.size()));
  stream.flush();
  return true;
}

}  // namespace durix

#include "middleware/player/TeletextPackets.h"

#include <algorithm>

namespace durix {
namespace {

constexpr std::size_t PES_HEADER = 9;  // up to the length of the optional fields
constexpr std::size_t PES_START = 6;   // up to the length, which counts what follows it
constexpr std::uint8_t PRIVATE_STREAM_1 = 0xBD;
constexpr std::uint8_t FIRST_EBU_DATA = 0x10;  // data_identifier (EN 300 472, table 2)
constexpr std::uint8_t LAST_EBU_DATA = 0x1F;
constexpr std::uint8_t TELETEXT = 0x02;  // data_unit_id, as the next
constexpr std::uint8_t TELETEXT_SUBTITLES = 0x03;
constexpr std::size_t UNIT_HEADER = 2;
constexpr std::size_t UNIT_LENGTH = 44;  // field and line, framing code, and the packet
constexpr std::uint8_t FRAMING_CODE = 0xE4;

// The order of transmission puts the least significant bit first; in the data unit it stands last.
std::uint8_t reversed(std::uint8_t byte) {
  std::uint8_t result = 0;
  for (int bit = 0; bit < 8; ++bit, byte >>= 1) result = static_cast<std::uint8_t>(result << 1 | (byte & 1));
  return result;
}

bool startsPes(std::span<const std::uint8_t> bytes) {
  return bytes.size() >= PES_HEADER && bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 1 && bytes[3] == PRIVATE_STREAM_1;
}

std::size_t sizeOf(std::span<const std::uint8_t> pes) {
  return PES_START + (static_cast<std::size_t>(pes[4]) << 8 | pes[5]);
}

}  // namespace

void TeletextPackets::feed(const PacketView& packet) {
  const auto payload = packet.payload();
  if (payload.empty()) return;
  if (_hasLast && packet.continuity() == _lastContinuity) return;  // sent twice
  if (_hasLast && packet.continuity() != ((_lastContinuity + 1) & 0x0F)) drop();
  _hasLast = true;
  _lastContinuity = packet.continuity();
  if (packet.isScrambled()) return drop();
  if (packet.startsUnit()) {
    if (!_pes.empty()) drop();
    if (!startsPes(payload)) return drop();
  } else if (_pes.empty()) {
    return;
  }
  _pes.insert(_pes.end(), payload.begin(), payload.end());
  if (_pes.size() >= sizeOf(_pes)) finishWhole();
}

void TeletextPackets::drop() {
  _pes.clear();
  _isLossy = true;
}

void TeletextPackets::finishWhole() {
  const auto pes = std::span<const std::uint8_t>(_pes).first(sizeOf(_pes));
  const std::size_t begin = PES_HEADER + (pes.size() > PES_HEADER ? pes[PES_HEADER - 1] : 0);
  _packets.clear();
  if (begin < pes.size() && pes[begin] >= FIRST_EBU_DATA && pes[begin] <= LAST_EBU_DATA) {
    takeUnits(pes.subspan(begin + 1));
  }
  _pes.clear();
  if (_packets.empty()) return;
  _sink(_packets, _isLossy);
  _isLossy = false;
}

void TeletextPackets::takeUnits(std::span<const std::uint8_t> units) {
  while (units.size() >= UNIT_HEADER && units.size() - UNIT_HEADER >= units[1]) {
    const auto unit = units.subspan(UNIT_HEADER, units[1]);
    const bool isTeletext = units[0] == TELETEXT || units[0] == TELETEXT_SUBTITLES;
    if (isTeletext && unit.size() == UNIT_LENGTH && unit[1] == FRAMING_CODE) {
      std::ranges::transform(unit.subspan(2), _packets.emplace_back().begin(), reversed);
    }
    units = units.subspan(UNIT_HEADER + unit.size());
  }
}

}  // namespace durix

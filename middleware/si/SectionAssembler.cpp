#include "middleware/si/SectionAssembler.h"

#include <algorithm>
#include <utility>

namespace durix {

namespace {
constexpr std::uint8_t STUFFING = 0xFF;
constexpr std::uint8_t TIME_OFFSET_TABLE = 0x73;  // the one table with a short header and a checksum

std::size_t sizeOf(std::span<const std::uint8_t> header) {
  return Section::SHORT_HEADER_SIZE + ((header[1] & 0x0FU) << 8 | header[2]);
}
}  // namespace

SectionAssembler::SectionAssembler(Sink sink) : _sink(std::move(sink)) {}

void SectionAssembler::feed(const PacketView& packet) {
  if (packet.isScrambled()) {
    _section.clear();
    _hasLast = false;
    return;
  }
  auto payload = packet.payload();
  if (payload.empty()) return;
  if (_hasLast && packet.continuity() == _lastContinuity && std::ranges::equal(payload, _lastPayload)) return;
  if (!isContinuous(packet)) _section.clear();
  _hasLast = true;
  _lastContinuity = packet.continuity();
  _lastPayload.assign(payload.begin(), payload.end());

  if (!packet.startsUnit()) {
    if (!_section.empty()) append(payload);
    return;
  }
  const std::size_t pointer = payload[0];
  payload = payload.subspan(1);
  if (pointer > payload.size()) {
    _section.clear();
    return;
  }
  if (!_section.empty()) append(payload.first(pointer));
  _section.clear();  // what should have ended before the pointer and did not
  begin(payload.subspan(pointer));
}

bool SectionAssembler::isContinuous(const PacketView& packet) {
  return _hasLast && !packet.isDiscontinuity() && packet.continuity() == ((_lastContinuity + 1) & 0x0F);
}

// Sections stand one behind the other until stuffing or the end of the packet.
void SectionAssembler::begin(std::span<const std::uint8_t> bytes) {
  while (!bytes.empty() && bytes[0] != STUFFING) bytes = bytes.subspan(append(bytes));
}

// Adds to the section in progress and hands it out when it is whole; returns how many bytes belonged to it.
std::size_t SectionAssembler::append(std::span<const std::uint8_t> bytes) {
  std::size_t used = 0;
  while (used < bytes.size()) {
    const bool hasHeader = _section.size() >= Section::SHORT_HEADER_SIZE;
    const std::size_t wanted = (hasHeader ? sizeOf(_section) : Section::SHORT_HEADER_SIZE) - _section.size();
    const auto part = bytes.subspan(used, std::min(wanted, bytes.size() - used));
    _section.insert(_section.end(), part.begin(), part.end());
    used += part.size();
    if (_section.size() >= Section::SHORT_HEADER_SIZE && _section.size() == sizeOf(_section)) {
      finish();
      return used;
    }
  }
  return used;
}

void SectionAssembler::finish() {
  // Taken out first, so that the sink finds the assembler ready.
  const auto bytes = std::exchange(_section, {});
  const Section section(bytes);
  if (section.isLong() && bytes.size() < Section::LONG_HEADER_SIZE + Section::CHECKSUM_SIZE) return;
  if ((section.isLong() || section.tableId() == TIME_OFFSET_TABLE) && sectionChecksum(bytes) != 0) {
    ++_damagedSections;
    return;
  }
  _sink(section);
}

}  // namespace durix

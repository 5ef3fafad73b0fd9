#include "tests/broadcaster/StreamReader.h"

#include <algorithm>
#include <utility>

namespace broadcaster {
namespace {

Ticks timestamp(const Bytes& pes, std::size_t at) {
  const auto byte = [&](std::size_t i) { return std::int64_t{pes.at(at + i)}; };
  return Ticks(300 * ((byte(0) >> 1 & 7) << 30 | byte(1) << 22 | byte(2) >> 1 << 15 | byte(3) << 7 | byte(4) >> 1));
}

}  // namespace

void StreamReader::complain(std::uint16_t packetId, const std::string& what) {
  errors.push_back("packet " + std::to_string(packets) + ", identifier " + std::to_string(packetId) + ": " + what);
}

void StreamReader::read(const Packet& packet, const std::vector<std::uint16_t>& sectionPids) {
  const auto packetId = static_cast<std::uint16_t>((packet[1] & 0x1FU) << 8 | packet[2]);
  if (packet[0] != 0x47) complain(packetId, "no sync byte");
  if ((packet[1] & 0x80U) != 0 || (packet[3] & 0xC0U) != 0) complain(packetId, "marked as faulty or scrambled");
  if (packetId != pid::NONE) {
    const bool hasPayload = (packet[3] & 0x10U) != 0;
    const unsigned counter = packet[3] & 0xFU;
    const auto [last, first] = _continuity.try_emplace(packetId, counter);
    if (!first && counter != ((last->second + (hasPayload ? 1 : 0)) & 0xFU)) complain(packetId, "continuity");
    last->second = counter;
    std::size_t at = 4;
    if ((packet[3] & 0x20U) != 0) {
      at += 1U + packet[4];
      readClock(packetId, packet);
    }
    if (at > PACKET_SIZE || (hasPayload && at == PACKET_SIZE)) complain(packetId, "length of the adaptation field");
    if (hasPayload && at < PACKET_SIZE) {
      const Bytes payload(packet.begin() + static_cast<std::ptrdiff_t>(at), packet.end());
      const bool starts = (packet[1] & 0x40U) != 0;
      const bool isSections = std::ranges::find(sectionPids, packetId) != sectionPids.end();
      isSections ? readSections(packetId, starts, payload) : readPes(packetId, starts, payload);
    }
  }
  ++packets;
}

void StreamReader::readClock(std::uint16_t packetId, const Packet& packet) {
  if (packet[4] == 0 || (packet[5] & 0x10U) == 0) return;
  std::int64_t base = 0;
  for (std::size_t i = 6; i < 10; ++i) base = base << 8 | packet[i];
  base = base << 1 | packet[10] >> 7;
  clocks[packetId].push_back({packets, Ticks(base * 300 + ((packet[10] & 1) << 8 | packet[11]))});
}

void StreamReader::readSections(std::uint16_t packetId, bool starts, const Bytes& payload) {
  Assembly& assembly = _sections[packetId];
  if (starts) {
    if (!assembly.data.empty()) complain(packetId, "a section that was not finished");
    if (payload[0] != 0) complain(packetId, "a section that does not begin at once");
    assembly = {packets, Bytes(payload.begin() + 1, payload.end())};
  } else {
    assembly.data.insert(assembly.data.end(), payload.begin(), payload.end());
  }
  const std::size_t size = 3U + ((assembly.data.at(1) & 0xFU) << 8 | assembly.data.at(2));
  if (assembly.data.size() < size) return;
  const auto end = assembly.data.begin() + static_cast<std::ptrdiff_t>(size);
  if (!std::all_of(end, assembly.data.end(), [](std::uint8_t byte) { return byte == 0xFF; })) {
    complain(packetId, "something behind a section");
  }
  sections[packetId].push_back({assembly.packet, Bytes(assembly.data.begin(), end)});
  assembly.data.clear();
}

void StreamReader::readPes(std::uint16_t packetId, bool starts, const Bytes& payload) {
  Assembly& assembly = _units[packetId];
  if (starts) endUnit(packetId, assembly);
  if (!starts && assembly.data.empty()) complain(packetId, "a unit without a beginning");
  assembly.data.insert(assembly.data.end(), payload.begin(), payload.end());
  assembly.packet = packets;
}

void StreamReader::endUnit(std::uint16_t packetId, Assembly& assembly) {
  const Bytes pes = std::exchange(assembly.data, {});
  if (pes.empty()) return;
  if (pes.size() < 14 || pes[0] != 0 || pes[1] != 0 || pes[2] != 1) return complain(packetId, "no start of a unit");
  const std::size_t length = static_cast<std::size_t>(pes[4]) << 8 | pes[5];
  if (length != 0 && length != pes.size() - 6) complain(packetId, "the length of a unit");
  const bool hasDecoding = (pes[7] & 0xC0U) == 0xC0U;
  const Ticks presentation = timestamp(pes, 9);
  const Bytes data(pes.begin() + 9 + pes[8], pes.end());
  units[packetId].push_back({assembly.packet, presentation, hasDecoding ? timestamp(pes, 14) : presentation, data});
}

void StreamReader::finish() {
  for (auto& [packetId, assembly] : _units) endUnit(packetId, assembly);
}

}  // namespace broadcaster

#include "middleware/si/ProgramStream.h"

#include <algorithm>
#include <utility>

#include "middleware/si/Section.h"
#include "middleware/si/TableReaders.h"

namespace durix {
namespace {

constexpr std::uint64_t TABLE_INTERVAL = 27'000'000 / 10;  // of the clock; ETSI TR 101 290, 5.2.1 wants 0.5 s at most
constexpr std::uint32_t MOST_PACKETS_BETWEEN_TABLES = 4000;
constexpr std::size_t HEADER_SIZE = 4;
constexpr std::uint8_t PAYLOAD_ONLY = 0x10;
constexpr std::uint8_t ADAPTATION_ONLY = 0x20;
constexpr std::uint8_t UNIT_START = 0x40;
constexpr std::uint8_t STUFFING = 0xFF;
constexpr std::uint8_t PCR_FLAG = 0x10;
constexpr std::size_t CLOCK_FIELD_END = 12;  // of a packet whose adaptation field begins with a PCR

using Packet = std::array<std::uint8_t, PACKET_SIZE>;

void putPid(Packet& packet, std::uint16_t pid) {
  packet[1] = static_cast<std::uint8_t>((packet[1] & 0xE0) | pid >> 8);
  packet[2] = static_cast<std::uint8_t>(pid);
}

void put16(std::vector<std::uint8_t>& bytes, unsigned value) {
  bytes.insert(bytes.end(), {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)});
}

// A long section (ISO/IEC 13818-1, 2.4.4.10) around a body, with its checksum.
std::vector<std::uint8_t> section(std::uint8_t table, std::uint16_t extension, std::uint8_t version,
                                  std::span<const std::uint8_t> body) {
  const std::size_t length =
      Section::LONG_HEADER_SIZE - Section::SHORT_HEADER_SIZE + body.size() + Section::CHECKSUM_SIZE;
  std::vector<std::uint8_t> bytes;
  bytes.reserve(Section::SHORT_HEADER_SIZE + length);
  bytes.push_back(table);
  put16(bytes, 0xB000U | static_cast<unsigned>(length));
  put16(bytes, extension);
  bytes.push_back(static_cast<std::uint8_t>(0xC1 | version << 1));
  put16(bytes, 0);  // the only section
  bytes.insert(bytes.end(), body.begin(), body.end());
  const std::uint32_t checksum = sectionChecksum(bytes);
  put16(bytes, checksum >> 16);
  put16(bytes, checksum & 0xFFFF);
  return bytes;
}

// The clock alone: everything else of the packet belongs to a component that is not wanted.
Packet clockPacket(const PacketView& packet) {
  Packet clock{};
  clock.fill(STUFFING);
  std::copy_n(packet.bytes().begin(), CLOCK_FIELD_END, clock.begin());
  clock[1] &= static_cast<std::uint8_t>(~UNIT_START);
  clock[3] = ADAPTATION_ONLY;  // such packets do not count
  clock[4] = PACKET_SIZE - HEADER_SIZE - 1;
  clock[5] &= static_cast<std::uint8_t>(0x80 | PCR_FLAG);
  return clock;
}

bool isSame(const ProgramStream::Part& a, const ProgramStream::Part& b) {
  return a.outPid == b.outPid && a.component.pid == b.component.pid &&
         a.component.streamType == b.component.streamType && a.component.descriptors == b.component.descriptors;
}

bool isSame(const ProgramStream::Contents& a, const ProgramStream::Contents& b) {
  return a.number == b.number && a.pcrPid == b.pcrPid && a.pmtPid == b.pmtPid && a.descriptors == b.descriptors &&
         std::ranges::equal(a.parts, b.parts, [](const auto& x, const auto& y) { return isSame(x, y); });
}

}  // namespace

void ProgramStream::setContents(Contents contents) {
  if (_hasContents && isSame(contents, _contents)) return;
  _contents = std::move(contents);
  _hasContents = true;
  _version = (_version + 1) & 0x1F;
  _outPids.clear();
  for (const auto& part : _contents.parts) _outPids[part.component.pid] = part.outPid;
  announce();
}

void ProgramStream::feed(const PacketView& packet) {
  if (!_hasContents || packet.isScrambled()) return;
  const auto known = _outPids.find(packet.pid());
  const bool isPart = known != _outPids.end();
  const bool isClock = packet.pid() == _contents.pcrPid && packet.pcr().has_value();
  if (!isPart && !isClock) return;
  if (isTableDue(packet)) announce();
  if (!isPart) return _sink(clockPacket(packet));
  Packet copy{};
  std::copy(packet.bytes().begin(), packet.bytes().end(), copy.begin());
  putPid(copy, known->second);
  _sink(copy);
}

bool ProgramStream::isTableDue(const PacketView& packet) {
  if (++_packetsSince >= MOST_PACKETS_BETWEEN_TABLES) return true;
  if (packet.pid() != _contents.pcrPid) return false;
  const auto pcr = packet.pcr();
  if (!pcr) return false;
  const bool isDue = *pcr < _lastPcr || *pcr - _lastPcr >= TABLE_INTERVAL;
  if (isDue) _lastPcr = *pcr;
  return isDue;
}

void ProgramStream::announce() {
  _packetsSince = 0;
  write(0, patSection(), _patContinuity);
  write(_contents.pmtPid, pmtSection(), _pmtContinuity);
}

void ProgramStream::write(std::uint16_t pid, std::span<const std::uint8_t> section, std::uint8_t& continuity) {
  std::vector<std::uint8_t> unit(1 + section.size());  // the pointer field in front: the section begins at once
  std::ranges::copy(section, unit.begin() + 1);
  bool isFirst = true;
  for (std::span<const std::uint8_t> rest = unit; !rest.empty();) {
    Packet packet{};
    packet.fill(STUFFING);
    packet[0] = SYNC_BYTE;
    packet[1] = std::exchange(isFirst, false) ? UNIT_START : 0;
    putPid(packet, pid);
    packet[3] = static_cast<std::uint8_t>(PAYLOAD_ONLY | continuity);
    continuity = (continuity + 1) & 0x0F;
    const auto part = rest.first(std::min(rest.size(), PACKET_SIZE - HEADER_SIZE));
    std::copy(part.begin(), part.end(), packet.begin() + HEADER_SIZE);
    rest = rest.subspan(part.size());
    _sink(packet);
  }
}

std::vector<std::uint8_t> ProgramStream::patSection() const {
  std::vector<std::uint8_t> body;
  put16(body, _contents.number);
  put16(body, 0xE000U | _contents.pmtPid);
  return section(PAT_TABLE, 1, 0, body);
}

std::vector<std::uint8_t> ProgramStream::pmtSection() const {
  std::vector<std::uint8_t> body;
  const auto clock = _outPids.find(_contents.pcrPid);
  put16(body, 0xE000U | (clock == _outPids.end() ? _contents.pcrPid : clock->second));
  put16(body, 0xF000U | static_cast<unsigned>(_contents.descriptors.size()));
  body.insert(body.end(), _contents.descriptors.begin(), _contents.descriptors.end());
  for (const auto& part : _contents.parts) {
    const auto& descriptors = part.component.descriptors;
    body.push_back(part.component.streamType);
    put16(body, 0xE000U | part.outPid);
    put16(body, 0xF000U | static_cast<unsigned>(descriptors.size()));
    body.insert(body.end(), descriptors.begin(), descriptors.end());
  }
  return section(PMT_TABLE, _contents.number, _version, body);
}

ProgramStream::Contents contentsOf(const Program& program) {
  ProgramStream::Contents contents{
      .number = program.number, .pcrPid = program.pcrPid, .pmtPid = program.pmtPid, .descriptors = program.descriptors};
  for (const auto& component : program.components) contents.parts.push_back({component, component.pid});
  return contents;
}

}  // namespace durix

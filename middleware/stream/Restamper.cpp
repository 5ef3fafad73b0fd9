#include "middleware/stream/Restamper.h"

#include <algorithm>
#include <span>

#include "middleware/stream/Pacer.h"

namespace durix {
namespace {

constexpr std::uint64_t TIME_STAMP_WRAP = std::uint64_t{1} << 33;
constexpr std::uint64_t TICKS = 300;  // of 27 MHz in one of 90 kHz
constexpr std::uint64_t WRAP = TIME_STAMP_WRAP * TICKS;
constexpr std::uint64_t LONGEST_STEP = std::uint64_t{2} * 27'000'000;  // references come ten times a second
constexpr std::uint8_t NO_COUNTER = 0xFF;
constexpr std::size_t PCR_POSITION = 6;
constexpr std::size_t TIME_STAMP_SIZE = 5;

// Where the time stamps of a PES packet stand behind its start (ISO/IEC 13818-1, 2.4.3.6).
constexpr std::size_t PES_FLAGS = 6;
constexpr std::size_t PES_PTS = 9;
constexpr std::size_t PES_DTS = PES_PTS + TIME_STAMP_SIZE;

// Whether the stream identifier has a header with time stamps behind it.
bool hasPesHeader(std::uint8_t streamId) {
  constexpr std::array<std::uint8_t, 8> WITHOUT{0xBC, 0xBE, 0xBF, 0xF0, 0xF1, 0xF2, 0xF8, 0xFF};
  return streamId >= WITHOUT.front() && std::ranges::find(WITHOUT, streamId) == WITHOUT.end();
}

// How many time stamps there are behind each other: 0, 1 (PTS) or 2.
std::size_t timeStampsOf(std::span<const std::uint8_t> pes) {
  if (pes.size() < PES_DTS || pes[0] != 0 || pes[1] != 0 || pes[2] != 1 || !hasPesHeader(pes[3])) return 0;
  if ((pes[PES_FLAGS] & 0xC0) != 0x80) return 0;
  const unsigned flags = pes[PES_FLAGS + 1] >> 6;
  if (flags < 2 || pes[PES_PTS] >> 4 != flags) return 0;
  return flags == 3 && pes.size() >= PES_DTS + TIME_STAMP_SIZE && pes[PES_DTS] >> 4 == 1 ? 2 : 1;
}

}  // namespace

Restamper::Restamper() {
  _lastCounter.fill(NO_COUNTER);
}

PacketView Restamper::stamp(const PacketView& packet) {
  ++_packets;
  if (packet.pid() == NULL_PID) return packet;
  if (const auto pcr = packet.pcr()) follow(packet.pid(), *pcr, packet.isDiscontinuity());
  const std::uint8_t counter = continuityOf(packet);
  if (_isFirstLoop) return packet;
  std::ranges::copy(packet.bytes(), _packet.begin());
  _packet[3] = static_cast<std::uint8_t>((_packet[3] & 0xF0) | counter);
  moveTimes(packet);
  return PacketView(_packet);
}

void Restamper::beginLoop() {
  if (_packets == 0) return;
  _shift = (_shift + duration()) % WRAP;
  _isFirstLoop = false;
  _clocks.clear();
  _packets = 0;
  _hasBegun.reset();
}

void Restamper::follow(std::uint16_t pid, std::uint64_t pcr, bool isDiscontinuity) {
  Clock& clock = _clocks[pid];
  if (clock.references++ == 0) {
    clock.first = pcr;
  } else {
    const std::uint64_t step = (pcr + WRAP - clock.last) % WRAP;
    if (step >= LONGEST_STEP || isDiscontinuity) {
      clock.hasJumped = true;
    } else {
      clock.elapsed += step;
    }
  }
  clock.last = pcr;
}

// How far the next loop is behind this one: the time that its longest clock has covered and one usual step more, so
// that no clock goes back. Where all of them jump, one at least goes on.
std::uint64_t Restamper::duration() const {
  const Clock* best = nullptr;
  for (const auto& [pid, clock] : _clocks) {
    const bool isBetter = best == nullptr || (best->hasJumped && !clock.hasJumped) ||
                          (best->hasJumped == clock.hasJumped && clock.elapsed > best->elapsed);
    if (isBetter) best = &clock;
  }
  std::uint64_t ticks = _packets * UNCLOCKED_TICKS_PER_PACKET;
  if (best != nullptr && best->elapsed > 0) {
    const std::uint64_t way = best->hasJumped ? (best->last + WRAP - best->first) % WRAP : best->elapsed;
    ticks = way + best->elapsed / (best->references - 1);
  }
  return (ticks + TICKS - 1) / TICKS * TICKS;
}

// The counter goes on from loop to loop and stands still without payload (2.4.3.3); what it does inside a loop is the
// stream's own.
std::uint8_t Restamper::continuityOf(const PacketView& packet) {
  const std::uint16_t pid = packet.pid();
  std::uint8_t& last = _lastCounter[pid];
  if (!_hasBegun[pid]) {
    _hasBegun.set(pid);
    const int next = last + (packet.hasPayload() ? 1 : 0);
    if (last != NO_COUNTER) _counterShift[pid] = static_cast<std::uint8_t>((next - packet.continuity()) & 0x0F);
  }
  last = (packet.continuity() + _counterShift[pid]) & 0x0F;
  return last;
}

void Restamper::moveTimes(const PacketView& packet) {
  if (const auto pcr = packet.pcr()) {
    const std::uint64_t moved = (*pcr + _shift) % WRAP;
    const std::uint64_t base = moved / TICKS;
    const std::uint64_t extension = moved % TICKS;
    for (std::size_t i = 0; i < 4; ++i) _packet[PCR_POSITION + i] = static_cast<std::uint8_t>(base >> (25 - 8 * i));
    auto& mixed = _packet[PCR_POSITION + 4];
    mixed = static_cast<std::uint8_t>((base & 1) << 7 | (mixed & 0x7E) | extension >> 8);
    _packet[PCR_POSITION + 5] = static_cast<std::uint8_t>(extension);
  }
  if (!packet.startsUnit() || packet.isScrambled()) return;
  const auto payload = packet.payload();
  const std::size_t count = timeStampsOf(payload);
  for (std::size_t i = 0; i < count; ++i) {
    moveTimeStamp(PACKET_SIZE - payload.size() + PES_PTS + i * TIME_STAMP_SIZE);
  }
}

// 33 bits in three parts with a marker behind each (2.4.3.6).
void Restamper::moveTimeStamp(std::size_t position) {
  const auto bytes = std::span(_packet).subspan(position, TIME_STAMP_SIZE);
  const auto at = [&](std::size_t i) { return static_cast<std::uint64_t>(bytes[i]); };
  const std::uint64_t stamp = (at(0) >> 1 & 7) << 30 | at(1) << 22 | at(2) >> 1 << 15 | at(3) << 7 | at(4) >> 1;
  const std::uint64_t moved = (stamp + _shift / TICKS) % TIME_STAMP_WRAP;
  bytes[0] = static_cast<std::uint8_t>((bytes[0] & 0xF1) | (moved >> 30 & 7) << 1);
  bytes[1] = static_cast<std::uint8_t>(moved >> 22);
  bytes[2] = static_cast<std::uint8_t>((moved >> 15 & 0x7F) << 1 | (bytes[2] & 1));
  bytes[3] = static_cast<std::uint8_t>(moved >> 7);
  bytes[4] = static_cast<std::uint8_t>((moved & 0x7F) << 1 | (bytes[4] & 1));
}

}  // namespace durix

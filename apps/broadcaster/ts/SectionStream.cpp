#include "apps/broadcaster/ts/SectionStream.h"

#include <algorithm>
#include <iterator>

namespace broadcaster {
namespace {

/// Receivers empty their buffer for tables at 1 Mbit/s (ISO/IEC 13818-1, 2.4.2.3): 188 bytes in 1.504 ms.
constexpr Ticks PAUSE = std::chrono::microseconds(1600);

}  // namespace

void SectionStream::collectDue(Ticks now) {
  for (Group& group : _groups) {
    if (group.due > now) continue;
    group.due += group.interval;
    std::vector<Bytes> sections = group.source(now);
    std::move(sections.begin(), sections.end(), std::back_inserter(_queue));
  }
}

bool SectionStream::fill(Packet& packet, Ticks now) {
  if (now < _notBefore) return false;
  if (_queue.empty()) collectDue(now);
  if (_queue.empty()) return false;
  _notBefore = now + PAUSE;

  const Bytes& section = _queue.front();
  const bool starts = _sent == 0;
  packet.fill(0xFF);
  packet[0] = 0x47;
  packet[1] = static_cast<std::uint8_t>((starts ? 0x40 : 0) | _pid >> 8);
  packet[2] = static_cast<std::uint8_t>(_pid);
  packet[3] = static_cast<std::uint8_t>(0x10 | _continuity);
  _continuity = (_continuity + 1) & 0xF;
  std::size_t at = 4;
  if (starts) packet[at++] = 0;  // pointer_field: each section begins in a packet of its own
  const std::size_t count = std::min(PACKET_SIZE - at, section.size() - _sent);
  std::copy_n(section.begin() + static_cast<std::ptrdiff_t>(_sent), count,
              packet.begin() + static_cast<std::ptrdiff_t>(at));
  _sent += count;
  if (_sent == section.size()) {
    _queue.pop_front();
    _sent = 0;
  }
  return true;
}

}  // namespace broadcaster

#include "middleware/stream/StreamClock.h"

namespace durix {

namespace {
constexpr std::uint64_t WRAP = (std::uint64_t{1} << 33) * 300;
constexpr std::uint64_t LONGEST_STEP = std::uint64_t{2} * 27'000'000;  // references come ten times a second
constexpr std::uint32_t LONGEST_SILENCE = 20'000;                      // packets, about a second of a full multiplex
}  // namespace

void StreamClock::feed(const PacketView& packet) {
  ++_silence;
  const auto pcr = packet.pcr();
  if (!pcr) return;
  if (packet.pid() != _pid) {
    if (_pid != NULL_PID && _silence < LONGEST_SILENCE) return;
    _pid = packet.pid();
  } else {
    const std::uint64_t step = (*pcr + WRAP - _last) % WRAP;
    if (step < LONGEST_STEP && !packet.isDiscontinuity()) _ticks += step;
  }
  _last = *pcr;
  _silence = 0;
}

}  // namespace durix

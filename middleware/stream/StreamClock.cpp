#include "middleware/stream/StreamClock.h"

namespace durix {

namespace {
constexpr std::uint64_t SECOND = 27'000'000;
constexpr std::uint64_t WRAP = (std::uint64_t{1} << 33) * 300;
constexpr std::uint64_t LONGEST_STEP = 2 * SECOND;     // references come ten times a second
constexpr std::uint64_t LONGEST_SILENCE = SECOND / 4;  // by another clock
}  // namespace

void StreamClock::feed(const PacketView& packet) {
  const auto pcr = packet.pcr();
  if (!pcr) return;
  Clock& clock = _clocks[packet.pid()];
  const std::uint64_t step = (*pcr + WRAP - clock.last) % WRAP;
  if (clock.isMeasuring && step < LONGEST_STEP && !packet.isDiscontinuity()) clock.ahead += step;
  clock.last = *pcr;
  clock.isMeasuring = true;
  if (_pid == NULL_PID || clock.ahead >= LONGEST_SILENCE) _pid = packet.pid();
  if (packet.pid() != _pid) return;
  _ticks += clock.ahead;
  // What the others have covered until here is told: a gap in all of them counts once.
  for (auto& [pid, other] : _clocks) {
    other.ahead = 0;
    other.isMeasuring = pid == _pid;
  }
}

}  // namespace durix

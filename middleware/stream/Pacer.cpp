#include "middleware/stream/Pacer.h"

#include <algorithm>

namespace durix {
namespace {

constexpr std::uint64_t TICKS_PER_MILLISECOND = 27'000;
constexpr std::uint64_t LONGEST_SILENCE = 5'000;  // packets: more than the fastest multiplex has between references
constexpr std::chrono::milliseconds LATEST(500);

}  // namespace

Pacer::Time Pacer::due(const PacketView& packet, Time now) {
  _clock.feed(packet);
  if (const auto told = _clock.elapsed(); told != _told) {
    const auto step = static_cast<std::uint64_t>((told - _told).count()) * TICKS_PER_MILLISECOND;
    _unclocked -= std::min(_unclocked, step);
    _told = told;
    _silence = 0;
  } else if (++_silence > LONGEST_SILENCE) {
    _unclocked += UNCLOCKED_TICKS_PER_PACKET;
  }
  const auto time = _told + std::chrono::milliseconds(_unclocked / TICKS_PER_MILLISECOND);
  if (_start == Time{} || now - (_start + time) > LATEST) _start = now - time;
  return _start + time;
}

}  // namespace durix

#include "apps/broadcaster/ts/Multiplexer.h"

#include <algorithm>
#include <stdexcept>

namespace broadcaster {
namespace {

/// The byte of a packet that a clock reference speaks of: the last one of its base (ISO/IEC 13818-1, 2.4.3.5).
constexpr std::int64_t PCR_BYTE = 10;

constexpr Packet NULL_PACKET = [] {
  Packet packet{};
  packet.fill(0xFF);
  packet[0] = 0x47;
  packet[1] = pid::NONE >> 8;
  packet[2] = pid::NONE & 0xFF;
  packet[3] = 0x10;
  return packet;
}();

}  // namespace

SectionStream& Multiplexer::sections(std::uint16_t packetId) {
  const auto found = std::ranges::find(_sections, packetId, &Sections::packetId);
  if (found != _sections.end()) return found->stream;
  return _sections.emplace_back(Sections{packetId, SectionStream(packetId)}).stream;
}

void Multiplexer::add(const ElementaryStream::Settings& settings, std::unique_ptr<AccessUnitSource> source) {
  _streams.emplace_back(settings, std::move(source));
}

Ticks Multiplexer::timeOfByte(std::int64_t byte) const {
  const std::int64_t bits = byte * 8;  // whole seconds apart: the product would outgrow 64 bits after an hour or so
  return Ticks(bits / _bitRate * Ticks::period::den + bits % _bitRate * Ticks::period::den / _bitRate);
}

bool Multiplexer::fill(Packet& packet, Ticks now, Ticks pcr) {
  for (ElementaryStream& stream : _streams) {
    if (!stream.pcrDue(now)) continue;
    stream.fill(packet, now, pcr);
    return true;
  }
  for (Sections& sections : _sections) {
    if (sections.stream.fill(packet, now)) return true;
  }
  ElementaryStream* urgent = nullptr;
  Ticks earliest = Ticks::max();
  for (ElementaryStream& stream : _streams) {
    const std::optional<Ticks> deadline = stream.deadline(now);
    if (!deadline || *deadline >= earliest) continue;
    urgent = &stream;
    earliest = *deadline;
  }
  if (urgent == nullptr) return false;
  if (earliest <= now) throw std::runtime_error("the bit rate of the multiplex is too small for its services");
  urgent->fill(packet, now, pcr);
  return true;
}

void Multiplexer::run(Ticks duration, const Sink& sink) {
  Packet packet;
  for (std::int64_t byte = 0;; byte += static_cast<std::int64_t>(PACKET_SIZE)) {
    const Ticks now = timeOfByte(byte);
    if (now >= duration) break;
    sink(fill(packet, now, timeOfByte(byte + PCR_BYTE)) ? packet : NULL_PACKET);
  }
  if (!std::ranges::all_of(_streams, &ElementaryStream::finished)) {
    throw std::runtime_error("the bit rate of the multiplex is too small for its services");
  }
}

}  // namespace broadcaster

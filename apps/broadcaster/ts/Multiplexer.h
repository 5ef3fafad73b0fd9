#pragma once

#include <cstdint>
#include <deque>
#include <functional>

#include "apps/broadcaster/ts/ElementaryStream.h"
#include "apps/broadcaster/ts/Packet.h"
#include "apps/broadcaster/ts/SectionStream.h"

namespace broadcaster {

/// Puts sections and elementary streams into one transport stream of constant bit rate. One thread uses it.
class Multiplexer {
 public:
  using Sink = std::function<void(const Packet&)>;

  /// `bitRate` in bits per second, null packets included.
  explicit Multiplexer(std::int64_t bitRate) : _bitRate(bitRate) {}

  /// The sections of a packet identifier; made when asked for the first time, and kept by the multiplexer.
  SectionStream& sections(std::uint16_t packetId);
  void add(const ElementaryStream::Settings& settings, std::unique_ptr<AccessUnitSource> source);

  /// Gives every packet of `duration` to `sink`. Throws std::runtime_error when a unit arrives after its decoding
  /// time, or not at all: the bit rate is too small for what was added.
  void run(Ticks duration, const Sink& sink);

 private:
  struct Sections {
    std::uint16_t packetId;
    SectionStream stream;
  };

  bool fill(Packet& packet, Ticks now, Ticks pcr);
  [[nodiscard]] Ticks timeOfByte(std::int64_t byte) const;

  std::int64_t _bitRate;
  std::deque<Sections> _sections;  // a deque, so that references stay
  std::deque<ElementaryStream> _streams;
};

}  // namespace broadcaster

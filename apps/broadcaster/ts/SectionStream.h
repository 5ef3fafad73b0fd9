#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

#include "apps/broadcaster/ts/Bytes.h"
#include "apps/broadcaster/ts/Packet.h"

namespace broadcaster {

/// The sections of one packet identifier, each group repeated by its own interval (TR 101 211, 4.4).
class SectionStream {
 public:
  /// Gives the sections as they are to be sent at a moment of the stream.
  using Source = std::function<std::vector<Bytes>(Ticks now)>;

  explicit SectionStream(std::uint16_t packetId) : _pid(packetId) {}

  /// Sends what `source` gives every `interval`, for the first time `first` after the start of the stream.
  void repeat(Ticks interval, Source source, Ticks first = Ticks{0}) {
    _groups.push_back({interval, first, std::move(source)});
  }

  /// Fills the packet that goes out at `now`. False when nothing is due or the receiver's buffer needs a pause.
  bool fill(Packet& packet, Ticks now);

 private:
  struct Group {
    Ticks interval;
    Ticks due;
    Source source;
  };

  void collectDue(Ticks now);

  std::uint16_t _pid;
  std::vector<Group> _groups;
  std::deque<Bytes> _queue;  // the first may be sent in part
  std::size_t _sent = 0;     // bytes of the first section
  Ticks _notBefore{0};
  std::uint8_t _continuity = 0;
};

}  // namespace broadcaster

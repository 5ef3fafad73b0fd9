#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "apps/broadcaster/ts/AccessUnit.h"
#include "apps/broadcaster/ts/Packet.h"
#include "apps/broadcaster/ts/Relocation.h"

namespace broadcaster {

/// One elementary stream as PES packets in transport packets (ISO/IEC 13818-1, 2.4.3.2 and 2.4.3.6).
class ElementaryStream {
 public:
  struct Settings {
    std::uint16_t pid = 0;
    std::uint8_t streamId = 0;     // table 2-22: 0xC0 sound, 0xE0 pictures, 0xBD private stream 1
    Ticks lead{0};                 // how long before its decoding a unit may be sent; bounds the receiver's buffer
    bool carriesPcr = false;       // and leads a relocation
    std::size_t headerLength = 0;  // of each PES header behind this field, stuffed up to it; 0: as long as needed
    std::shared_ptr<Relocation> relocation{};
    std::uint16_t laterPid = 0;  // after the relocation
  };

  /// Time zero of the source is presented `PRELOAD` after the start of the stream.
  ElementaryStream(Settings settings, std::unique_ptr<AccessUnitSource> source);

  static constexpr Ticks PRELOAD = std::chrono::milliseconds(900);

  /// The moment before which the unit that waits must have arrived; nothing when none may be sent yet.
  [[nodiscard]] std::optional<Ticks> deadline(Ticks now);

  /// Whether a clock reference must go out now, by itself if there is nothing else to send.
  [[nodiscard]] bool pcrDue(Ticks now) const { return _settings.carriesPcr && now >= _pcrDue; }

  /// Fills the packet that begins at `now` with data, with a clock reference when one is due. `pcr` is the moment at
  /// which the reference's last byte arrives. To be called when there is a deadline or pcrDue().
  void fill(Packet& packet, Ticks now, Ticks pcr);

  /// True when every unit of the source was sent.
  [[nodiscard]] bool finished();

 private:
  bool prepare();
  bool isHeld(Ticks now);

  Settings _settings;
  std::unique_ptr<AccessUnitSource> _source;
  bool _ended = false;
  bool _moved = false;
  bool _randomAccess = false;  // of the PES packet being sent
  Bytes _pes;                  // being sent; empty between units
  std::size_t _sent = 0;
  Ticks _decoding{0};
  Ticks _pcrDue{0};
  std::uint8_t _continuity = 0;
};

}  // namespace broadcaster

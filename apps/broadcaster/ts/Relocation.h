#pragma once

#include <optional>

#include "apps/broadcaster/ts/Packet.h"

namespace broadcaster {

/// A change of packet identifiers in the middle of a programme. The stream that leads comes to the unit with which it
/// is to happen; from then on the tables tell of it, and after a pause, in which every receiver hears of it, all
/// streams go on under their new identifiers.
class Relocation {
 public:
  /// `at` is the time of the leading unit, counted from the first one.
  explicit Relocation(Ticks at) : _at(at) {}

  [[nodiscard]] Ticks at() const { return _at; }
  void announce(Ticks now) {
    if (!_announced) _announced = now;
  }
  [[nodiscard]] bool isAnnounced() const { return _announced.has_value(); }
  [[nodiscard]] bool isDone(Ticks now) const { return _announced && now >= *_announced + PAUSE; }

 private:
  static constexpr Ticks PAUSE = std::chrono::milliseconds(110);  // longer than a PMT takes to come again

  Ticks _at;
  std::optional<Ticks> _announced;
};

}  // namespace broadcaster

#pragma once

#include <cstdint>
#include <optional>

#include "apps/broadcaster/ts/Bytes.h"
#include "apps/broadcaster/ts/Packet.h"

namespace broadcaster {

/// What one PES packet carries: a coded picture, or some sound frames. Times count from the first one presented.
struct AccessUnit {
  Ticks presentation{0};
  Ticks decoding{0};
  bool randomAccess = false;  // decoding can begin here
  Bytes data;
};

/// Makes the access units of one elementary stream, in decoding order.
class AccessUnitSource {
 public:
  AccessUnitSource() = default;
  AccessUnitSource(const AccessUnitSource&) = delete;
  AccessUnitSource& operator=(const AccessUnitSource&) = delete;
  virtual ~AccessUnitSource() = default;

  /// The next one; nothing after the last. Throws std::runtime_error when the encoder fails.
  virtual std::optional<AccessUnit> next() = 0;
};

}  // namespace broadcaster

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace durix {

inline constexpr std::size_t PACKET_SIZE = 188;
inline constexpr std::uint8_t SYNC_BYTE = 0x47;
inline constexpr std::uint16_t NULL_PID = 0x1FFF;
inline constexpr std::size_t PID_COUNT = 0x2000;

/// One transport-stream packet as ISO/IEC 13818-1, 2.4.3 lays it out. Looks at 188 bytes that somebody else owns;
/// whatever they hold, no operation reads outside them.
class PacketView {
 public:
  using Bytes = std::span<const std::uint8_t, PACKET_SIZE>;

  explicit PacketView(Bytes bytes) : _bytes(bytes) {}

  Bytes bytes() const { return _bytes; }
  std::uint16_t pid() const { return static_cast<std::uint16_t>((_bytes[1] & 0x1F) << 8 | _bytes[2]); }
  bool hasError() const { return (_bytes[1] & 0x80) != 0; }
  bool startsUnit() const { return (_bytes[1] & 0x40) != 0; }
  bool isScrambled() const { return (_bytes[3] & 0xC0) != 0; }
  bool hasAdaptation() const { return (_bytes[3] & 0x20) != 0; }
  bool hasPayload() const { return (_bytes[3] & 0x10) != 0; }
  std::uint8_t continuity() const { return _bytes[3] & 0x0F; }

  /// The packet says itself that its continuity counter or its clock starts anew.
  bool isDiscontinuity() const;

  /// The payload; empty without one, and when the adaptation field claims more than the packet holds.
  std::span<const std::uint8_t> payload() const;

  /// The programme clock reference in ticks of 27 MHz.
  std::optional<std::uint64_t> pcr() const;

 private:
  std::uint8_t adaptationFlags() const;

  Bytes _bytes;
};

}  // namespace durix

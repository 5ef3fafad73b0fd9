#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace durix {

/// One whole section of a table (ISO/IEC 13818-1, 2.4.4.10; EN 300 468, 5.1.1), as its assembler has checked it: its
/// length is right, and with a checksum that is right too. Looks at bytes that somebody else owns.
class Section {
 public:
  static constexpr std::size_t SHORT_HEADER_SIZE = 3;
  static constexpr std::size_t LONG_HEADER_SIZE = 8;
  static constexpr std::size_t CHECKSUM_SIZE = 4;
  static constexpr std::size_t LARGEST_SIZE = 4096;

  explicit Section(std::span<const std::uint8_t> bytes) : _bytes(bytes) {}

  std::span<const std::uint8_t> bytes() const { return _bytes; }
  std::uint8_t tableId() const { return _bytes[0]; }

  /// Whether the section has the long header (and a checksum); the next five are only for those.
  bool isLong() const { return (_bytes[1] & 0x80) != 0; }
  std::uint16_t extension() const { return static_cast<std::uint16_t>(_bytes[3] << 8 | _bytes[4]); }
  std::uint8_t version() const { return _bytes[5] >> 1 & 0x1F; }
  bool isCurrent() const { return (_bytes[5] & 1) != 0; }
  std::uint8_t number() const { return _bytes[6]; }
  std::uint8_t lastNumber() const { return _bytes[7]; }

  /// What stands between header and checksum.
  std::span<const std::uint8_t> body() const {
    if (isLong()) return _bytes.subspan(LONG_HEADER_SIZE, _bytes.size() - LONG_HEADER_SIZE - CHECKSUM_SIZE);
    return _bytes.subspan(SHORT_HEADER_SIZE);
  }

 private:
  std::span<const std::uint8_t> _bytes;
};

/// CRC-32 of ISO/IEC 13818-1, annex A; 0 over a section with its checksum.
std::uint32_t sectionChecksum(std::span<const std::uint8_t> bytes);

}  // namespace durix

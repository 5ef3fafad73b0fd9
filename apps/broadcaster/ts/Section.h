#pragma once

#include <cstdint>
#include <span>

#include "apps/broadcaster/ts/Bytes.h"

namespace broadcaster {

/// What tells the sections of one table apart (ISO/IEC 13818-1, 2.4.4.11).
struct SectionHeader {
  std::uint8_t tableId = 0;
  std::uint16_t extension = 0;  // table_id_extension: transport stream, programme, network or service
  std::uint8_t version = 0;     // 0 to 31
  std::uint8_t number = 0;
  std::uint8_t last = 0;  // last_section_number
};

/// CRC-32/MPEG-2 of ISO/IEC 13818-1 annex A; over a whole section with its CRC it is 0.
std::uint32_t crc32(std::span<const std::uint8_t> data);

/// A section in the long form with its CRC. `body` is what stands between the header and the CRC. Throws
/// std::length_error when the section gets longer than 1024 bytes, for an EIT 4096 (EN 300 468, 5.1.1).
Bytes makeSection(const SectionHeader& header, std::span<const std::uint8_t> body);

/// The most bytes that `body` may have in makeSection.
std::size_t bodyCapacity(std::uint8_t tableId);

/// A section in the short form: without header fields, and with a CRC only where the table has one (TOT yes, TDT no).
Bytes makeShortSection(std::uint8_t tableId, std::span<const std::uint8_t> body, bool withCrc);

}  // namespace broadcaster

#include "apps/broadcaster/ts/Section.h"

#include <array>
#include <stdexcept>

namespace broadcaster {
namespace {

constexpr std::size_t LONG_HEADER = 8;
constexpr std::size_t CRC = 4;

std::size_t maximumSize(std::uint8_t tableId) {
  return tableId >= 0x4E && tableId <= 0x6F ? 4096 : 1024;
}

constexpr std::array<std::uint32_t, 256> CRC_TABLE = [] {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    std::uint32_t crc = i << 24;
    for (int bit = 0; bit < 8; ++bit) crc = (crc << 1) ^ ((crc & 0x80000000U) != 0 ? 0x04C11DB7U : 0U);
    table[i] = crc;
  }
  return table;
}();

/// section_syntax_indicator 1; the next bit is 0 in tables of ISO/IEC 13818-1 and 1 in those of DVB.
std::uint64_t longFormBits(std::uint8_t tableId) {
  return tableId < 0x40 ? 0xB : 0xF;
}

}  // namespace

std::uint32_t crc32(std::span<const std::uint8_t> data) {
  std::uint32_t crc = 0xFFFFFFFFU;
  for (const std::uint8_t byte : data) crc = (crc << 8) ^ CRC_TABLE[(crc >> 24) ^ byte];
  return crc;
}

std::size_t bodyCapacity(std::uint8_t tableId) {
  return maximumSize(tableId) - LONG_HEADER - CRC;
}

Bytes makeSection(const SectionHeader& header, std::span<const std::uint8_t> body) {
  if (body.size() > bodyCapacity(header.tableId)) throw std::length_error("a table does not fit into its section");
  ByteWriter writer;
  writer.u8(header.tableId);
  writer.u16(longFormBits(header.tableId) << 12 | (body.size() + LONG_HEADER - 3 + CRC));
  writer.u16(header.extension);
  writer.u8(0xC1U | (header.version & 0x1FU) << 1);  // current_next_indicator: valid now
  writer.u8(header.number);
  writer.u8(header.last);
  writer.bytes(body);
  writer.u32(crc32(writer.get()));
  return writer.get();
}

Bytes makeShortSection(std::uint8_t tableId, std::span<const std::uint8_t> body, bool withCrc) {
  ByteWriter writer;
  writer.u8(tableId);
  writer.u16(0x7000U | (body.size() + (withCrc ? CRC : 0)));
  writer.bytes(body);
  if (withCrc) writer.u32(crc32(writer.get()));
  return writer.get();
}

}  // namespace broadcaster

#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ratio>

namespace broadcaster {

/// The system clock of a transport stream, 27 MHz (ISO/IEC 13818-1, 2.4.2.1). Zero is the first byte of the file.
using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 27'000'000>>;

constexpr std::size_t PACKET_SIZE = 188;
using Packet = std::array<std::uint8_t, PACKET_SIZE>;

/// Packet identifiers (13 bits): ISO/IEC 13818-1 table 2-3 and EN 300 468 table 1.
namespace pid {
constexpr std::uint16_t PAT = 0x0000;
constexpr std::uint16_t NIT = 0x0010;
constexpr std::uint16_t SDT = 0x0011;
constexpr std::uint16_t EIT = 0x0012;
constexpr std::uint16_t TDT = 0x0014;
constexpr std::uint16_t NONE = 0x1FFF;  // null packets, and "no PCR" in a PMT
}  // namespace pid

}  // namespace broadcaster

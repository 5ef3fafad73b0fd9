#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "middleware/si/DvbText.h"
#include "middleware/si/Multiplex.h"
#include "middleware/si/Section.h"

/// From the sections of a table to what it says. Sections that are shorter than they claim give what is whole. Each
/// reader expects sections of its own table.
namespace durix {

inline constexpr std::uint8_t PAT_TABLE = 0x00;
inline constexpr std::uint8_t PMT_TABLE = 0x02;
inline constexpr std::uint8_t NIT_ACTUAL_TABLE = 0x40;
inline constexpr std::uint8_t SDT_ACTUAL_TABLE = 0x42;
inline constexpr std::uint8_t TDT_TABLE = 0x70;
inline constexpr std::uint8_t TOT_TABLE = 0x73;

/// Programme numbers with their PMT PIDs, the network's entry (programme 0) left out.
std::vector<std::pair<std::uint16_t, std::uint16_t>> readPat(const Section& section);

Program readPmt(const Section& section, std::uint16_t pid);

std::vector<DescribedService> readSdt(std::span<const Section> sections, DefaultTable table);

Network readNit(std::span<const Section> sections, DefaultTable table);

/// TDT or TOT; nothing where it holds no moment.
std::optional<BroadcastTime> readTime(const Section& section);

/// UTC seconds since 1970 from the five bytes of EN 300 468, annex C: a day's number and hour, minute, second in BCD.
/// The number has 16 bits and begins again on 2038-04-23; days before 1970 are read as those of the second round.
std::optional<std::int64_t> readMoment(std::span<const std::uint8_t, 5> bytes);

}  // namespace durix

#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace durix {

/// Text in the default table of EN 300 468 (figure A.1: ISO 6937 with the euro sign) as Unicode. A diacritic stands
/// before its letter and is composed with it; before a blank it stands for itself. Control codes 0x00 to 0x1F and 0x7F
/// to 0x9F keep their numbers, bytes without a character are left out.
std::u32string decodeIso6937(std::span<const std::uint8_t> text);

}  // namespace durix

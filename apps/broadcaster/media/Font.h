#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace broadcaster {

constexpr int GLYPH_WIDTH = 5;    // dots
constexpr int GLYPH_HEIGHT = 7;   // dots
constexpr int GLYPH_ADVANCE = 6;  // from one letter to the next

/// Seven rows from the top; the lowest five bits are the dots, the rightmost one the least.
using Glyph = std::array<std::uint8_t, GLYPH_HEIGHT>;

/// A letter of the built-in font: capital letters, digits, blank and ".:+-"; anything else is a full block.
const Glyph& glyphOf(char letter);

/// The width of a text in dots, without the gap after its last letter.
constexpr int textWidth(std::string_view text) {
  return text.empty() ? 0 : static_cast<int>(text.size()) * GLYPH_ADVANCE - (GLYPH_ADVANCE - GLYPH_WIDTH);
}

}  // namespace broadcaster

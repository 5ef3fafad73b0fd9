#include "TeletextText.h"

#include <algorithm>

#include "Failure.h"
#include "Text.h"

namespace tv {
namespace {

constexpr unsigned FIRST_PAGE = 100;
constexpr unsigned LAST_PAGE = 899;
constexpr std::size_t PAGE_DIGITS = 3;
constexpr std::size_t SUBPAGE_DIGITS = 4;
constexpr unsigned LAST_SUBPAGE = 3979;  // the digits have 2, 4, 3 and 4 bits, and are decimal
constexpr unsigned LAST_TENS = 7;

/// Nothing when it is no number of at most so many decimal digits.
std::optional<unsigned> number(std::string_view text, std::size_t most) {
  const auto isDigit = [](char letter) { return letter >= '0' && letter <= '9'; };
  if (text.empty() || text.size() > most || !std::ranges::all_of(text, isDigit)) return std::nullopt;
  unsigned value = 0;
  for (const char digit : text) value = value * 10 + static_cast<unsigned>(digit - '0');
  return value;
}

/// The block element for the code of a mosaic: bits 0 to 4 and 6 are its six parts from the upper left.
std::string blockOf(unsigned code) {
  constexpr unsigned LEFT = 0b010101;
  constexpr unsigned RIGHT = 0b101010;
  constexpr unsigned FULL = 0b111111;
  const unsigned parts = (code & 0x1FU) | (code & 0x40U) >> 1;
  if (parts == 0) return " ";
  if (parts == FULL) return "█";
  if (parts == LEFT) return "▌";
  if (parts == RIGHT) return "▐";
  const unsigned sextant = 0x1FB00 + parts - 1 - (parts > LEFT ? 1 : 0) - (parts > RIGHT ? 1 : 0);
  std::string text;
  for (const unsigned byte :
       {0xF0 | sextant >> 18, 0x80 | (sextant >> 12 & 0x3F), 0x80 | (sextant >> 6 & 0x3F), 0x80 | (sextant & 0x3F)}) {
    text += static_cast<char>(byte);
  }
  return text;
}

/// The code of a mosaic at the start of the text: U+EE00 to U+EE7F are 0xEE 0xB8 or 0xB9 and a third byte in UTF-8.
std::optional<unsigned> mosaicAt(std::string_view text) {
  if (text.size() < 3 || text[0] != '\xEE' || (text[1] != '\xB8' && text[1] != '\xB9')) return std::nullopt;
  return (text[1] == '\xB9' ? 0x40U : 0U) | (static_cast<unsigned char>(text[2]) & 0x3FU);
}

}  // namespace

TeletextPlace readTeletextPlace(const std::string& text) {
  const std::size_t point = text.find('.');
  const auto page = number(std::string_view(text).substr(0, point), PAGE_DIGITS);
  if (!page || *page < FIRST_PAGE || *page > LAST_PAGE) {
    throw UsageError("\"" + printable(text) + "\" is no page of teletext: those are 100 to 899, as in 100 or 100.2");
  }
  if (point == std::string::npos) return {*page, 0};
  const auto subpage = number(std::string_view(text).substr(point + 1), SUBPAGE_DIGITS);
  if (!subpage || *subpage > LAST_SUBPAGE || *subpage / 10 % 10 > LAST_TENS) {
    throw UsageError("\"" + printable(text) + "\" has no subpage of teletext: those are 1 to 79 and at most " +
                     std::to_string(LAST_SUBPAGE));
  }
  return {*page, *subpage};
}

std::string teletextPlaceText(const TeletextPlace& place) {
  return std::to_string(place.page) + (place.subpage == 0 ? "" : "." + std::to_string(place.subpage));
}

std::string teletextLine(std::string_view line) {
  std::string text;
  while (!line.empty()) {
    if (const auto code = mosaicAt(line)) {
      text += blockOf(*code);
      line.remove_prefix(3);
    } else {
      text += line.front();
      line.remove_prefix(1);
    }
  }
  return printable(text);
}

}  // namespace tv

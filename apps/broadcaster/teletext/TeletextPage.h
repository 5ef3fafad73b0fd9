#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace broadcaster {

/// A teletext packet without clock run-in and framing code (EN 300 706, 7.1).
using TeletextLine = std::array<std::uint8_t, 42>;

/// A page of teletext. Numbers are written as their digits: 0x100 to 0x8FF, subpages 0x1 to 0x79, 0 for none.
struct TeletextPage {
  struct Row {
    unsigned number;   // 1 to 24
    std::string text;  // UTF-8 and the control codes of level 1 (EN 300 706, 12.2), 40 characters at most
  };

  unsigned number = 0;
  unsigned subpage = 0;
  bool isSubtitle = false;  // is laid over the picture
  std::vector<Row> rows{};
  std::vector<unsigned> links{};  // the pages of the coloured keys, four at most
};

/// The packets of a page: header, links, rows. `language` chooses the letters (tables 32 and 36), `title` and `clock`,
/// of eight characters, stand in the header. Throws std::runtime_error when the language lacks a character.
std::vector<TeletextLine> linesOf(const TeletextPage& page, std::string_view language, std::string_view title,
                                  std::string_view clock);

/// A header that only ends the page before it (EN 300 706, 9.3.1: time filling).
TeletextLine fillingHeader();

}  // namespace broadcaster

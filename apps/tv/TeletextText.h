#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tv {

/// A page of teletext as people name it: 100 to 899, and the four digits of the subpage, 0 for any.
struct TeletextPlace {
  unsigned page = 0;
  unsigned subpage = 0;
};

/// "PAGE" or "PAGE.SUB". Throws UsageError for what can be no page.
TeletextPlace readTeletextPlace(const std::string& text);

/// "100", "100.2".
std::string teletextPlaceText(const TeletextPlace& place);

/// A line of a page for the terminal: mosaics, which stand in the private use area, as block elements.
std::string teletextLine(std::string_view line);

}  // namespace tv

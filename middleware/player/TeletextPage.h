#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "FFPic.h"

struct vbi_page;

namespace durix {

/// A page of teletext by the digits that people read: page 100 to 899; the subpage's four digits, 0 where a page has
/// none.
struct TeletextAddress {
  std::uint32_t page = 0;
  std::uint32_t subpage = 0;

  bool operator==(const TeletextAddress&) const = default;
};

/// Whether a subpage of that number can be sent: the four digits have 4, 3, 4 and 2 bits (EN 300 706, 9.3.1).
bool isSubpage(std::uint32_t subpage);

/// A page as it looked at one moment. Never changes; any thread.
class TeletextPage {
 public:
  using Lines = std::array<std::string, FFPIC_TELETEXT_LINES>;

  // Pixels are square: 40 characters of 12 by 25 of 10, drawn twice as wide and three times as high.
  static constexpr std::uint32_t WIDTH = 960;
  static constexpr std::uint32_t HEIGHT = 750;

  TeletextPage(const TeletextAddress& address, const vbi_page& formatted);

  const TeletextAddress& address() const { return _address; }

  /// 40 characters each. Mosaics are in the private use area: U+EE00 and their code, less 0x20 when they are separated.
  /// Beneath characters of double height stands nothing. Concealed characters are in the text, but not in the picture:
  /// nobody could reveal them.
  const Lines& lines() const { return _lines; }

  bool flashes() const { return _flashes; }

  /// Characters, colours and all.
  bool looksLike(const TeletextPage& other) const;

  /// WIDTH by HEIGHT pixels of four bytes; flashing characters are there or away.
  std::vector<std::uint8_t> draw(bool flashOn) const;

 private:
  TeletextAddress _address;
  std::shared_ptr<const vbi_page> _page;
  Lines _lines;
  bool _flashes = false;
};

}  // namespace durix

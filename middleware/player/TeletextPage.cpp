#include "middleware/player/TeletextPage.h"

#include <libzvbi.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace durix {
namespace {

constexpr int COLUMNS = 40;
constexpr std::size_t CELL_WIDTH = 12;  // as libzvbi draws
constexpr std::size_t CELL_HEIGHT = 10;
constexpr std::size_t PIXEL = 4;  // bytes
constexpr std::size_t DRAWN_WIDTH = COLUMNS * CELL_WIDTH;
constexpr std::size_t DRAWN_HEIGHT = FFPIC_TELETEXT_LINES * CELL_HEIGHT;
constexpr std::size_t ACROSS = TeletextPage::WIDTH / DRAWN_WIDTH;
constexpr std::size_t DOWN = TeletextPage::HEIGHT / DRAWN_HEIGHT;
static_assert(ACROSS * DRAWN_WIDTH == TeletextPage::WIDTH && DOWN * DRAWN_HEIGHT == TeletextPage::HEIGHT);

void appendUtf8(std::string& text, unsigned code) {
  if (code < 0x80) {
    text += static_cast<char>(code);
    return;
  }
  if (code < 0x800) {
    text += static_cast<char>(0xC0 | code >> 6);
  } else {
    text += static_cast<char>(0xE0 | code >> 12);
    text += static_cast<char>(0x80 | (code >> 6 & 0x3F));
  }
  text += static_cast<char>(0x80 | (code & 0x3F));
}

const vbi_char& cellAt(const vbi_page& page, std::size_t row, int column) {
  return page.text[row * static_cast<std::size_t>(page.columns) + static_cast<std::size_t>(column)];
}

// The parts of a large character but the one that it begins with.
bool isCovered(const vbi_char& cell) {
  return cell.size > VBI_DOUBLE_SIZE;
}

}  // namespace

bool isSubpage(std::uint32_t subpage) {
  return subpage <= 3979 && subpage / 10 % 10 <= 7;
}

TeletextPage::TeletextPage(const TeletextAddress& address, const vbi_page& formatted)
    : _address(address), _page(std::make_shared<const vbi_page>(formatted)) {
  for (std::size_t row = 0; row < _lines.size(); ++row) {
    for (int column = 0; column < COLUMNS; ++column) {
      const vbi_char& cell = cellAt(*_page, row, column);
      const bool isBlank = isCovered(cell) || cell.unicode == 0;
      appendUtf8(_lines[row], isBlank ? ' ' : cell.unicode);
      _flashes = _flashes || (cell.flash && cell.unicode != ' ' && !cell.conceal);
    }
  }
}

bool TeletextPage::looksLike(const TeletextPage& other) const {
  const std::size_t cells = static_cast<std::size_t>(_page->rows) * static_cast<std::size_t>(_page->columns);
  return _page->rows == other._page->rows && _page->columns == other._page->columns &&
         std::memcmp(_page->text, other._page->text, cells * sizeof(vbi_char)) == 0 &&
         std::ranges::equal(_page->color_map, other._page->color_map);
}

std::vector<std::uint8_t> TeletextPage::draw(bool flashOn) const {
  std::vector<std::uint8_t> drawn(DRAWN_WIDTH * DRAWN_HEIGHT * PIXEL);
  vbi_page page = *_page;  // the library takes it to be written to
  vbi_draw_vt_page_region(&page, VBI_PIXFMT_RGBA32_LE, drawn.data(), static_cast<int>(DRAWN_WIDTH * PIXEL), 0, 0,
                          COLUMNS, FFPIC_TELETEXT_LINES, 0, flashOn ? 1 : 0);
  std::vector<std::uint8_t> picture(std::size_t{WIDTH} * HEIGHT * PIXEL);
  auto to = picture.begin();
  for (std::size_t y = 0; y < HEIGHT; ++y) {
    const std::uint8_t* from = drawn.data() + y / DOWN * DRAWN_WIDTH * PIXEL;
    for (std::size_t x = 0; x < WIDTH; ++x) to = std::copy_n(from + x / ACROSS * PIXEL, PIXEL, to);
  }
  return picture;
}

}  // namespace durix

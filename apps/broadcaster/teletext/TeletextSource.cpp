#include "apps/broadcaster/teletext/TeletextSource.h"

#include "apps/broadcaster/teletext/TeletextPages.h"

namespace broadcaster {
namespace {

constexpr Ticks UNIT = std::chrono::milliseconds(40);
constexpr std::int64_t LINES_OF_UNIT = 3;  // 46 bytes each, as is the header with the data identifier
constexpr std::int64_t LAST_LINES = 2;     // that end everything
constexpr std::uint8_t FIRST_LINE = 0xE7;  // line 7 of the first field

std::uint8_t turned(std::uint8_t byte) {
  std::uint8_t result = 0;
  for (int bit = 0; bit < 8; ++bit, byte >>= 1U) {
    result = static_cast<std::uint8_t>(static_cast<unsigned>(result) << 1U | (byte & 1U));
  }
  return result;
}

}  // namespace

TeletextSource::TeletextSource(const Service& service, Moment start, Ticks early, std::chrono::seconds length)
    : _service(service),
      _start(start),
      _pages(teletextPages(service, start)),
      _unit(-(early / UNIT)),
      _end(length / UNIT - early / UNIT) {}

Moment TeletextSource::now() const {
  return _start + std::chrono::floor<std::chrono::seconds>(_unit * UNIT);
}

std::int64_t TeletextSource::room() const {
  return (_end - _unit) * LINES_OF_UNIT;
}

void TeletextSource::put(const TeletextPage& page) {
  for (const TeletextLine& line : linesOf(page, _service.language, _service.caption, clockOf(now()))) {
    _lines.push_back({page.isSubtitle, line});
  }
}

void TeletextSource::choosePage() {
  if (_subtitled != now()) {
    _subtitled = now();
    put(teletextSubtitle(_service, now()));
  } else {
    put(_pages[_page]);
    _page = (_page + 1) % _pages.size();
    // Only another page ends one: a subpage does not end the one before it.
    _lines.push_back({false, fillingHeader()});
  }
  if (static_cast<std::int64_t>(_lines.size()) + LAST_LINES > room() - LINES_OF_UNIT) finish();
}

void TeletextSource::finish() {
  _lines.clear();
  put(emptySubtitle());
  _lines.push_back({false, fillingHeader()});
  _isFinished = true;
}

std::optional<AccessUnit> TeletextSource::next() {
  if (_unit >= _end) return std::nullopt;
  AccessUnit unit;
  unit.data.push_back(0x10);  // data_identifier: EBU data
  for (std::int64_t i = 0; i < LINES_OF_UNIT; ++i) {
    if (_lines.empty() && !_isFinished) choosePage();
    if (_lines.empty()) {
      unit.data.insert(unit.data.end(), {0xFF, 0x2C});  // stuffing
      unit.data.insert(unit.data.end(), 0x2C, 0xFF);
      continue;
    }
    const Line line = _lines.front();
    _lines.pop_front();
    unit.data.insert(unit.data.end(), {static_cast<std::uint8_t>(line.isSubtitle ? 0x03 : 0x02), 0x2C,
                                       static_cast<std::uint8_t>(FIRST_LINE + i), 0xE4});
    for (const std::uint8_t byte : line.data) unit.data.push_back(turned(byte));
  }
  unit.presentation = unit.decoding = _unit++ * UNIT;
  return unit;
}

}  // namespace broadcaster

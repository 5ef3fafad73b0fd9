#pragma once

#include <cstdint>
#include <deque>

#include "apps/broadcaster/Lineup.h"
#include "apps/broadcaster/teletext/TeletextPage.h"
#include "apps/broadcaster/ts/AccessUnit.h"

namespace broadcaster {

/// The teletext of a service as PES data (EN 300 472): its pages round and round, and the subtitles each second. The
/// last page is whole when the stream ends, and no subtitle is left.
class TeletextSource : public AccessUnitSource {
 public:
  /// So that a PES packet is one transport packet (EN 300 472, 4.2): the length of its header behind that field.
  static constexpr std::size_t HEADER_LENGTH = 0x24;

  /// As AudioSource: begins and ends `early` before the pictures.
  TeletextSource(const Service& service, Moment start, Ticks early, std::chrono::seconds length);

  std::optional<AccessUnit> next() override;

 private:
  struct Line {
    bool isSubtitle;
    TeletextLine data;
  };

  [[nodiscard]] Moment now() const;
  /// How many more lines there is room for, the one to come included.
  [[nodiscard]] std::int64_t room() const;
  void choosePage();
  void finish();
  void put(const TeletextPage& page);

  const Service& _service;
  Moment _start;
  std::vector<TeletextPage> _pages;
  std::int64_t _unit;
  std::int64_t _end;
  std::deque<Line> _lines;  // that wait
  std::size_t _page = 0;    // the next one
  std::optional<Moment> _subtitled;
  bool _isFinished = false;
};

}  // namespace broadcaster

#pragma once

#include <cstdint>

#include "apps/broadcaster/Lineup.h"
#include "apps/broadcaster/media/Picture.h"
#include "apps/broadcaster/si/Times.h"

namespace broadcaster {

/// The pictures of a channel: its pattern, number and caption, the local time of the network, and a ball that touches
/// the ground at each full second, when the sound strikes its note.
class TestPicture {
 public:
  static constexpr int PER_SECOND = 25;

  /// `service` has a video; `start` is the time of picture 0.
  TestPicture(const Service& service, Moment start);

  /// Picture `index` of the broadcast; valid until the next call.
  const Picture& draw(std::int64_t index);

 private:
  void drawPattern(const Video& video);
  void drawPanels(const Service& service);
  void drawClock(std::int64_t second);
  void drawBall(std::int64_t index);

  Moment _start;
  Picture _background;
  Picture _current;
};

}  // namespace broadcaster

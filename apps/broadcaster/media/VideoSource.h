#pragma once

#include <cstdint>

#include "apps/broadcaster/Lineup.h"
#include "apps/broadcaster/media/Encoder.h"
#include "apps/broadcaster/media/TestPicture.h"
#include "apps/broadcaster/si/Times.h"
#include "apps/broadcaster/ts/AccessUnit.h"

namespace broadcaster {

/// Whether libavcodec can encode H.264 here.
bool canEncodeH264();

/// The pictures of a service, encoded one after the other as they are asked for.
class VideoSource : public AccessUnitSource {
 public:
  /// `pictures` of them from `start` on. Throws std::runtime_error when the encoder cannot be had.
  VideoSource(const Service& service, Moment start, std::int64_t pictures);

  std::optional<AccessUnit> next() override;

 private:
  void sendPicture();

  TestPicture _pictures;
  Encoder _encoder;
  std::int64_t _count;
  std::int64_t _sent = 0;
  bool _finished = false;
};

}  // namespace broadcaster

#pragma once

#include <cstdint>

#include "apps/broadcaster/Lineup.h"
#include "apps/broadcaster/media/Encoder.h"
#include "apps/broadcaster/ts/AccessUnit.h"

namespace broadcaster {

/// The sound of one track as MPEG-1 layer II: a note that is struck each second, or a tune.
class AudioSource : public AccessUnitSource {
 public:
  /// As much sound as fits into `length`, beginning and ending `early` before the pictures: sound arrives shortly
  /// before it is heard, so that a piece of a stream holds earlier sound than pictures. Throws std::runtime_error when
  /// the encoder cannot be had.
  AudioSource(const Audio& audio, Ticks early, std::chrono::seconds length);

  /// Five frames at a time, 120 ms.
  std::optional<AccessUnit> next() override;

 private:
  void sendFrame();

  Audio _audio;
  Encoder _encoder;
  std::int64_t _end;     // the unit after the last one
  std::int64_t _unit;    // the next one; number 0 begins with the first picture
  std::int64_t _sample;  // of each channel, the next one
};

}  // namespace broadcaster

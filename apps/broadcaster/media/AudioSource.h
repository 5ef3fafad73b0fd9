#pragma once

#include <cstdint>

#include "apps/broadcaster/Lineup.h"
#include "apps/broadcaster/media/Encoder.h"
#include "apps/broadcaster/ts/AccessUnit.h"

namespace broadcaster {

/// The sound of one track, as MPEG-1 layer II or AC-3: a note that is struck each second, or a tune.
class AudioSource : public AccessUnitSource {
 public:
  /// As much sound as fits into `length`, beginning and ending `early` before the pictures: sound arrives shortly
  /// before it is heard, so that a piece of a stream holds earlier sound than pictures. Throws std::runtime_error when
  /// the encoder cannot be had.
  AudioSource(const Audio& audio, Ticks early, std::chrono::seconds length);

  /// Some frames at a time: 120 ms of MPEG, 96 ms of AC-3.
  std::optional<AccessUnit> next() override;

 private:
  void sendFrame();

  struct Format;
  static const Format& formatOf(AudioCodec codec);

  Audio _audio;
  const Format& _format;
  Encoder _encoder;
  std::int64_t _end;     // the unit after the last one
  std::int64_t _unit;    // the next one; number 0 begins with the first picture
  std::int64_t _sample;  // of each channel, the next one
};

}  // namespace broadcaster

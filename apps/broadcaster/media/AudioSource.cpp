#include "apps/broadcaster/media/AudioSource.h"

#include <array>
#include <cmath>
#include <numbers>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace broadcaster {
namespace {

constexpr int SAMPLE_RATE = 48000;
constexpr int FRAME_SAMPLES = 1152;
constexpr int FRAMES_OF_UNIT = 5;
constexpr Ticks UNIT = std::chrono::milliseconds(120);
constexpr int BIT_RATE = 96'000;

/// Half notes above the lowest one; two of them a second.
constexpr std::array TUNE = {0, 4, 7, 12, 9, 7, 4, 9, 5, 2};

Encoder makeEncoder() {
  Encoder encoder{"mp2fixed", "mp2"};
  AVCodecContext& context = encoder.context();
  context.sample_fmt = AV_SAMPLE_FMT_S16;
  context.sample_rate = SAMPLE_RATE;
  context.bit_rate = BIT_RATE;
  context.time_base = {1, SAMPLE_RATE};
  av_channel_layout_default(&context.ch_layout, 2);
  encoder.open({});
  return encoder;
}

/// A struck note: a quick rise, a fall to a level that stays.
double envelope(double seconds) {
  return std::min(1.0, seconds / 0.005) * (0.03 + 0.17 * std::exp(-4 * seconds));
}

/// Samples before time zero have negative numbers; the sound comes round each minute.
std::int16_t soundAt(const Audio& audio, std::int64_t sample) {
  sample += std::int64_t{60} * SAMPLE_RATE;
  const int noteSamples = audio.melody ? SAMPLE_RATE / 2 : SAMPLE_RATE;
  const auto note = static_cast<std::size_t>(sample / noteSamples);
  const double seconds = static_cast<double>(sample % noteSamples) / SAMPLE_RATE;
  const int step = audio.melody ? TUNE[note % TUNE.size()] : 0;
  const double pitch = audio.pitch * std::exp2(step / 12.0);
  const double wave = std::sin(2 * std::numbers::pi * pitch * seconds);
  return static_cast<std::int16_t>(std::lround(32767 * envelope(seconds) * wave));
}

}  // namespace

AudioSource::AudioSource(const Audio& audio, Ticks early, std::chrono::seconds length)
    : _audio(audio),
      _encoder(makeEncoder()),
      _end(length / UNIT - early / UNIT),
      _unit(-(early / UNIT)),
      _sample(_unit * FRAMES_OF_UNIT * FRAME_SAMPLES) {}

void AudioSource::sendFrame() {
  AVFrame& frame = _encoder.newFrame();
  frame.pts = _sample;
  auto* samples = reinterpret_cast<std::int16_t*>(frame.data[0]);  // left and right in turn
  for (int i = 0; i < FRAME_SAMPLES; ++i, samples += 2) samples[0] = samples[1] = soundAt(_audio, _sample++);
  _encoder.send();
}

std::optional<AccessUnit> AudioSource::next() {
  if (_unit >= _end) return std::nullopt;
  AccessUnit unit;
  for (int frames = 0; frames < FRAMES_OF_UNIT;) {
    const std::optional<AccessUnit> frame = _encoder.receive();
    if (!frame) {
      sendFrame();
      continue;
    }
    unit.data.insert(unit.data.end(), frame->data.begin(), frame->data.end());
    ++frames;
  }
  // The encoder's delay of some samples is left out: every broadcast begins a little early or late.
  unit.presentation = unit.decoding = _unit++ * UNIT;
  unit.randomAccess = true;
  return unit;
}

}  // namespace broadcaster

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
constexpr int BIT_RATE = 96'000;

/// Half notes above the lowest one; two of them a second.
constexpr std::array TUNE = {0, 4, 7, 12, 9, 7, 4, 9, 5, 2};

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

struct AudioSource::Format {
  const char* encoder;
  const char* otherEncoder;  // where that is missing
  AVSampleFormat samples;
  int samplesOfFrame;
  int framesOfUnit;

  [[nodiscard]] Ticks unit() const {
    return Ticks(std::int64_t{framesOfUnit} * samplesOfFrame * Ticks::period::den / SAMPLE_RATE);
  }

  [[nodiscard]] Encoder makeEncoder() const {
    Encoder made{encoder, otherEncoder};
    AVCodecContext& context = made.context();
    context.sample_fmt = samples;
    context.sample_rate = SAMPLE_RATE;
    context.bit_rate = BIT_RATE;
    context.time_base = {1, SAMPLE_RATE};
    av_channel_layout_default(&context.ch_layout, 2);
    made.open({});
    return made;
  }
};

const AudioSource::Format& AudioSource::formatOf(AudioCodec codec) {
  // Encoders in whole numbers come first: what they make is the same on every machine.
  static const Format MPEG1{"mp2fixed", "mp2", AV_SAMPLE_FMT_S16, 1152, 5};
  static const Format AC3{"ac3_fixed", "ac3_fixed", AV_SAMPLE_FMT_S32P, 1536, 3};
  return codec == AudioCodec::Ac3 ? AC3 : MPEG1;
}

AudioSource::AudioSource(const Audio& audio, Ticks early, std::chrono::seconds length)
    : _audio(audio),
      _format(formatOf(audio.codec)),
      _encoder(_format.makeEncoder()),
      _end(length / _format.unit() - early / _format.unit()),
      _unit(-(early / _format.unit())),
      _sample(_unit * _format.framesOfUnit * _format.samplesOfFrame) {}

void AudioSource::sendFrame() {
  AVFrame& frame = _encoder.newFrame();
  frame.pts = _sample;
  const bool planar = av_sample_fmt_is_planar(_format.samples) != 0;
  auto* both = reinterpret_cast<std::int16_t*>(frame.data[0]);  // left and right in turn
  auto* left = reinterpret_cast<std::int32_t*>(frame.data[0]);
  auto* right = reinterpret_cast<std::int32_t*>(frame.data[1]);
  for (int i = 0; i < _format.samplesOfFrame; ++i) {
    const std::int16_t sound = soundAt(_audio, _sample++);
    if (planar) {
      *left++ = *right++ = sound * 65536;
    } else {
      *both++ = sound;
      *both++ = sound;
    }
  }
  _encoder.send();
}

std::optional<AccessUnit> AudioSource::next() {
  if (_unit >= _end) return std::nullopt;
  AccessUnit unit;
  for (int frames = 0; frames < _format.framesOfUnit;) {
    const std::optional<AccessUnit> frame = _encoder.receive();
    if (!frame) {
      sendFrame();
      continue;
    }
    unit.data.insert(unit.data.end(), frame->data.begin(), frame->data.end());
    ++frames;
  }
  // The encoder's delay of some samples is left out: every broadcast begins a little early or late.
  unit.presentation = unit.decoding = _unit++ * _format.unit();
  unit.randomAccess = true;
  return unit;
}

}  // namespace broadcaster

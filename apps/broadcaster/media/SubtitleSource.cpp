#include "apps/broadcaster/media/SubtitleSource.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <vector>

#include "apps/broadcaster/media/Font.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace broadcaster {
namespace {

using namespace std::chrono_literals;

constexpr Ticks TURN = 3s;
constexpr Ticks BEGIN = 400ms;
constexpr Ticks END = 2800ms;

constexpr std::size_t LARGEST = 65536;  // bytes of a display set
constexpr int SCREEN_WIDTH = 720;
constexpr int SCREEN_HEIGHT = 576;
constexpr int SCALE = 4;    // pixels to a dot
constexpr int MARGIN = 12;  // around the text
constexpr int HEIGHT = GLYPH_HEIGHT * SCALE + 2 * MARGIN;
constexpr int TOP = SCREEN_HEIGHT - HEIGHT - 12;  // below what the pictures themselves say

enum Colour : std::uint8_t { TRANSPARENT, GROUND, LETTER };
constexpr std::array<std::uint32_t, 4> PALETTE = {0x00000000, 0xC0101010, 0xFFF0F0A0, 0xFFFFFFFF};  // opacity first

struct Words {
  std::string_view language;
  std::string_view words;
};
constexpr Words WORDS[] = {{"fra", "IL EST"}, {"deu", "ES IST"}, {"ces", "JE"}, {"eng", "IT IS"}};

std::string textAt(std::string_view language, Moment moment) {
  const auto* const found = std::ranges::find(WORDS, language, &Words::language);
  return std::string(found == std::end(WORDS) ? "" : found->words) + " " + clockOf(moment);
}

/// Text on a dark ground, one byte for each pixel.
std::vector<std::uint8_t> drawText(std::string_view text, int width) {
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) * HEIGHT, GROUND);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const Glyph& glyph = glyphOf(text[i]);
    for (int y = 0; y < GLYPH_HEIGHT * SCALE; ++y) {
      for (int x = 0; x < GLYPH_WIDTH * SCALE; ++x) {
        const unsigned row = glyph[static_cast<std::size_t>(y / SCALE)];
        if ((row >> (GLYPH_WIDTH - 1 - x / SCALE) & 1U) == 0) continue;
        const int column = MARGIN + static_cast<int>(i) * GLYPH_ADVANCE * SCALE + x;
        pixels[static_cast<std::size_t>(MARGIN + y) * static_cast<std::size_t>(width) +
               static_cast<std::size_t>(column)] = LETTER;
      }
    }
  }
  return pixels;
}

}  // namespace

void SubtitleSource::Free::operator()(AVCodecContext* context) const {
  avcodec_free_context(&context);
}

SubtitleSource::SubtitleSource(std::string_view language, Moment start, std::chrono::seconds length)
    : _language(language), _start(start), _length(length) {
  const AVCodec* const codec = avcodec_find_encoder(AV_CODEC_ID_DVB_SUBTITLE);
  if (codec != nullptr) _encoder.reset(avcodec_alloc_context3(codec));
  if (_encoder == nullptr) throw std::runtime_error("libavcodec lacks the encoder dvbsub");
  _encoder->width = SCREEN_WIDTH;
  _encoder->height = SCREEN_HEIGHT;
  _encoder->time_base = {1, 1000};
  if (avcodec_open2(_encoder.get(), codec, nullptr) < 0) throw std::runtime_error("cannot open the encoder dvbsub");
}

Bytes SubtitleSource::encode(const std::string& text) const {
  const int width = textWidth(text) * SCALE + 2 * MARGIN;
  std::vector<std::uint8_t> pixels = text.empty() ? std::vector<std::uint8_t>() : drawText(text, width);
  auto palette = PALETTE;
  AVSubtitleRect rectangle{};
  rectangle.type = SUBTITLE_BITMAP;
  rectangle.x = (SCREEN_WIDTH - width) / 2;
  rectangle.y = TOP;
  rectangle.w = width;
  rectangle.h = HEIGHT;
  rectangle.nb_colors = static_cast<int>(palette.size());
  rectangle.data[0] = pixels.data();
  rectangle.data[1] = reinterpret_cast<std::uint8_t*>(palette.data());
  rectangle.linesize[0] = width;
  std::array<AVSubtitleRect*, 1> rectangles = {&rectangle};
  AVSubtitle subtitle{};
  subtitle.num_rects = text.empty() ? 0 : 1;
  subtitle.rects = rectangles.data();
  Bytes data(LARGEST);
  const int size = avcodec_encode_subtitle(_encoder.get(), data.data(), static_cast<int>(data.size()), &subtitle);
  if (size <= 0) throw std::runtime_error("cannot encode subtitles");
  data.resize(static_cast<std::size_t>(size));
  data.insert(data.begin(), {0x20, 0x00});  // data_identifier and subtitle_stream_id (EN 300 743, 7.1)
  data.push_back(0xFF);
  return data;
}

std::optional<AccessUnit> SubtitleSource::next() {
  const Ticks turn = _next / 2 * TURN;
  if (turn + TURN > _length) return std::nullopt;
  const bool begins = _next++ % 2 == 0;
  AccessUnit unit;
  unit.presentation = unit.decoding = turn + (begins ? BEGIN : END);
  unit.randomAccess = begins;
  unit.data = encode(begins ? textAt(_language, _start + std::chrono::floor<std::chrono::seconds>(turn)) : "");
  return unit;
}

}  // namespace broadcaster

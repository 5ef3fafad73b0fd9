#include "apps/broadcaster/media/Picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "apps/broadcaster/media/Font.h"

namespace broadcaster {
namespace {

std::size_t area(int width, int height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

std::uint8_t toByte(double value) {
  return static_cast<std::uint8_t>(std::lround(value));
}

/// Half the width of a circle at a distance from its centre.
double chord(double radius, double distance) {
  return std::sqrt(std::max(0.0, radius * radius - distance * distance));
}

/// A rectangle of one plane.
struct Area {
  int left;
  int top;
  int right;
  int bottom;
};

void moveTowards(std::vector<std::uint8_t>& plane, int stride, const Area& area, int value) {
  for (int row = area.top; row < area.bottom; ++row) {
    const auto begin = plane.begin() + std::ptrdiff_t{row} * stride;
    std::transform(begin + area.left, begin + area.right, begin + area.left,
                   [value](std::uint8_t old) { return static_cast<std::uint8_t>((old + 3 * value) / 4); });
  }
}

}  // namespace

Picture::Picture(int width, int height) : _width(width), _height(height) {
  _planes[0].assign(area(width, height), 16);
  _planes[1].assign(area(width / 2, height / 2), 128);
  _planes[2] = _planes[1];
}

int Picture::column(double x) const {
  return static_cast<int>(std::lround(std::clamp(x / WIDTH, 0.0, 1.0) * _width));
}

int Picture::row(double y) const {
  return static_cast<int>(std::lround(std::clamp(y / HEIGHT, 0.0, 1.0) * _height));
}

double Picture::pointOfRow(int row) const {
  return (row + 0.5) * HEIGHT / _height;
}

void Picture::fill(int row, double left, double right, const Colour& colour) {
  const int from = column(left);
  const int until = column(right);
  if (from >= until) return;
  // The weights of red and blue in luminance: BT.709 above the size of standard definition, else BT.601.
  const double red = _height > 576 ? 0.2126 : 0.299;
  const double blue = _height > 576 ? 0.0722 : 0.114;
  const double luminance = red * colour.red + (1 - red - blue) * colour.green + blue * colour.blue;
  const auto put = [](std::vector<std::uint8_t>& plane, int begin, int end, double value) {
    std::fill(plane.begin() + begin, plane.begin() + end, toByte(value));
  };
  put(_planes[0], row * _width + from, row * _width + until, 16 + luminance * 219 / 255);
  if (row % 2 != 0) return;
  const int start = row / 2 * (_width / 2);
  put(_planes[1], start + from / 2, start + until / 2, 128 + (colour.blue - luminance) / (2 - 2 * blue) * 224 / 255);
  put(_planes[2], start + from / 2, start + until / 2, 128 + (colour.red - luminance) / (2 - 2 * red) * 224 / 255);
}

void Picture::rectangle(double x, double y, double width, double height, const Colour& colour) {
  for (int line = row(y); line < row(y + height); ++line) fill(line, x, x + width, colour);
}

void Picture::disc(double centreX, double centreY, double radius, const Colour& colour) {
  ring(centreX, centreY, radius, radius, colour);
}

void Picture::ring(double centreX, double centreY, double radius, double thickness, const Colour& colour) {
  for (int line = row(centreY - radius); line < row(centreY + radius); ++line) {
    const double distance = pointOfRow(line) - centreY;
    const double outer = chord(radius, distance);
    const double inner = chord(radius - thickness, distance);
    fill(line, centreX - outer, centreX - inner, colour);
    fill(line, centreX + inner, centreX + outer, colour);
  }
}

void Picture::text(double x, double y, double scale, std::string_view text, const Colour& colour) {
  for (const char letter : text) {
    const Glyph& glyph = glyphOf(letter);
    for (int line = 0; line < GLYPH_HEIGHT; ++line) {
      for (int dot = 0; dot < GLYPH_WIDTH; ++dot) {
        const int bit = GLYPH_WIDTH - 1 - dot;
        if ((glyph[static_cast<std::size_t>(line)] >> bit & 1) == 0) continue;
        rectangle(x + dot * scale, y + line * scale, scale, scale, colour);
      }
    }
    x += GLYPH_ADVANCE * scale;
  }
}

void Picture::shade(double x, double y, double width, double height) {
  const Area whole{column(x), row(y), column(x + width), row(y + height)};
  const Area half{whole.left / 2, whole.top / 2, whole.right / 2, whole.bottom / 2};
  moveTowards(_planes[0], _width, whole, 16);
  moveTowards(_planes[1], _width / 2, half, 128);
  moveTowards(_planes[2], _width / 2, half, 128);
}

}  // namespace broadcaster

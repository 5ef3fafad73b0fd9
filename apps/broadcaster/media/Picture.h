#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace broadcaster {

/// Red, green and blue, 0 to 255.
struct Colour {
  int red = 0;
  int green = 0;
  int blue = 0;
};

/// A picture of 16:9 as encoders want it: a plane of luminance and two of colour difference at half the width and
/// height, in the range of video (16 to 235), with the colour matrix of its size (BT.601 up to 576 lines, else BT.709).
/// Whatever its pixels are, one draws on WIDTH by HEIGHT square points from the upper left; what lies beyond is cut
/// off.
class Picture {
 public:
  static constexpr int WIDTH = 1024;
  static constexpr int HEIGHT = 576;

  /// Width and height in pixels, even.
  Picture(int width, int height);

  [[nodiscard]] int width() const { return _width; }
  [[nodiscard]] int height() const { return _height; }
  [[nodiscard]] const std::vector<std::uint8_t>& luminance() const { return _planes[0]; }
  [[nodiscard]] const std::vector<std::uint8_t>& blueDifference() const { return _planes[1]; }
  [[nodiscard]] const std::vector<std::uint8_t>& redDifference() const { return _planes[2]; }

  void rectangle(double x, double y, double width, double height, const Colour& colour);
  void disc(double centreX, double centreY, double radius, const Colour& colour);
  void ring(double centreX, double centreY, double radius, double thickness, const Colour& colour);
  /// Text in the built-in font, `scale` points to a dot: see Font.h for its letters and widths.
  void text(double x, double y, double scale, std::string_view text, const Colour& colour);
  /// Makes a rectangle darker, for text to stand on.
  void shade(double x, double y, double width, double height);

 private:
  [[nodiscard]] int column(double x) const;
  [[nodiscard]] int row(double y) const;
  [[nodiscard]] double pointOfRow(int row) const;
  /// Fills a row of pixels between two points.
  void fill(int row, double left, double right, const Colour& colour);

  int _width;
  int _height;
  std::array<std::vector<std::uint8_t>, 3> _planes;
};

}  // namespace broadcaster

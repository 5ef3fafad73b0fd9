#include "apps/broadcaster/media/TestPicture.h"

#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>

#include "apps/broadcaster/media/Font.h"

namespace broadcaster {
namespace {

constexpr Colour WHITE{235, 235, 235};
constexpr Colour PALE{225, 235, 225};
constexpr Colour NIGHT{16, 22, 40};
constexpr Colour AMBER{255, 190, 60};

constexpr double WIDTH = Picture::WIDTH;
constexpr double HEIGHT = Picture::HEIGHT;

/// The strip with caption and time; the ball stands on it.
constexpr double PANEL_TOP = 384;
constexpr double PANEL_HEIGHT = 120;

/// Colour bars of 75 % saturation, in the order of falling luminance (EBU).
constexpr Colour BARS[] = {{191, 191, 191}, {191, 191, 0}, {0, 191, 191}, {0, 191, 0},
                           {191, 0, 191},   {191, 0, 0},   {0, 0, 191},   {16, 16, 16}};

Colour between(const Colour& from, const Colour& to, double share) {
  const auto mix = [share](int a, int b) { return static_cast<int>(std::lround(a + (b - a) * share)); };
  return {mix(from.red, to.red), mix(from.green, to.green), mix(from.blue, to.blue)};
}

void drawBars(Picture& picture) {
  constexpr double COLUMN = WIDTH / std::size(BARS);
  for (std::size_t i = 0; i < std::size(BARS); ++i) {
    const double left = static_cast<double>(i) * COLUMN;
    picture.rectangle(left, 0, COLUMN, HEIGHT * 0.6, BARS[i]);
    const Colour grey = between({0, 0, 0}, {255, 255, 255}, static_cast<double>(i) / (std::size(BARS) - 1));
    picture.rectangle(left, HEIGHT * 0.6, COLUMN, HEIGHT * 0.4, grey);
  }
}

void drawGrid(Picture& picture, const Colour& tint) {
  constexpr int STEP = 64;
  picture.rectangle(0, 0, WIDTH, HEIGHT, tint);
  const Colour lines = between(tint, PALE, 0.3);
  for (int x = 0; x <= Picture::WIDTH; x += STEP) picture.rectangle(x - 1, 0, 2, HEIGHT, lines);
  for (int y = STEP / 2; y < Picture::HEIGHT; y += STEP) picture.rectangle(0, y - 1, WIDTH, 2, lines);
  picture.ring(WIDTH / 2, HEIGHT / 2, HEIGHT * 0.45, 6, WHITE);
}

void drawSunset(Picture& picture, const Colour& tint) {
  constexpr int STRIPES = 24;
  constexpr double HORIZON = HEIGHT * 0.6;
  constexpr double SKY = HORIZON / STRIPES;
  constexpr double SEA = (HEIGHT - HORIZON) / STRIPES;
  for (int i = 0; i < STRIPES; ++i) {
    const Colour sky = between(between(NIGHT, tint, 0.4), between(tint, AMBER, 0.7), i / double{STRIPES});
    picture.rectangle(0, i * SKY, WIDTH, SKY, sky);
  }
  picture.disc(WIDTH * 0.7, HORIZON, 90, {255, 225, 140});
  for (int i = 0; i < STRIPES; ++i) {
    picture.rectangle(0, HORIZON + i * SEA, WIDTH, HEIGHT, between(tint, NIGHT, 0.4 + 0.6 * i / STRIPES));
  }
}

void drawWaves(Picture& picture, const Colour& tint) {
  constexpr int BANDS = 7;
  constexpr int SLICE = 2;
  picture.rectangle(0, 0, WIDTH, HEIGHT, tint);
  for (int band = 1; band < BANDS; ++band) {
    const Colour colour = between(tint, PALE, band % 4 / 4.0);
    for (int x = 0; x < Picture::WIDTH; x += SLICE) {
      const double angle = 2 * std::numbers::pi * (2 * x / WIDTH + band / 5.0);
      picture.rectangle(x, HEIGHT * band / BANDS + 24 * std::sin(angle), SLICE, HEIGHT, colour);
    }
  }
}

std::string clockText(Moment moment) {
  const std::chrono::minutes offset = localOffset(moment);
  const Moment local = moment + offset;
  const auto day = std::chrono::floor<std::chrono::days>(local);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(local - day);
  const std::chrono::hh_mm_ss zone(std::chrono::abs(offset));
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d UTC%c%02d:%02d", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()), offset.count() < 0 ? '-' : '+',
                static_cast<int>(zone.hours().count()), static_cast<int>(zone.minutes().count()));
  return text;
}

void centredText(Picture& picture, double y, double scale, std::string_view text, const Colour& colour) {
  picture.text((WIDTH - textWidth(text) * scale) / 2, y, scale, text, colour);
}

}  // namespace

TestPicture::TestPicture(const Service& service, Moment start)
    : _start(start), _background(service.video->width, service.video->height), _current(_background) {
  drawPattern(*service.video);
  drawPanels(service);
}

void TestPicture::drawPattern(const Video& video) {
  switch (video.pattern) {
    case Pattern::Bars:
      return drawBars(_background);
    case Pattern::Grid:
      return drawGrid(_background, video.tint);
    case Pattern::Sunset:
      return drawSunset(_background, video.tint);
    case Pattern::Waves:
      return drawWaves(_background, video.tint);
  }
}

void TestPicture::drawPanels(const Service& service) {
  constexpr double CORNER = 48;
  constexpr double MARGIN = 14;
  constexpr double DOT = 8;
  const std::string number = std::to_string(service.number);
  _background.shade(CORNER, CORNER, textWidth(number) * DOT + 2 * MARGIN, GLYPH_HEIGHT * DOT + 2 * MARGIN);
  _background.text(CORNER + MARGIN, CORNER + MARGIN, DOT, number, AMBER);

  _background.shade(0, PANEL_TOP, WIDTH, PANEL_HEIGHT);
  centredText(_background, PANEL_TOP + MARGIN, DOT, service.caption, WHITE);
}

void TestPicture::drawClock(std::int64_t second) {
  centredText(_current, PANEL_TOP + 82, 4, clockText(_start + std::chrono::seconds(second)), AMBER);
}

void TestPicture::drawBall(std::int64_t index) {
  constexpr double RADIUS = 24;
  constexpr double CROSSING = 7.5;  // seconds from side to side
  const double second = static_cast<double>(index) / PER_SECOND;
  const double phase = std::fmod(second / CROSSING, 2);
  const double across = phase < 1 ? phase : 2 - phase;
  const double x = RADIUS + across * (WIDTH - 2 * RADIUS);
  const double y = PANEL_TOP - RADIUS - 192 * std::abs(std::sin(std::numbers::pi * second));
  _current.disc(x, y, RADIUS, {20, 20, 20});
  _current.disc(x, y, RADIUS - 3, WHITE);
}

const Picture& TestPicture::draw(std::int64_t index) {
  _current = _background;
  drawClock(index / PER_SECOND);
  drawBall(index);
  return _current;
}

}  // namespace broadcaster

#include "Output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "Text.h"

namespace tv {
namespace {

constexpr unsigned BAR = 24;  // columns

std::string barText(unsigned percent, bool colours) {
  const unsigned full = percent * BAR / 100;
  std::string done;
  std::string left;
  for (unsigned i = 0; i < BAR; ++i) (i < full ? done : left) += i < full ? "\xE2\x94\x81" : "\xE2\x94\x80";
  return toned(done, Tone::ACCENT, colours) + toned(left, Tone::FAINT, colours);
}

std::string percentText(unsigned percent) {
  char text[16];
  std::snprintf(text, sizeof text, "%3u %%", percent);
  return text;
}

std::string dumped(const Json& value, int indent) {
  return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

OutputStyle terminalStyle() {
  OutputStyle style;
  style.terminal = isatty(STDOUT_FILENO) == 1;
  if (!style.terminal) return style;
  const char* noColour = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  style.colours = (noColour == nullptr || *noColour == '\0') &&
                  (terminal != nullptr && std::string_view(terminal) != "dumb" && *terminal != '\0');
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) style.width = size.ws_col;
  return style;
}

void Output::value(const Json& value) {
  _out << dumped(value, _style.terminal ? 2 : -1) << '\n' << std::flush;
}

void Output::objectLine(const Json& value) {
  _out << dumped(value, -1) << '\n' << std::flush;
}

void Output::table(const Table& table) {
  clearBar();
  _out << table.layout(_style.width, _style.colours) << std::flush;
}

void Output::message(const std::string& text, Tone tone) {
  if (_style.json || _style.quiet) return;
  clearBar();
  _out << toned(printable(text), tone, _style.colours) << '\n' << std::flush;
}

void Output::line(const std::string& text) {
  if (_style.json) return;
  clearBar();
  _out << text << '\n' << std::flush;
}

void Output::note(const std::string& text) {
  if (_style.quiet) return;
  clearBar();
  _err << "tv: " << printable(text) << '\n' << std::flush;
}

void Output::error(const std::string& text) {
  clearBar();
  _err << "tv: " << printable(text) << '\n' << std::flush;
}

void Output::progress(unsigned percent, const std::string& text) {
  if (_style.json || _style.quiet) return;
  percent = std::min(percent, 100U);
  const std::string step = percentText(percent) + "  " + printable(text);
  if (step == _lastStep) return;
  _lastStep = step;
  if (!_style.terminal) {
    _out << step << '\n' << std::flush;
    return;
  }
  const std::size_t room = _style.width > BAR + 2 ? _style.width - BAR - 2 : 0;
  _out << "\r\033[K" << barText(percent, _style.colours) << ' ' << (room > 0 ? cutToWidth(step, room) : step)
       << std::flush;
  _barShown = true;
}

void Output::status(const std::string& text) {
  if (_style.json || _style.quiet || !_style.terminal || text == _lastStep) return;
  _lastStep = text;
  const std::string shown = printable(text);
  _out << "\r\033[K" << (_style.width > 1 ? cutToWidth(shown, _style.width - 1) : shown) << std::flush;
  _barShown = true;
}

void Output::endProgress() {
  clearBar();
  _lastStep.clear();
}

void Output::clearBar() {
  if (!_barShown) return;
  _out << "\r\033[K" << std::flush;
  _barShown = false;
}

}  // namespace tv

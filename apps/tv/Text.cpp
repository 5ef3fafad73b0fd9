#include "Text.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

namespace tv {
namespace {

constexpr utf8proc_int32_t REPLACEMENT = 0xFFFD;
constexpr std::string_view ELLIPSIS = "\xE2\x80\xA6";

/// Takes the first code point off `rest`; bytes that are no UTF-8 are taken one by one as U+FFFD.
utf8proc_int32_t takeCodePoint(std::string_view& rest) {
  utf8proc_int32_t point = -1;
  const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(rest.data()),
                                       static_cast<utf8proc_ssize_t>(rest.size()), &point);
  rest.remove_prefix(length > 0 ? static_cast<std::size_t>(length) : 1);
  return length > 0 && point >= 0 ? point : REPLACEMENT;
}

void append(std::string& text, utf8proc_int32_t point) {
  utf8proc_uint8_t bytes[4];
  const auto length = utf8proc_encode_char(point, bytes);
  text.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
}

std::size_t columns(utf8proc_int32_t point) {
  const int width = utf8proc_charwidth(point);
  return width > 0 ? static_cast<std::size_t>(width) : 0;
}

/// Characters to insert, drop or replace so that one text becomes the other.
std::size_t editDistance(const std::string& left, const std::string& right) {
  std::vector<std::size_t> row(right.size() + 1);
  for (std::size_t j = 0; j < row.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= left.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= right.size(); ++j) {
      const std::size_t replaced = diagonal + (left[i - 1] == right[j - 1] ? 0 : 1);
      diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, replaced}));
    }
  }
  return row[right.size()];
}

}  // namespace

std::string printable(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const utf8proc_int32_t point = takeCodePoint(text);
    const auto category = utf8proc_category(point);
    const bool control = category == UTF8PROC_CATEGORY_CC || category == UTF8PROC_CATEGORY_ZL ||
                         category == UTF8PROC_CATEGORY_ZP || (point >= 0x202A && point <= 0x202E) ||
                         (point >= 0x2066 && point <= 0x2069);
    append(result, control ? ' ' : point);
  }
  return result;
}

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) width += columns(takeCodePoint(text));
  return width;
}

std::string cutToWidth(const std::string& text, std::size_t width) {
  if (displayWidth(text) <= width) return text;
  if (width == 0) return {};
  std::string result;
  std::size_t used = 1;  // the ellipsis
  for (std::string_view rest = text; !rest.empty();) {
    const utf8proc_int32_t point = takeCodePoint(rest);
    used += columns(point);
    if (used > width) break;
    append(result, point);
  }
  return result.append(ELLIPSIS);
}

std::string foldCase(const std::string& text) {
  utf8proc_uint8_t* folded = nullptr;
  const auto options = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_CASEFOLD);
  const auto length = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                   static_cast<utf8proc_ssize_t>(text.size()), &folded, options);
  const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(folded, &std::free);
  if (length < 0) return text;
  return {reinterpret_cast<const char*>(folded), static_cast<std::size_t>(length)};
}

std::vector<std::string> nearNames(const std::string& wanted, const std::vector<std::string>& names,
                                   std::size_t count) {
  const std::string typed = foldCase(wanted);
  std::vector<std::pair<std::size_t, std::string>> ranked;
  for (const std::string& name : names) {
    const std::string candidate = foldCase(name);
    const std::size_t distance = editDistance(typed, candidate);
    const bool contains = !typed.empty() && candidate.find(typed) != std::string::npos;
    if (!contains && distance > 1 + typed.size() / 3) continue;
    ranked.emplace_back(contains ? std::min<std::size_t>(distance, 1) : distance, name);
  }
  std::ranges::stable_sort(ranked, {}, &std::pair<std::size_t, std::string>::first);
  std::vector<std::string> result;
  for (const auto& [distance, name] : ranked) {
    if (result.size() == count) break;
    if (std::ranges::find(result, name) == result.end()) result.push_back(name);
  }
  return result;
}

std::string quotedList(const std::vector<std::string>& texts, const std::string& last) {
  std::string result;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (i > 0) result += i + 1 == texts.size() ? " " + last + " " : ", ";
    result += '"' + printable(texts[i]) + '"';
  }
  return result;
}

std::string counted(std::size_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string frequencyText(unsigned frequency, unsigned unit) {
  char text[48];
  std::snprintf(text, sizeof text, "%.6f", static_cast<double>(frequency) * unit / 1e6);
  std::string result = text;
  result.erase(result.find_last_not_of('0') + 1);
  if (result.ends_with('.')) result.pop_back();
  return result + " MHz";
}

}  // namespace tv

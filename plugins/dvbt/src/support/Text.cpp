#include "support/Text.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>

std::int32_t decimalValue(const std::string& text) {
  const long long value = std::strtoll(text.c_str(), nullptr, 10);
  return static_cast<std::int32_t>(
      std::clamp<long long>(value, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

std::uint32_t unsignedValue(const char* text) {
  if (text == nullptr) return 0;
  errno = 0;
  const unsigned long long value = std::strtoull(text, nullptr, 10);
  constexpr unsigned long long LARGEST = std::numeric_limits<std::uint32_t>::max();
  // A minus sign makes strtoull wrap in 64 bits; the platform's strtoul wraps in 32.
  const bool negative = text[std::strspn(text, " \t\n\v\f\r")] == '-';
  if (negative && errno == 0 && 0 - value <= LARGEST) return static_cast<std::uint32_t>(value);
  return static_cast<std::uint32_t>(std::min(value, LARGEST));
}

std::string cutText(const std::string& text, std::size_t bytes) {
  if (text.size() <= bytes) return text;
  std::size_t end = bytes;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end);
}

std::string fixedText(const char* field, std::size_t size) {
  return {field, strnlen(field, size)};
}

std::string asciiLower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

void tokenize(std::string_view text, std::vector<std::string>* tokens, std::string_view delimiters) {
  std::size_t end = 0;
  for (;;) {
    const std::size_t start = text.find_first_not_of(delimiters, end);
    if (start == std::string_view::npos) return;
    end = std::min(text.find_first_of(delimiters, start), text.size());
    tokens->emplace_back(text.substr(start, end - start));
  }
}

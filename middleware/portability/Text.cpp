#include "middleware/portability/Text.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

#include "durix/ostiv.h"
#include "middleware/portability/Memory.h"

namespace durix {

std::string_view cutAtCharacter(std::string_view text, std::size_t size) {
  if (text.size() <= size) return text;
  std::size_t end = size;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end);
}

std::string_view boundedText(const char* field, std::size_t size) {
  return {field, static_cast<std::size_t>(std::find(field, field + size, '\0') - field)};
}

std::string percentDecoded(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned value = 0;
    const auto digits = text[i] == '%' ? text.substr(i + 1, 2) : std::string_view{};
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (digits.size() == 2 && error == std::errc{} && end == digits.data() + 2) {
      result += static_cast<char>(value);
      i += 2;
    } else {
      result += text[i];
    }
  }
  return result;
}

std::string lowerCase(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  const auto* const bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  for (std::size_t at = 0; at < text.size();) {
    utf8proc_int32_t character = 0;
    const auto length = utf8proc_iterate(bytes + at, static_cast<utf8proc_ssize_t>(text.size() - at), &character);
    if (length <= 0) {
      result += text[at++];
      continue;
    }
    std::array<utf8proc_uint8_t, 4> encoded{};
    const auto size = utf8proc_encode_char(utf8proc_tolower(character), encoded.data());
    result.append(reinterpret_cast<const char*>(encoded.data()), static_cast<std::size_t>(size));
    at += static_cast<std::size_t>(length);
  }
  return result;
}

}  // namespace durix

extern "C" char* ostiv_utf8_to_lower(const char* text) {
  if (text == nullptr) return nullptr;
  try {
    return durix::copyForCaller(durix::lowerCase(text));
  } catch (...) {
    return nullptr;
  }
}

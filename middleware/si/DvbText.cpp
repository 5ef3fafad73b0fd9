#include "middleware/si/DvbText.h"

#include <array>
#include <vector>

#include "middleware/si/Charset.h"
#include "middleware/si/Iso6937.h"

namespace durix {

namespace {
using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t FIRST_PRINTABLE = 0x20;  // a smaller first byte selects a table
constexpr std::uint8_t THREE_BYTE_SELECTOR = 0x10;
constexpr std::uint8_t UCS2_SELECTOR = 0x11;
constexpr std::uint8_t KOREAN_SELECTOR = 0x12;
constexpr std::uint8_t CHINESE_SELECTOR = 0x13;
constexpr std::uint8_t BIG5_SELECTOR = 0x14;
constexpr std::uint8_t UTF8_SELECTOR = 0x15;
constexpr std::uint8_t ENCODING_TYPE_SELECTOR = 0x1F;
constexpr char32_t PRIVATE_CONTROLS = 0xE000;  // two-byte tables have the control codes at U+E080 to U+E09F

// Parts of ISO 8859 by their number; part 12 was never made.
constexpr std::array<const char*, 16> ISO_8859 = {nullptr,      "ISO-8859-1",  "ISO-8859-2",  "ISO-8859-3",
                                                  "ISO-8859-4", "ISO-8859-5",  "ISO-8859-6",  "ISO-8859-7",
                                                  "ISO-8859-8", "ISO-8859-9",  "ISO-8859-10", "ISO-8859-11",
                                                  nullptr,      "ISO-8859-13", "ISO-8859-14", "ISO-8859-15"};

// Selectors 0x01 to 0x0B (table A.3) are parts 5 to 15.
constexpr std::uint8_t LAST_PART_SELECTOR = 0x0B;
constexpr std::size_t PART_OF_SELECTOR = 4;

std::u32string decodeLatin1(Bytes text) {
  return {text.begin(), text.end()};
}

std::u32string decodeByName(Bytes text, const char* name) {
  return decodeCharset(text, name).value_or(decodeLatin1(text));
}

std::u32string decodePart(Bytes text, std::size_t part) {
  const char* const name = part < ISO_8859.size() ? ISO_8859[part] : nullptr;
  return name != nullptr ? decodeByName(text, name) : decodeLatin1(text);
}

std::u32string decodeUcs2(Bytes text) {
  std::u32string out;
  for (; text.size() >= 2; text = text.subspan(2)) out += static_cast<char32_t>(text[0] << 8 | text[1]);
  return out;
}

std::u32string decodeSelected(Bytes text, DefaultTable table) {
  const std::uint8_t selector = text.empty() ? FIRST_PRINTABLE : text[0];
  if (selector >= FIRST_PRINTABLE) return table == DefaultTable::Latin1 ? decodeLatin1(text) : decodeIso6937(text);
  const Bytes rest = text.subspan(1);
  switch (selector) {
    case THREE_BYTE_SELECTOR:
      return rest.size() < 2 ? std::u32string{} : decodePart(rest.subspan(2), std::size_t{rest[0]} << 8 | rest[1]);
    case UCS2_SELECTOR:
      return decodeUcs2(rest);
    case KOREAN_SELECTOR:
      return decodeByName(rest, "EUC-KR");
    case CHINESE_SELECTOR:
      return decodeByName(rest, "GBK");
    case BIG5_SELECTOR:
      return decodeByName(rest, "BIG5");
    case UTF8_SELECTOR:
      return decodeUtf8(rest);
    case ENCODING_TYPE_SELECTOR:
      return {};
    default:
      if (selector >= 1 && selector <= LAST_PART_SELECTOR) return decodePart(rest, selector + PART_OF_SELECTOR);
      return decodeIso6937(rest);  // reserved
  }
}

bool isControl(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

// Of the control codes (tables A.1 and A.2) only the line break is text; emphasis and reserved codes are left out.
void applyControls(std::u32string& text) {
  constexpr char32_t LINE_BREAK = 0x8A;
  std::u32string out;
  out.reserve(text.size());
  for (char32_t c : text) {
    if (c >= PRIVATE_CONTROLS + 0x80 && c < PRIVATE_CONTROLS + 0xA0) c -= PRIVATE_CONTROLS;
    if (c == LINE_BREAK || c == U'\n' || c == U'\r') {
      out += U'\n';
    } else if (!isControl(c)) {
      out += c;
    }
  }
  text = std::move(out);
}

bool isSpace(char32_t c) {
  return c == 0x20 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 ||
         c == 0x202F || c == 0x205F || c == 0x3000;
}
}  // namespace

std::string decodeDvbText(std::span<const std::uint8_t> text, DefaultTable table) {
  auto decoded = decodeSelected(text, table);
  applyControls(decoded);
  return encodeUtf8(decoded);
}

std::string canonicalName(std::string_view name) {
  std::vector<std::uint8_t> bytes(name.begin(), name.end());
  std::u32string out;
  for (const char32_t c : decodeUtf8(bytes)) {
    if (!isSpace(c) && !isControl(c)) {
      out += c;
    } else if (!out.empty() && out.back() != U' ') {
      out += U' ';
    }
  }
  if (!out.empty() && out.back() == U' ') out.pop_back();
  return encodeUtf8(out);
}

}  // namespace durix

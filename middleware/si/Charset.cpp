#include "middleware/si/Charset.h"

#include <iconv.h>

#include <array>
#include <bit>
#include <cerrno>
#include <vector>

namespace durix {

namespace {
constexpr char32_t REPLACEMENT = 0xFFFD;

class Converter {
 public:
  explicit Converter(const char* from) : _handle(iconv_open(NATIVE, from)) {}
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (isValid()) iconv_close(_handle);
  }

  // iconv_open answers (iconv_t)-1 for a set that it does not know.
  bool isValid() const { return std::bit_cast<std::intptr_t>(_handle) != -1; }
  iconv_t handle() const { return _handle; }

 private:
  static constexpr const char* NATIVE = std::endian::native == std::endian::little ? "UTF-32LE" : "UTF-32BE";

  iconv_t _handle;
};

bool isSurrogate(char32_t c) {
  return c >= 0xD800 && c <= 0xDFFF;
}

// The length of the well-formed sequence at the front, with its value; 0 for none.
std::size_t utf8Sequence(std::span<const std::uint8_t> text, char32_t& value) {
  const std::uint8_t lead = text[0];
  if (lead < 0x80) {
    value = lead;
    return 1;
  }
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
  value = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((text[i] & 0xC0) != 0x80) return 0;
    value = value << 6 | (text[i] & 0x3FU);
  }
  constexpr std::array<char32_t, 5> SMALLEST = {0, 0, 0x80, 0x800, 0x10000};
  return value < SMALLEST[length] || value > 0x10FFFF || isSurrogate(value) ? 0 : length;
}
}  // namespace

std::optional<std::u32string> decodeCharset(std::span<const std::uint8_t> text, const char* name) {
  const Converter converter(name);
  if (!converter.isValid()) return std::nullopt;
  std::vector<char> input(text.begin(), text.end());  // iconv takes it as changeable
  std::u32string out(text.size(), U'\0');             // no set makes two characters of one byte
  char* from = input.data();
  std::size_t fromLeft = input.size();
  char* to = reinterpret_cast<char*>(out.data());
  std::size_t toLeft = out.size() * sizeof(char32_t);
  while (fromLeft > 0 && iconv(converter.handle(), &from, &fromLeft, &to, &toLeft) == static_cast<std::size_t>(-1)) {
    if (errno != EILSEQ && errno != EINVAL) break;
    ++from;
    --fromLeft;
  }
  out.resize(out.size() - toLeft / sizeof(char32_t));
  return out;
}

std::u32string decodeUtf8(std::span<const std::uint8_t> text) {
  std::u32string out;
  out.reserve(text.size());
  while (!text.empty()) {
    char32_t value = 0;
    const std::size_t length = utf8Sequence(text, value);
    out += length == 0 ? REPLACEMENT : value;
    text = text.subspan(length == 0 ? 1 : length);
  }
  return out;
}

std::string encodeUtf8(std::u32string_view text) {
  std::string out;
  out.reserve(text.size());
  const auto put = [&out](char32_t byte) { out += static_cast<char>(static_cast<unsigned char>(byte)); };
  for (char32_t c : text) {
    if (isSurrogate(c) || c > 0x10FFFF) c = REPLACEMENT;
    if (c < 0x80) {
      put(c);
    } else if (c < 0x800) {
      put(0xC0 | c >> 6);
      put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      put(0xE0 | c >> 12);
      put(0x80 | (c >> 6 & 0x3F));
      put(0x80 | (c & 0x3F));
    } else {
      put(0xF0 | c >> 18);
      put(0x80 | (c >> 12 & 0x3F));
      put(0x80 | (c >> 6 & 0x3F));
      put(0x80 | (c & 0x3F));
    }
  }
  return out;
}

}  // namespace durix

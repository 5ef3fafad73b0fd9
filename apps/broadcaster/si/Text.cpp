#include "apps/broadcaster/si/Text.h"

#include <iconv.h>

#include <algorithm>
#include <stdexcept>

namespace broadcaster {
namespace {

struct Table {
  const char* name;           // of iconv
  std::string_view selector;  // bytes before the text
};

Table tableOf(Charset charset) {
  using namespace std::string_view_literals;
  switch (charset) {
    case Charset::Iso6937:
      return {"ISO_6937", ""sv};
    case Charset::Iso8859_5:
      return {"ISO-8859-5", "\x01"sv};
    case Charset::Iso8859_9:
      return {"ISO-8859-9", "\x05"sv};
    case Charset::Iso8859_2:
      return {"ISO-8859-2", "\x10\x00\x02"sv};
    case Charset::Iso8859_15:
      return {"ISO-8859-15", "\x10\x00\x0F"sv};
    case Charset::Utf8:
      return {"UTF-8", "\x15"sv};
  }
  throw std::logic_error("unknown character table");
}

class Converter {
 public:
  explicit Converter(const char* name) : _handle(iconv_open(name, "UTF-8")) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): iconv's own way to tell a failure
    if (_handle == reinterpret_cast<iconv_t>(-1)) {
      throw std::runtime_error(std::string("the C library has no character table ") + name);
    }
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() { iconv_close(_handle); }

  std::string convert(std::string_view utf8) {
    std::string source(utf8);
    std::string result(4 * utf8.size() + 4, '\0');
    char* in = source.data();
    char* out = result.data();
    std::size_t inLeft = source.size();
    std::size_t outLeft = result.size();
    const bool failed =
        iconv(_handle, &in, &inLeft, &out, &outLeft) != 0 || iconv(_handle, nullptr, nullptr, &out, &outLeft) != 0;
    if (failed) throw std::runtime_error("a character of \"" + source + "\" is not in its table");
    result.resize(result.size() - outLeft);
    return result;
  }

 private:
  iconv_t _handle;
};

constexpr std::string_view EMPHASIS_ON = "\uE086";
constexpr std::string_view EMPHASIS_OFF = "\uE087";

/// The bytes of the character that a UTF-8 text begins with.
std::size_t characterSize(std::string_view utf8) {
  std::size_t size = 1;
  while (size < utf8.size() && (static_cast<unsigned char>(utf8[size]) & 0xC0U) == 0x80U) ++size;
  return size;
}

std::string encodeCharacter(std::string_view utf8, Charset charset, Converter& converter) {
  // In UTF-8 the control codes are characters of the private use area themselves (table A.2).
  if (charset != Charset::Utf8 && utf8 == EMPHASIS_ON) return "\x86";
  if (charset != Charset::Utf8 && utf8 == EMPHASIS_OFF) return "\x87";
  return converter.convert(utf8);
}

}  // namespace

std::string takePiece(std::string_view& utf8, Charset charset, std::size_t most) {
  if (utf8.empty()) return {};
  const Table table = tableOf(charset);
  Converter converter(table.name);
  std::string piece(table.selector);
  while (!utf8.empty()) {
    const std::size_t size = characterSize(utf8);
    const std::string encoded = encodeCharacter(utf8.substr(0, size), charset, converter);
    if (piece.size() + encoded.size() > most) break;
    piece += encoded;
    utf8.remove_prefix(size);
  }
  return piece;
}

std::string encodeText(std::string_view utf8, Charset charset) {
  std::string text = takePiece(utf8, charset, 255);
  if (!utf8.empty()) throw std::length_error("a text is longer than its descriptor");
  return text;
}

}  // namespace broadcaster

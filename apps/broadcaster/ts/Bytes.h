#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace broadcaster {

using Bytes = std::vector<std::uint8_t>;

/// Writes the big-endian fields of sections, descriptors and packet headers. The caller gives each field's value with
/// its flags and reserved bits in place; bits above the field's width are an error of the caller and cut off.
class ByteWriter {
 public:
  void u8(std::uint64_t value) { append(value, 1); }
  void u16(std::uint64_t value) { append(value, 2); }
  void u24(std::uint64_t value) { append(value, 3); }
  void u32(std::uint64_t value) { append(value, 4); }
  void u40(std::uint64_t value) { append(value, 5); }
  void bytes(std::span<const std::uint8_t> data) { _bytes.insert(_bytes.end(), data.begin(), data.end()); }
  void text(std::string_view data) { _bytes.insert(_bytes.end(), data.begin(), data.end()); }

  /// Writes what `body` writes, preceded by its length in 8 bits. Throws std::length_error above 255 bytes.
  template <class Body>
  void sized8(Body body) {
    sized(1, 0xFF, 0, body);
  }

  /// The same with a length of 12 bits below the four bits `upper`. Throws std::length_error above 4095 bytes.
  template <class Body>
  void sized12(std::uint64_t upper, Body body) {
    sized(2, 0xFFF, upper << 12, body);
  }

  [[nodiscard]] const Bytes& get() const { return _bytes; }
  [[nodiscard]] std::size_t size() const { return _bytes.size(); }

 private:
  void append(std::uint64_t value, unsigned bytes) {
    while (bytes-- > 0) _bytes.push_back(static_cast<std::uint8_t>(value >> (8 * bytes)));
  }

  template <class Body>
  void sized(unsigned width, std::size_t most, std::uint64_t upper, Body body) {
    const std::size_t start = _bytes.size();
    append(0, width);
    body();
    const std::size_t length = _bytes.size() - start - width;
    if (length > most) throw std::length_error("a field of a table is longer than its length can say");
    for (unsigned i = 0; i < width; ++i) {
      _bytes[start + i] = static_cast<std::uint8_t>((upper | length) >> (8 * (width - 1 - i)));
    }
  }

  Bytes _bytes;
};

}  // namespace broadcaster

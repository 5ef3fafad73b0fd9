#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The leading decimal integer of a text, as `strtol` reads it; 0 when there is none, clamped to 32 bits.
std::int32_t decimalValue(const std::string& text);

/// The leading unsigned decimal number, as `strtoul` reads it; 0 when there is none or no text, clamped to 32 bits.
std::uint32_t unsignedValue(const char* text);

/// The longest beginning of a UTF-8 text that has at most `bytes` bytes and splits no character.
std::string cutText(const std::string& text, std::size_t bytes);

/// A text field of fixed size in a middleware record: up to its NUL, or all of it when it has none.
std::string fixedText(const char* field, std::size_t size);

/// Lower case of the letters A to Z only, byte by byte, whatever the locale.
std::string asciiLower(std::string text);

/// The text of a pointer that may be null.
inline const char* textOrEmpty(const char* text) {
  return text == nullptr ? "" : text;
}

/// Appends the pieces of `text` between runs of `delimiters` to `tokens`; no piece is empty.
void tokenize(std::string_view text, std::vector<std::string>* tokens, std::string_view delimiters);

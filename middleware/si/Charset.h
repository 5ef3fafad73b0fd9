#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace durix {

/// Text of a character set that iconv knows by `name` as Unicode; bytes that mean nothing there are left out. Nothing
/// when iconv does not know the set.
std::optional<std::u32string> decodeCharset(std::span<const std::uint8_t> text, const char* name);

/// UTF-8 as Unicode; what is not well-formed (Unicode 15, table 3-7) becomes U+FFFD, one for each byte.
std::u32string decodeUtf8(std::span<const std::uint8_t> text);

/// Unicode as UTF-8; surrogates and numbers beyond Unicode become U+FFFD.
std::string encodeUtf8(std::u32string_view text);

}  // namespace durix

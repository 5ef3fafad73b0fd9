#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace durix {

/// The longest beginning of UTF-8 text that has at most `size` bytes and ends between two characters.
std::string_view cutAtCharacter(std::string_view text, std::size_t size);

/// A text field of a record: up to its first NUL, or all of it where none stands in it.
std::string_view boundedText(const char* field, std::size_t size);

/// Undoes percent-escaping; an escape that is none stands for itself.
std::string percentDecoded(std::string_view text);

/// Lower case by Unicode's simple mapping; bytes that are no UTF-8 stay as they are. Throws std::bad_alloc only.
std::string lowerCase(std::string_view text);

}  // namespace durix

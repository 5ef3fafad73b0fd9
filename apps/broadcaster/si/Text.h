#pragma once

#include <string>
#include <string_view>

namespace broadcaster {

/// The character tables of EN 300 468 annex A that the sample broadcast uses.
enum class Charset { Iso6937, Iso8859_5, Iso8859_9, Iso8859_2, Iso8859_15, Utf8 };

/// UTF-8 as a text field of a descriptor: the selector of its table (annex A, tables A.3 and A.4), then the text.
/// U+E086 and U+E087, emphasis on and off, become the control codes 0x86 and 0x87 (table A.1). Throws
/// std::runtime_error when the table lacks a character.
std::string encodeText(std::string_view utf8, Charset charset);

/// Cuts an encoded text into pieces of at most `most` bytes, each beginning with the selector; no character is cut.
/// For texts that go over several descriptors. An empty text is one empty piece.
std::string takePiece(std::string_view& utf8, Charset charset, std::size_t most);

}  // namespace broadcaster

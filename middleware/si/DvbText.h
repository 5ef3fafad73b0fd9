#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace durix {

/// What text without a character-table selector is in. The standard says ISO 6937; some broadcasters send Latin-1.
enum class DefaultTable : std::uint8_t { Iso6937, Latin1 };

/// Text of EN 300 468, annex A, as UTF-8, which is always valid. All selectors are known; text compressed by a private
/// scheme (selector 0x1F) is empty. Of the control codes 0x80 to 0x9F the line break becomes a new line, the rest goes.
std::string decodeDvbText(std::span<const std::uint8_t> text, DefaultTable table = DefaultTable::Iso6937);

/// A name as lists show and compare it: control codes and runs of white space become one blank each, none at the ends.
/// Expects valid UTF-8.
std::string canonicalName(std::string_view name);

}  // namespace durix

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tv {

/// `text` as valid UTF-8 on one line: broken bytes become U+FFFD, control characters a blank. What a broadcast sends
/// can neither break a table nor steer a terminal.
std::string printable(std::string_view text);

/// The columns that valid UTF-8 takes on a terminal: two for wide characters, none for combining ones.
std::size_t displayWidth(std::string_view text);

/// The start of `text` that fits into `width` columns, ended by an ellipsis when something was cut.
std::string cutToWidth(const std::string& text, std::size_t width);

/// Text for comparing without regard to case; broken UTF-8 is given back as it is.
std::string foldCase(const std::string& text);

/// Those of `names` that a person who typed `wanted` may have meant, the nearest first and at most `count`.
std::vector<std::string> nearNames(const std::string& wanted, const std::vector<std::string>& names,
                                   std::size_t count = 3);

/// The texts in quotes with commas between them and `last` before the last one: "A", "B" or "C".
std::string quotedList(const std::vector<std::string>& texts, const std::string& last = "or");

/// "1 service", "2 services".
std::string counted(std::size_t count, const std::string& what);

/// A scan frequency for people: MHz with what decimals it needs. `unit` is Hz in one step (1, or 1000 for kHz).
std::string frequencyText(unsigned frequency, unsigned unit);

}  // namespace tv

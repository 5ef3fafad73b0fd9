#pragma once

#include <string>

namespace tv {

/// A decimal number above `least` and up to `most`; `what` is what takes it. Throws UsageError.
double readNumber(const std::string& text, double least, double most, const std::string& what);

/// The identifier of something that a command lists. Throws UsageError.
int readId(const std::string& text);

}  // namespace tv

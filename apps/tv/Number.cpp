#include "Number.h"

#include <charconv>
#include <sstream>

#include "Failure.h"

namespace tv {

double readNumber(const std::string& text, double least, double most, const std::string& what) {
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value, std::chars_format::fixed);
  if (error == std::errc() && stop == end && value > least && value <= most) return value;
  std::ostringstream limits;
  limits << least << " and up to " << most;
  throw UsageError(what + " takes a number above " + limits.str() + ", not \"" + text + "\"");
}

int readId(const std::string& text) {
  int value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error == std::errc() && stop == end && value > 0) return value;
  throw UsageError("\"" + text + "\" is no ID: it is a number that a list shows");
}

}  // namespace tv

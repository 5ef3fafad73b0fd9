#include "middleware/si/Descriptors.h"

#include <algorithm>

namespace durix {

std::vector<Descriptor> readDescriptors(std::span<const std::uint8_t> loop) {
  std::vector<Descriptor> descriptors;
  while (loop.size() >= 2 && loop.size() >= 2U + loop[1]) {
    descriptors.push_back({loop[0], loop.subspan(2, loop[1])});
    loop = loop.subspan(2U + loop[1]);
  }
  return descriptors;
}

std::string languageCode(std::span<const std::uint8_t, 3> letters) {
  const auto isLetter = [](std::uint8_t c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  const auto isDigit = [](std::uint8_t c) { return c >= '0' && c <= '9'; };
  if (!std::ranges::all_of(letters, [&](std::uint8_t c) { return isLetter(c) || isDigit(c); })) return {};
  return {letters.begin(), letters.end()};
}

}  // namespace durix

#pragma once

#include <cstdint>
#include <string>

namespace tv {

/// A picture in somebody else's memory: `height` lines of `width` pixels, four bytes each (red, green, blue, opacity).
struct RgbaPicture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t stride = 0;  // bytes from one line to the next
  const std::uint8_t* pixels = nullptr;
};

/// Writes the picture as a PNG, or leaves the file as it is. Throws Failure with the reason.
void writePng(const RgbaPicture& picture, const std::string& path);

}  // namespace tv

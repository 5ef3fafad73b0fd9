#include "PictureFile.h"

#include <png.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Failure.h"

namespace tv {
namespace {

[[noreturn]] void fail(const std::string& path, const std::string& reason) {
  throw Failure("cannot write the picture \"" + path + "\": " + reason);
}

}  // namespace

void writePng(const RgbaPicture& picture, const std::string& path) {
  if (picture.width == 0 || picture.height == 0 || picture.pixels == nullptr) fail(path, "there is nothing in it");
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = picture.width;
  image.height = picture.height;
  image.format = PNG_FORMAT_RGBA;
  const std::string part = path + ".part";
  errno = 0;
  if (png_image_write_to_file(&image, part.c_str(), 0, picture.pixels, static_cast<png_int_32>(picture.stride),
                              nullptr) == 0) {
    const std::string reason = errno != 0 ? std::strerror(errno) : image.message;
    unlink(part.c_str());
    fail(path, reason);
  }
  if (std::rename(part.c_str(), path.c_str()) != 0) {
    const std::string reason = std::strerror(errno);
    unlink(part.c_str());
    fail(path, reason);
  }
}

}  // namespace tv

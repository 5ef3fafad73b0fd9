#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "apps/broadcaster/si/Times.h"
#include "apps/broadcaster/ts/AccessUnit.h"

struct AVCodecContext;

namespace broadcaster {

/// DVB subtitles in one language (EN 300 743): every three seconds a line that says what time it is, and its end before
/// the next, so that nothing is shown any more when the stream ends.
class SubtitleSource : public AccessUnitSource {
 public:
  /// `start` is the time of the first picture. Throws std::runtime_error when the encoder cannot be had.
  SubtitleSource(std::string_view language, Moment start, std::chrono::seconds length);

  std::optional<AccessUnit> next() override;

 private:
  struct Free {
    void operator()(AVCodecContext* context) const;
  };

  /// A display set; with an empty text that of an empty screen.
  [[nodiscard]] Bytes encode(const std::string& text) const;

  std::string_view _language;
  Moment _start;
  std::chrono::seconds _length;
  std::unique_ptr<AVCodecContext, Free> _encoder;
  std::int64_t _next = 0;  // unit: beginnings are even, ends odd
};

}  // namespace broadcaster

#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <utility>

#include "apps/broadcaster/ts/AccessUnit.h"

struct AVCodecContext;
struct AVFrame;
struct AVPacket;

namespace broadcaster {

/// One encoder of libavcodec, with the memory that goes with it. Same input, same output: it runs in the thread that
/// calls it. Every operation throws std::runtime_error when the library reports a failure.
class Encoder {
 public:
  /// Takes the first of `names` that the library has.
  explicit Encoder(std::initializer_list<const char*> names);

  static bool exists(const char* name);

  /// To be filled in before open(), and read after it.
  AVCodecContext& context() { return *_context; }
  /// Opens the encoder with private options of its own.
  void open(std::initializer_list<std::pair<const char*, const char*>> options);

  /// A frame for the next input: format and shape of context(), with writable buffers, still without a time.
  AVFrame& newFrame();
  /// Gives the frame to the encoder.
  void send();
  /// Says that no frame follows.
  void finish();
  /// The next coded unit, its times in ticks of the context's time base made into 27 MHz; nothing as long as the
  /// encoder wants more input, or when all is out.
  std::optional<AccessUnit> receive();

 private:
  struct Free {
    void operator()(AVCodecContext* context) const;
    void operator()(AVFrame* frame) const;
    void operator()(AVPacket* packet) const;
  };

  std::unique_ptr<AVCodecContext, Free> _context;
  std::unique_ptr<AVFrame, Free> _frame;
  std::unique_ptr<AVPacket, Free> _packet;
};

}  // namespace broadcaster

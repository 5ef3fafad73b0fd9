#pragma once

#include <chrono>
#include <memory>
#include <stop_token>
#include <utility>

#include "middleware/stream/ByteSource.h"

namespace durix {

/// A stream that ends after so many bytes, after so much time, or when asked to stop: nothing that is read through it
/// goes on for ever, whatever its bytes are and however slowly they come.
class BoundedSource : public ByteSource {
 public:
  struct Bounds {
    std::uint64_t bytes;
    std::chrono::steady_clock::duration time;
  };

  BoundedSource(std::unique_ptr<ByteSource> source, Bounds bounds, std::stop_token stop)
      : _source(std::move(source)),
        _bytesLeft(bounds.bytes),
        _end(std::chrono::steady_clock::now() + bounds.time),
        _stop(std::move(stop)) {}

  std::size_t read(std::span<std::uint8_t> buffer) override {
    if (_stop.stop_requested() || std::chrono::steady_clock::now() >= _end) return 0;
    if (buffer.size() > _bytesLeft) buffer = buffer.first(static_cast<std::size_t>(_bytesLeft));
    const std::size_t count = buffer.empty() ? 0 : _source->read(buffer);
    _bytesLeft -= count;
    return count;
  }
  bool rewind() override { return false; }
  bool hasFailed() const override { return _source->hasFailed(); }

 private:
  std::unique_ptr<ByteSource> _source;
  std::uint64_t _bytesLeft;
  std::chrono::steady_clock::time_point _end;
  std::stop_token _stop;
};

}  // namespace durix

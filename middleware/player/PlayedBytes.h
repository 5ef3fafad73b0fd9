#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace durix {

/// A transport stream as the decoder reads it. All but cancel() come from one thread of the decoder's.
class PlayedBytes {
 public:
  PlayedBytes() = default;
  PlayedBytes(const PlayedBytes&) = delete;
  PlayedBytes& operator=(const PlayedBytes&) = delete;
  virtual ~PlayedBytes() = default;

  /// Waits until there is something; 0 at the end, and once it was cancelled.
  virtual std::size_t read(std::span<std::uint8_t> buffer) = 0;

  /// Reading ends, also a read that waits. Any thread.
  virtual void cancel() = 0;
};

}  // namespace durix

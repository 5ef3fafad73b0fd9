#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "middleware/player/PlayedBytes.h"
#include "middleware/player/StreamCopy.h"
#include "middleware/stream/PacketView.h"

namespace durix {

/// What is received now, on its way to the decoder: a queue of packets with a limit, so that neither a receiver that
/// goes on nor a decoder that stands still makes anybody wait or memory grow. Whoever writes into a full queue empties
/// it: what plays then goes on with what is on air. The decoder gets the first of it a moment after it came, and has
/// that in hand when packets are late.
class LiveBytes : public PlayedBytes {
 public:
  /// `copy` gets what is read; it may be null.
  explicit LiveBytes(std::shared_ptr<StreamCopy> copy) : _copy(std::move(copy)) {}

  /// Never waits. False when the queue was full.
  bool write(PacketView::Bytes packet);

  /// How many bytes were dropped so far.
  std::uint64_t dropped() const;

  std::size_t read(std::span<std::uint8_t> buffer) override;
  void cancel() override;

 private:
  const std::shared_ptr<StreamCopy> _copy;

  // guarded by _mutex, a leaf
  mutable std::mutex _mutex;
  std::condition_variable _changed;
  std::deque<std::vector<std::uint8_t>> _blocks;  // of BLOCK bytes, the last one perhaps fewer
  std::size_t _size = 0;                          // bytes that wait
  std::size_t _begin = 0;                         // of the first block, read already
  std::uint64_t _dropped = 0;
  bool _isCancelled = false;
  std::optional<std::chrono::steady_clock::time_point> _readable;  // from when on; nothing before the first packet
};

}  // namespace durix

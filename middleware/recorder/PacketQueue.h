#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

#include "middleware/stream/PacketView.h"

namespace durix {

/// Packets on their way from the receiving thread, which never waits, to the one that writes. Bounded: what a disk does
/// not take in time is lost, and counted.
class PacketQueue {
 public:
  void push(PacketView::Bytes packet);

  /// What is pushed next comes from another reception.
  void endReception();

  struct Batch {
    std::vector<std::uint8_t> packets;
    bool isLast = false;  // of its reception
  };
  /// Waits for packets, for a moment, so that it is worth a write; nothing once it is closed and empty. A batch may be
  /// empty.
  std::optional<Batch> pop(std::chrono::milliseconds longest);

  /// Nothing is taken any more; what waits can be popped.
  void close();

  std::uint64_t lost() const;

 private:
  // guarded by _mutex, a leaf
  mutable std::mutex _mutex;
  std::condition_variable _changed;
  std::deque<Batch> _batches;
  std::size_t _bytes = 0;
  std::uint64_t _lost = 0;
  bool _isClosed = false;
};

}  // namespace durix

#include "middleware/recorder/PacketQueue.h"

#include <utility>

namespace durix {
namespace {
constexpr std::size_t MOST_BYTES = PACKET_SIZE << 17U;  // about ten seconds of a whole multiplex
constexpr std::size_t BATCH_SIZE = PACKET_SIZE * 1024;  // worth a write
}  // namespace

void PacketQueue::push(PacketView::Bytes packet) {
  {
    const std::scoped_lock lock(_mutex);
    if (_isClosed) return;
    if (_bytes + PACKET_SIZE > MOST_BYTES) {
      ++_lost;
      return;
    }
    if (_batches.empty() || _batches.back().isLast || _batches.back().packets.size() >= BATCH_SIZE) {
      _batches.emplace_back().packets.reserve(BATCH_SIZE);
    }
    auto& packets = _batches.back().packets;
    packets.insert(packets.end(), packet.begin(), packet.end());
    _bytes += PACKET_SIZE;
    if (_bytes < BATCH_SIZE) return;
  }
  _changed.notify_one();
}

void PacketQueue::endReception() {
  const std::scoped_lock lock(_mutex);
  if (_batches.empty()) _batches.emplace_back();
  _batches.back().isLast = true;
}

std::optional<PacketQueue::Batch> PacketQueue::pop(std::chrono::milliseconds longest) {
  std::unique_lock lock(_mutex);
  _changed.wait_for(lock, longest, [&] { return _isClosed || _bytes >= BATCH_SIZE; });
  if (_batches.empty()) return _isClosed ? std::nullopt : std::optional<Batch>(Batch{});
  Batch batch = std::move(_batches.front());
  _batches.pop_front();
  _bytes -= batch.packets.size();
  return batch;
}

void PacketQueue::close() {
  {
    const std::scoped_lock lock(_mutex);
    _isClosed = true;
  }
  _changed.notify_one();
}

std::uint64_t PacketQueue::lost() const {
  const std::scoped_lock lock(_mutex);
  return _lost;
}

}  // namespace durix

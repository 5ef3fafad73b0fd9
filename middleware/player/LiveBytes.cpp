#include "middleware/player/LiveBytes.h"

#include <algorithm>

namespace durix {
namespace {
constexpr std::size_t BLOCK = 64 * PACKET_SIZE;
constexpr std::chrono::milliseconds IN_HAND{300};  // so late may packets be before anybody notices
constexpr std::size_t MOST = 8U << 20U;  // bytes: three seconds of a satellite's best, more of everything else
}  // namespace

bool LiveBytes::write(PacketView::Bytes packet) {
  bool hasRoom = true;
  {
    const std::scoped_lock lock(_mutex);
    if (_isCancelled) return true;
    if (!_readable) _readable = std::chrono::steady_clock::now() + IN_HAND;
    if (_size + packet.size() > MOST) {
      hasRoom = false;
      _dropped += _size;
      _blocks.clear();
      _size = _begin = 0;
    }
    if (_blocks.empty() || _blocks.back().size() + packet.size() > BLOCK) _blocks.emplace_back().reserve(BLOCK);
    _blocks.back().insert(_blocks.back().end(), packet.begin(), packet.end());
    _size += packet.size();
  }
  _changed.notify_one();
  return hasRoom;
}

std::uint64_t LiveBytes::dropped() const {
  const std::scoped_lock lock(_mutex);
  return _dropped;
}

std::size_t LiveBytes::read(std::span<std::uint8_t> buffer) {
  std::size_t count = 0;
  {
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [&] { return _readable || _isCancelled; });
    if (!_isCancelled) _changed.wait_until(lock, *_readable, [&] { return _isCancelled; });
    _changed.wait(lock, [&] { return _size > 0 || _isCancelled; });
    if (_isCancelled) return 0;
    const auto& block = _blocks.front();
    count = std::min(block.size() - _begin, buffer.size());
    std::copy_n(block.begin() + static_cast<std::ptrdiff_t>(_begin), count, buffer.begin());
    _begin += count;
    _size -= count;
    if (_begin == block.size()) {
      _blocks.pop_front();
      _begin = 0;
    }
  }
  if (_copy != nullptr) _copy->write(buffer.first(count));
  return count;
}

void LiveBytes::cancel() {
  {
    const std::scoped_lock lock(_mutex);
    _isCancelled = true;
    _blocks.clear();
    _size = _begin = 0;
  }
  _changed.notify_all();
}

}  // namespace durix

#include "middleware/player/RecordedBytes.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/portability/Log.h"

namespace durix {
namespace {
constexpr std::size_t PART = 256 * PACKET_SIZE;  // bytes read at once
constexpr std::chrono::milliseconds TURN{100};   // between looks whether there is more
}  // namespace

RecordedBytes::RecordedBytes(std::unique_ptr<RecordingReader> reader, Start start, std::vector<ChosenFeed> feeds,
                             std::shared_ptr<StreamCopy> copy)
    : _reader(std::move(reader)),
      _feeds(std::move(feeds)),
      _copy(std::move(copy)),
      _watch(start.number, [this](const Program& program) { takeProgram(program); }),
      _stream([this](PacketView::Bytes packet) { _pending.insert(_pending.end(), packet.begin(), packet.end()); }),
      _offset(start.offset) {}

std::size_t RecordedBytes::read(std::span<std::uint8_t> buffer) {
  while (_begin == _pending.size()) {
    _pending.clear();
    _begin = 0;
    if (!fill()) return 0;
  }
  const std::size_t count = std::min(buffer.size(), _pending.size() - _begin);
  std::copy_n(_pending.begin() + static_cast<std::ptrdiff_t>(_begin), count, buffer.begin());
  _begin += count;
  _copy->write(buffer.first(count));
  return count;
}

bool RecordedBytes::fill() {
  if (_isChanged) return false;
  _offset = std::max(_offset, _reader->beginning());
  std::array<std::uint8_t, PART> part{};
  std::size_t size = 0;
  try {
    size = _reader->read(_offset, part);
  } catch (const Failure& failure) {
    logLine(std::string("player: ") + failure.what());
    return false;
  }
  size -= size % PACKET_SIZE;
  if (size == 0) return waitForMore();
  take(std::span(part).first(size));
  const std::scoped_lock lock(_mutex);
  return !_isCancelled;
}

void RecordedBytes::take(std::span<const std::uint8_t> packets) {
  for (; !packets.empty() && !_isChanged; packets = packets.subspan(PACKET_SIZE)) {
    const PacketView packet(packets.first<PACKET_SIZE>());
    _watch.feed(packet);
    if (_isChanged) break;
    _stream.feed(packet);
    _offset += PACKET_SIZE;
  }
}

void RecordedBytes::takeProgram(const Program& program) {
  auto plan = planTracks(program, _feeds);
  const std::scoped_lock lock(_mutex);
  if (_plan && _plan->shape != plan.shape) {
    _isChanged = true;
    _continued = _offset;
    return;
  }
  _stream.setContents(plan.contents);
  _plan = std::move(plan);
}

// False at the end for good.
bool RecordedBytes::waitForMore() {
  const bool isGrowing = _reader->isGrowing() || _offset < _reader->size();
  std::unique_lock lock(_mutex);
  if (!isGrowing || _isCancelled) return false;
  return !_cancelling.wait_for(lock, TURN, [&] { return _isCancelled; });
}

void RecordedBytes::cancel() {
  {
    const std::scoped_lock lock(_mutex);
    _isCancelled = true;
  }
  _cancelling.notify_all();
}

std::optional<TrackPlan> RecordedBytes::plan() const {
  const std::scoped_lock lock(_mutex);
  return _plan;
}

std::optional<std::uint64_t> RecordedBytes::continued() const {
  const std::scoped_lock lock(_mutex);
  return _continued;
}

}  // namespace durix

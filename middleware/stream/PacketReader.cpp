#include "middleware/stream/PacketReader.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace durix {

namespace {
constexpr std::size_t BUFFER_SIZE = std::size_t{128} * 1024;
constexpr std::array<std::size_t, 3> PERIODS = {PACKET_SIZE, 204, 192};
constexpr std::size_t CONFIRMATIONS = 2;  // further sync bytes that a lock needs
constexpr std::size_t LOOKAHEAD = CONFIRMATIONS * 204 + 1;
}  // namespace

PacketReader::PacketReader(std::unique_ptr<ByteSource> source) : _source(std::move(source)), _buffer(BUFFER_SIZE) {}

std::unique_ptr<PacketReader> PacketReader::open(const std::filesystem::path& path) {
  auto source = FileSource::open(path);
  return source ? std::make_unique<PacketReader>(std::move(source)) : nullptr;
}

std::optional<PacketView> PacketReader::next() {
  for (;;) {
    if (!fill(LOOKAHEAD) && _end - _begin < PACKET_SIZE) {
      skip(_end - _begin);
      return std::nullopt;
    }
    if (_period == 0 || _buffer[_begin] != SYNC_BYTE) {
      if (_period != 0 && confirms(_begin, _period)) {  // only this one sync byte was hit
        ++_statistics.damagedPackets;
        _begin += std::min(_period, _end - _begin);
        continue;
      }
      if (_period != 0) ++_statistics.syncLosses;
      if (!search()) return std::nullopt;
    }
    const PacketView packet(PacketView::Bytes(_buffer.data() + _begin, PACKET_SIZE));
    _begin += std::min(_period, _end - _begin);
    if (packet.hasError()) {
      ++_statistics.damagedPackets;
      continue;
    }
    ++_statistics.packets;
    return packet;
  }
}

bool PacketReader::rewind() {
  if (!_source->rewind()) return false;
  _begin = _end = 0;
  _period = 0;
  _ended = false;
  return true;
}

// Makes `size` bytes available; false when the source has fewer.
bool PacketReader::fill(std::size_t size) {
  if (_end - _begin >= size) return true;
  std::memmove(_buffer.data(), _buffer.data() + _begin, _end - _begin);
  _end -= _begin;
  _begin = 0;
  while (!_ended && _end < size) {
    const std::size_t count = _source->read(std::span(_buffer).subspan(_end));
    if (count == 0) _ended = true;
    _end += count;
  }
  return _end >= size;
}

// Moves to the next place where packets begin, the present packet size tried first.
bool PacketReader::search() {
  for (;;) {
    const bool hasLookahead = fill(LOOKAHEAD);
    const std::size_t wanted = hasLookahead ? LOOKAHEAD : PACKET_SIZE;  // behind every place that is tried
    if (_end - _begin < wanted) {
      skip(_end - _begin);
      return false;
    }
    const std::size_t places = _end - _begin - wanted + 1;
    const auto* const sync = static_cast<const std::uint8_t*>(std::memchr(&_buffer[_begin], SYNC_BYTE, places));
    skip(sync == nullptr ? places : static_cast<std::size_t>(sync - &_buffer[_begin]));
    if (sync == nullptr) continue;
    if (_period != 0 && confirms(_begin, _period)) return true;
    const auto* found = std::find_if(PERIODS.begin(), PERIODS.end(), [this](auto p) { return confirms(_begin, p); });
    if (found != PERIODS.end()) {
      _period = *found;
      return true;
    }
    skip(1);
  }
}

// Whether sync bytes follow `position` at this distance; LOOKAHEAD bytes are there, fewer only at the end.
bool PacketReader::confirms(std::size_t position, std::size_t period) const {
  for (std::size_t i = 1; i <= CONFIRMATIONS; ++i) {
    const std::size_t at = position + i * period;
    if (at >= _end) return true;
    if (_buffer[at] != SYNC_BYTE) return false;
  }
  return true;
}

void PacketReader::skip(std::size_t size) {
  _begin += size;
  _statistics.skippedBytes += size;
}

}  // namespace durix

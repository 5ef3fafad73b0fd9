#include "middleware/stream/LoopedStream.h"

#include <utility>

namespace durix {

LoopedStream::LoopedStream(std::unique_ptr<ByteSource> source)
    : _reader(std::make_unique<PacketReader>(std::move(source))) {}

std::optional<PacketView> LoopedStream::next() {
  for (bool isAnew = false;; isAnew = true) {
    if (const auto packet = _reader->next()) return _restamper.stamp(*packet);
    const bool hasFailed = _reader->hasFailed();
    begin();
    if (isAnew || hasFailed) return std::nullopt;
  }
}

void LoopedStream::begin() {
  _restamper.beginLoop();
  ++_loops;
  if (auto source = std::exchange(_next, nullptr)) {
    _damagedBefore = damagedPackets();
    _reader = std::make_unique<PacketReader>(std::move(source));
  } else {
    _reader->rewind();
  }
}

}  // namespace durix

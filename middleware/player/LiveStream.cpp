#include "middleware/player/LiveStream.h"

#include <utility>

#include "middleware/portability/Log.h"

namespace durix {

std::shared_ptr<const Program> LiveStream::program() const {
  const std::scoped_lock lock(_mutex);
  return _program;
}

std::optional<PacketTaker::End> LiveStream::ended() const {
  const std::scoped_lock lock(_mutex);
  return _ended;
}

void LiveStream::play(ProgramStream::Contents contents, std::shared_ptr<LiveBytes> bytes) {
  const std::scoped_lock lock(_mutex);
  if (_bytes != nullptr) _bytes->cancel();
  _bytes = std::move(bytes);
  _stream.emplace([this](PacketView::Bytes packet) { write(packet); });  // it announces what it holds at once
  _stream->setContents(std::move(contents));
}

void LiveStream::goOn(ProgramStream::Contents contents) {
  const std::scoped_lock lock(_mutex);
  if (_stream) _stream->setContents(std::move(contents));
}

void LiveStream::takeProgram(const Program& program) {
  {
    const std::scoped_lock lock(_mutex);
    _program = std::make_shared<const Program>(program);
  }
  _wake();
}

void LiveStream::takePacket(const PacketView& packet) {
  const std::scoped_lock lock(_mutex);
  if (_stream) _stream->feed(packet);
}

void LiveStream::end(PacketTaker::End reason) {
  {
    const std::scoped_lock lock(_mutex);
    _ended = reason;
  }
  _wake();
}

void LiveStream::write(PacketView::Bytes packet) {
  if (_bytes->write(packet) || std::exchange(_hasToldOfDrops, true)) return;
  logLine("player: what is received is not played as fast, or not at all; some of it is left out");
}

}  // namespace durix

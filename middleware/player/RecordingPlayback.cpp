#include "middleware/player/RecordingPlayback.h"

#include <algorithm>
#include <utility>

#include "middleware/api/Failure.h"

namespace durix {
namespace {

constexpr std::chrono::seconds DECODER_LIMIT{12};  // for a first picture or sound
constexpr std::chrono::milliseconds SETTLING{50};  // feeds are taken away and given one by one

}  // namespace

RecordingPlayback::RecordingPlayback(Parts parts, Recordings& recordings, std::uint32_t recording, PlayerWishes wishes)
    : Playback(std::move(parts), std::move(wishes)), _recordings(recordings), _recording(recording) {}

RecordingPlayback::~RecordingPlayback() {
  shutDown();
}

std::uint32_t RecordingPlayback::duration() const {
  const std::scoped_lock lock(_mutex);
  return _reader == nullptr ? 0 : _reader->duration();
}

void RecordingPlayback::seek(std::uint32_t position) {
  {
    const std::scoped_lock lock(_mutex);
    _wanted = position;
  }
  wake();
}

void RecordingPlayback::open() {
  const auto recording = _recordings.recording(_recording);
  if (!recording) throw Failure(Code::UnknownObject, "there is no such recording any more");
  _number = recording->service.serviceId;
  auto reader = RecordingReader::open(_recordings, _recording);
  const std::scoped_lock lock(_mutex);
  _reader = std::move(reader);
}

void RecordingPlayback::step(Time now) {
  auto feeds = idsOf(wishes().feeds);
  if (_bytes == nullptr) {
    _begun = now;
    _feeds = std::move(feeds);
    const std::scoped_lock lock(_mutex);
    if (!_wanted) _wanted = 0;
  } else if (feeds != _feeds) {
    _feeds = std::move(feeds);
    _changed = now;
  }
  std::optional<std::uint64_t> offset;
  {
    const std::scoped_lock lock(_mutex);
    if (_changed && now - *_changed >= SETTLING && !_wanted) _wanted = position();
    if (_wanted) {
      offset = _reader->offsetOf(std::min(*std::exchange(_wanted, std::nullopt), _reader->duration()));
      setPosition(_reader->secondAt(*offset));
      _changed.reset();
    }
  }
  if (offset) load(*offset);
  if (const auto plan = _bytes->plan(); plan && !std::exchange(_isPlanTold, true)) {
    setTracks(*plan);
    tellStarted();
  }
  if (!hasPlayed() && !wishes().isPaused && now - _begun > DECODER_LIMIT) {
    throw Failure(Code::Failed, "nothing of it can be decoded");
  }
}

void RecordingPlayback::load(std::uint64_t offset) {
  if (_bytes != nullptr) _bytes->cancel();
  const auto chosen = wishes().feeds;
  _bytes = std::make_shared<RecordedBytes>(RecordingReader::open(_recordings, _recording),
                                           RecordedBytes::Start{offset, _number}, chosen, copy());
  _isPlanTold = false;
  play(subtitlesOf(chosen), _bytes);
}

void RecordingPlayback::bytesEnded(bool hasFailed) {
  if (const auto next = _bytes->continued()) return load(*next);
  if (hasFailed && !hasPlayed()) throw Failure(Code::Failed, "nothing of it can be decoded");
  tellEndOfMedia();
}

}  // namespace durix

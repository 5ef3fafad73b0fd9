#include "middleware/player/LivePlayback.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/events/EventQueue.h"
#include "middleware/store/Store.h"

namespace durix {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds RECEIVER_LIMIT{2};  // for somebody else to give one back
constexpr milliseconds RECEIVER_TURN{50};
constexpr seconds PROGRAM_LIMIT{6};        // a PAT and a PMT come several times a second
constexpr seconds DECODER_LIMIT{12};       // for a first picture or sound
constexpr milliseconds SETTLING{50};       // feeds are taken away and given one by one
constexpr seconds FEEDS_LIMIT{1};          // for whoever chose feeds that are gone to choose others
constexpr milliseconds DECODER_TURN{300};  // before it tries again

std::string textOf(PacketTaker::End reason) {
  switch (reason) {
    case PacketTaker::End::Taken:
      return "the receiver is needed for something more important";
    case PacketTaker::End::Lost:
      return "the signal is lost";
    case PacketTaker::End::Closed:
      break;
  }
  return "the middleware ends";
}

}  // namespace

LivePlayback::LivePlayback(Parts parts, ServiceReception::Parts source, PlayerWishes wishes)
    : Playback(std::move(parts), std::move(wishes)),
      _source(source),
      _stream([this] { wake(); }),
      _service(this->wishes().feeds.front().service) {}

LivePlayback::~LivePlayback() {
  shutDown();
}

void LivePlayback::seek(std::uint32_t) {
  throw Failure(Code::NotSupported);
}

void LivePlayback::open() {
  _begun = std::chrono::steady_clock::now();
  while (!tune()) {
    if (isOver()) return;
    if (std::chrono::steady_clock::now() - _begun > RECEIVER_LIMIT) {
      throw Failure(Code::Busy, "every receiver is in use for something as important");
    }
    std::this_thread::sleep_for(RECEIVER_TURN);
  }
  _begun = std::chrono::steady_clock::now();
}

bool LivePlayback::tune() {
  std::unique_ptr<ServiceReception> reception;
  try {
    reception = std::make_unique<ServiceReception>(_source, _service, ReceiverUse::Live, _stream);
  } catch (const Failure& failure) {
    if (failure.code() == Code::Busy) return false;
    const bool isSilent = failure.code() == Code::NoSignal;
    throw Failure(failure.code(), isSilent ? "there is no signal" : failure.what());
  }
  const std::scoped_lock lock(_receptionMutex);
  if (!_isReleased) _reception.swap(reception);
  return true;
}

void LivePlayback::release() {
  std::unique_ptr<ServiceReception> reception;  // ends after the lock: somebody may be inside the taker
  const std::scoped_lock lock(_receptionMutex);
  _isReleased = true;
  reception.swap(_reception);
}

void LivePlayback::step(Time now) {
  if (const auto reason = _stream.ended()) throw Failure(Code::Failed, textOf(*reason));
  noteChanges(now);
  if (_program == nullptr) {
    if (now - _begun > PROGRAM_LIMIT) throw Failure(Code::NoSignal, "the channel is not in what is received");
    return;
  }
  if (!std::exchange(_isStarted, true)) {
    _begun = now;
    tellStarted();
    tellMissingFeeds();
  }
  if (_changed) commit(now);
  if (_retry && now >= *_retry) load();
  if (!hasPlayed() && !wishes().isPaused && now - _begun > DECODER_LIMIT) leavePictureOut(now);
  if (_bytes != nullptr) countDropped(_dropped + _bytes->dropped());
}

void LivePlayback::noteChanges(Time now) {
  auto program = _stream.program();
  auto feeds = idsOf(wishes().feeds);
  if (program == _program && feeds == _feeds) return;
  _program = std::move(program);
  _feeds = std::move(feeds);
  _changed = now;
}

void LivePlayback::commit(Time now) {
  auto plan = planTracks(*_program, wishes().feeds);
  const auto waited = now - *_changed;
  const bool isSettled = !_plan || (plan.hasAll ? waited >= SETTLING : waited >= FEEDS_LIMIT);
  if (!isSettled) return;
  _changed.reset();
  if (plan.tracks.empty()) return;
  const bool goesOn = _plan && plan.shape == _plan->shape;
  _plan = std::move(plan);
  if (!goesOn) return load();
  _stream.goOn(_plan->contents);
  setTracks(*_plan);
}

void LivePlayback::load() {
  _retry.reset();
  if (_bytes != nullptr) _dropped += _bytes->dropped();
  _bytes = std::make_shared<LiveBytes>(copy());
  _droppedAtStart = 0;
  _stream.play(_plan->contents, _bytes);
  countGap();
  const auto feeds = wishes().feeds;
  play(subtitlesOf(feeds), _bytes, !_isSoundOnly);
  setTracks(*_plan);
}

// The decoder holds the sound back for a first picture.
void LivePlayback::leavePictureOut(Time now) {
  const bool hasBoth = _plan && _plan->find(DURIX_FEED_VIDEO) != nullptr && _plan->find(DURIX_FEED_AUDIO) != nullptr;
  if (!hasBoth || std::exchange(_isSoundOnly, true)) throw Failure(Code::Failed, "nothing of it can be decoded");
  _begun = now;
  load();
}

// Something that cannot be read may be followed by something that can.
void LivePlayback::bytesEnded(bool) {
  _retry = std::chrono::steady_clock::now() + DECODER_TURN;
}

// After a long pause the stream has a gap, and what lies before it is not what is on air.
void LivePlayback::resumed() {
  if (_bytes != nullptr && _bytes->dropped() > std::exchange(_droppedAtStart, _bytes->dropped())) load();
}

// The chosen feeds are those that the last scan or the last reception found.
void LivePlayback::tellMissingFeeds() {
  const auto catalogue = _source.store.catalogue();
  const auto isThere = [&](std::uint32_t feed) { return catalogue->feed(feed) != nullptr; };
  if (std::ranges::all_of(_feeds, isThere)) return;
  EventRecord changed(DURIX_EVENT_FEEDS_CHANGED);
  changed.put(DURIX_OFFSET_FEEDS_CHANGED_STATE, std::uint32_t{1});
  changed.put(DURIX_OFFSET_FEEDS_CHANGED_SERVICE, _service);
  _source.events.post(std::move(changed));
}

}  // namespace durix

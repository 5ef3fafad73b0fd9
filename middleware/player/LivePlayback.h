#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "middleware/player/LiveStream.h"
#include "middleware/player/Playback.h"
#include "middleware/reception/ServiceReception.h"

namespace durix {

/// Plays a service as it is received. Feeds that are exchanged while it plays, and a programme that changes, go on in
/// the same stream where the decoder need not notice; else it is given a new one.
class LivePlayback : public Playback {
 public:
  /// There are feeds among the wishes.
  LivePlayback(Parts parts, ServiceReception::Parts source, PlayerWishes wishes);
  ~LivePlayback() override;

  std::uint32_t duration() const override { return 0; }
  void seek(std::uint32_t position) override;

 private:
  void open() override;
  void step(Time now) override;
  void bytesEnded(bool hasFailed) override;
  void resumed() override;
  void release() override;

  bool tune();  // false when no receiver is to be had now
  void noteChanges(Time now);
  void commit(Time now);
  void load();
  void leavePictureOut(Time now);
  void tellMissingFeeds();

  const ServiceReception::Parts _source;
  LiveStream _stream;
  const std::uint32_t _service;  // of the feeds at the start; all may be exchanged

  // the thread's own
  Time _begun;
  bool _isStarted = false;
  std::shared_ptr<const Program> _program;  // what was looked at last, as the next
  std::vector<std::uint32_t> _feeds;
  std::optional<Time> _changed;  // when something changed that is not played yet
  std::optional<TrackPlan> _plan;
  std::shared_ptr<LiveBytes> _bytes;
  std::uint64_t _dropped = 0;         // of bytes before these
  std::uint64_t _droppedAtStart = 0;  // of these, when they were last played without a gap
  bool _isSoundOnly = false;          // no picture has come for long
  std::optional<Time> _retry;         // when the decoder is asked again

  // guarded by _receptionMutex, a leaf
  std::mutex _receptionMutex;
  std::unique_ptr<ServiceReception> _reception;
  bool _isReleased = false;
};

}  // namespace durix

#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "middleware/player/Playback.h"
#include "middleware/player/RecordedBytes.h"
#include "middleware/recordings/Recordings.h"

namespace durix {

/// Plays a recording or a time shift, also one that is being written.
class RecordingPlayback : public Playback {
 public:
  /// The recordings outlive the thread.
  RecordingPlayback(Parts parts, Recordings& recordings, std::uint32_t recording, PlayerWishes wishes);
  ~RecordingPlayback() override;

  std::uint32_t duration() const override;
  void seek(std::uint32_t position) override;

 private:
  void open() override;
  void step(Time now) override;
  void bytesEnded(bool hasFailed) override;
  void release() override {}

  void load(std::uint64_t offset);

  Recordings& _recordings;
  const std::uint32_t _recording;

  // the thread's own
  std::uint16_t _number = 0;  // of its programme
  Time _begun;
  std::vector<std::uint32_t> _feeds;
  std::optional<Time> _changed;
  std::shared_ptr<RecordedBytes> _bytes;
  bool _isPlanTold = false;

  // guarded by _mutex; under it the recordings' own are taken
  mutable std::mutex _mutex;
  std::unique_ptr<RecordingReader> _reader;  // for places and moments
  std::optional<std::uint32_t> _wanted;      // second
};

}  // namespace durix

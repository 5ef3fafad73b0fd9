#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "middleware/player/PlayedBytes.h"
#include "middleware/player/StreamCopy.h"
#include "middleware/player/TrackPlan.h"
#include "middleware/recordings/RecordingReader.h"
#include "middleware/si/ProgramWatch.h"

namespace durix {

/// A recording from some place on, with the chosen feeds alone, on its way to the decoder. At the end of one that is
/// being written it waits for more. Where its programme changes so that the decoder could not go on it ends, to be
/// followed by another one from that place.
class RecordedBytes : public PlayedBytes {
 public:
  struct Start {
    std::uint64_t offset = 0;
    std::uint16_t number = 0;  // of the programme
  };
  /// `copy` gets what is read.
  RecordedBytes(std::unique_ptr<RecordingReader> reader, Start start, std::vector<ChosenFeed> feeds,
                std::shared_ptr<StreamCopy> copy);

  std::size_t read(std::span<std::uint8_t> buffer) override;
  void cancel() override;

  // Any thread.
  std::optional<TrackPlan> plan() const;           // what plays; nothing before the first programme
  std::optional<std::uint64_t> continued() const;  // where to go on, when it has ended before the recording's end

 private:
  bool fill();
  void take(std::span<const std::uint8_t> packets);
  void takeProgram(const Program& program);
  bool waitForMore();

  // the reading thread's own
  const std::unique_ptr<RecordingReader> _reader;
  const std::vector<ChosenFeed> _feeds;
  const std::shared_ptr<StreamCopy> _copy;
  ProgramWatch _watch;
  ProgramStream _stream;
  std::uint64_t _offset;
  std::vector<std::uint8_t> _pending;  // made and not read yet, from _begin on
  std::size_t _begin = 0;
  bool _isChanged = false;

  // guarded by _mutex, a leaf
  mutable std::mutex _mutex;
  std::condition_variable _cancelling;
  std::optional<TrackPlan> _plan;
  std::optional<std::uint64_t> _continued;
  bool _isCancelled = false;
};

}  // namespace durix

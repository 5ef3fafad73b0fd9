#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "middleware/events/EventQueue.h"
#include "middleware/guide/Guide.h"
#include "middleware/guide/GuideFeeds.h"
#include "middleware/guide/GuideReception.h"
#include "middleware/receivers/ReceiverPool.h"
#include "middleware/receivers/ReceptionReport.h"
#include "middleware/store/TimeShifts.h"

namespace durix {

/// Collects the guide while guide feeds are open, on a thread of its own: first the multiplexes whose feeds are open,
/// then, as the receiver has nothing else to do, the others, each read as fast as it comes and once to its end. A
/// stream is read again when its file has changed. Changes are told of after the burst, and not while somebody is
/// reading the guide: a reader in the middle of a pass would miss it. Any thread.
class GuideCollector {
 public:
  /// All outlive this.
  struct Parts {
    EventQueue& events;
    const ReceiverPool& receivers;
    Store& store;
    TimeShifts& timeShifts;
    Guide& guide;
    GuideFeeds& feeds;
    /// Whether no receiver is free, as while a scan needs the only one.
    std::function<bool()> isBusy;
  };
  explicit GuideCollector(Parts parts);
  GuideCollector(const GuideCollector&) = delete;
  GuideCollector& operator=(const GuideCollector&) = delete;

  /// How far it is.
  struct Progress {
    std::uint32_t multiplexes = 0;  // to be received
    std::uint32_t done = 0;         // of these
    bool isDone = false;            // and everything is told of
    std::uint64_t dropped = 0;      // events without service, sensible moment or text
  };
  Progress progress() const;

  /// Ends the collecting; what was flushed stays.
  void stop();

 private:
  using Clock = std::chrono::steady_clock;

  /// A multiplex that was received to its end.
  struct Read {
    std::string revision;
    std::int64_t shift = 0;
    bool isReceived = false;    // not when there was nothing
    Clock::time_point checked;  // when it was last seen to be still that
  };

  void run(const std::stop_token& stop);
  void turn(const std::stop_token& stop);
  std::optional<std::uint32_t> nextMultiplex();
  bool wasAllReceived() const;
  bool isStale(const StoredMultiplex& multiplex);
  std::int64_t shiftOf(const StoredMultiplex& multiplex) const;
  void collect(const std::stop_token& stop, const StoredMultiplex& multiplex);
  std::unique_ptr<ByteSource> tune(const StoredMultiplex& multiplex, ReceptionReport& report) const;
  bool receive(const std::stop_token& stop, const StoredMultiplex& multiplex, std::unique_ptr<ByteSource> source,
               std::int64_t shift, ReceptionReport& report);
  bool isWanted(const std::stop_token& stop);
  void flush();
  void tellOfChange(bool isBurstOver);

  const Parts _parts;

  // the thread's own
  std::shared_ptr<const Catalogue> _catalogue;  // that the following is about
  std::map<std::uint32_t, Read> _read;          // by multiplex
  bool _isStoreFailing = false;
  std::optional<Clock::time_point> _changedSince;  // and nobody was told
  std::optional<Clock::time_point> _forgotten;     // what is old, the last time
  std::uint64_t _dropped = 0;

  // guarded by _mutex, a leaf
  mutable std::mutex _mutex;
  Progress _progress;

  std::jthread _thread;  // last: it uses all the others
};

}  // namespace durix

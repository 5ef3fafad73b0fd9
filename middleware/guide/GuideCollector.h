#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "middleware/events/EventQueue.h"
#include "middleware/guide/Guide.h"
#include "middleware/guide/GuideFeeds.h"
#include "middleware/guide/GuideReception.h"
#include "middleware/guide/GuideTap.h"
#include "middleware/receivers/ReceiverPool.h"
#include "middleware/receivers/ReceptionReport.h"
#include "middleware/reception/Tuners.h"
#include "middleware/store/TimeShifts.h"

namespace durix {

/// Collects the guide while guide feeds are open, on a thread of its own: first the multiplexes whose feeds are open,
/// then, as a receiver has nothing else to do, the others, each read as fast as it comes and once to its end. Whoever
/// else needs that receiver gets it, and the collecting goes on when one is free. A stream is read again when its file
/// has changed. Besides, and without any open feed, it takes what comes of multiplexes that are received for somebody
/// else, once of each stream. Changes are told of after the burst, and not while somebody is
/// reading the guide: a reader in the middle of a pass would miss it. Any thread.
class GuideCollector : private PacketTaker {
 public:
  /// All outlive this.
  struct Parts {
    EventQueue& events;
    const ReceiverPool& receivers;
    Tuners& tuners;
    Store& store;
    TimeShifts& timeShifts;
    Guide& guide;
    GuideFeeds& feeds;
    GuideTap& tap;
  };
  explicit GuideCollector(Parts parts);
  GuideCollector(const GuideCollector&) = delete;
  GuideCollector& operator=(const GuideCollector&) = delete;

  /// How far it is.
  struct Progress {
    std::uint32_t multiplexes = 0;  // to be received
    std::uint32_t done = 0;         // of these
    bool isDone = false;            // as far as receivers are to be had, and everything is told of
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

  /// A multiplex that somebody else receives: its stream is read when it begins again, from its beginning on.
  struct Tapped {
    Read read;
    std::uint64_t loop = 0;     // of the last packet
    std::uint64_t endLoop = 0;  // when this one begins, all of the stream was received
    std::unique_ptr<GuideReception> reception;
  };

  void take(const PacketView&) override {}
  void end(End) override { _isTaken = true; }

  void run(const std::stop_token& stop);
  void turn(const std::stop_token& stop);
  bool takeReceiver();
  bool isStuck() const;
  void tellDone(bool isDone);
  std::optional<std::uint32_t> nextMultiplex();
  bool wasAllReceived() const;
  void refreshCatalogue();
  void takeTapped();
  void takePiece(const GuideTap::Piece& piece);
  Tapped tapped(const StoredMultiplex& multiplex, std::uint64_t loop) const;
  bool isStale(const StoredMultiplex& multiplex);
  std::int64_t shiftOf(const StoredMultiplex& multiplex) const;
  Read readingOf(const StoredMultiplex& multiplex) const;
  void collect(const std::stop_token& stop, const StoredMultiplex& multiplex);
  std::unique_ptr<ByteSource> tune(const StoredMultiplex& multiplex, ReceptionReport& report) const;
  bool receive(const std::stop_token& stop, GuideReception& reception, std::unique_ptr<ByteSource> source,
               ReceptionReport& report);
  void finish(const StoredMultiplex& multiplex, GuideReception& reception, Read read);
  void keep(const StoredMultiplex& multiplex, Read read);
  bool isWanted(const std::stop_token& stop);
  void flush();
  void tellOfChange(bool isBurstOver);

  const Parts _parts;

  // the thread's own
  std::shared_ptr<const Catalogue> _catalogue;  // that the following is about
  std::map<std::uint32_t, Read> _read;          // by multiplex
  std::map<std::uint32_t, Tapped> _tapped;      // by multiplex
  bool _isEnabled = true;                       // by its property
  bool _isStoreFailing = false;
  std::optional<Clock::time_point> _changedSince;  // and nobody was told
  std::optional<Clock::time_point> _forgotten;     // what is old, the last time
  std::optional<Clock::time_point> _busySince;     // there is something to collect and no receiver
  Clock::time_point _flushed;
  std::uint64_t _dropped = 0;
  std::unique_ptr<TunedShare> _receiver;  // while it is collecting

  std::atomic<bool> _isTaken{false};  // the receiver, by somebody else

  // guarded by _mutex, a leaf
  mutable std::mutex _mutex;
  Progress _progress;

  std::jthread _thread;  // last: it uses all the others
};

}  // namespace durix

#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "middleware/si/DvbText.h"
#include "middleware/si/Multiplex.h"
#include "middleware/si/SectionDemux.h"
#include "middleware/si/SubTable.h"
#include "middleware/stream/PacketReader.h"
#include "middleware/stream/StreamClock.h"

namespace durix {

/// How long a scan waits for a table, in time of the stream. Tables come at least every 0.5 s (PAT, PMT by TR 101 290),
/// 2 s (SDT) and 10 s (NIT, ETSI TS 101 211, 4.4). The packets bound a stream without clock references.
struct ScanLimits {
  std::chrono::milliseconds pat{3000};
  std::chrono::milliseconds pmt{3000};
  std::chrono::milliseconds sdt{6000};
  std::chrono::milliseconds nit{12000};
  std::uint64_t packets = 1'000'000;
};

/// Collects from the packets of one frequency what a channel scan needs: PAT, PMTs, SDT and NIT of this multiplex,
/// time. Keeps the newest version of each table; while a newer one is not whole, sections of the older stand in, and
/// what was received counts, whole or not. Memory is bounded by the tables' own limits. Owned and used by one thread.
class MultiplexScanner {
 public:
  explicit MultiplexScanner(const ScanLimits& limits = {}, DefaultTable table = DefaultTable::Iso6937);

  void feed(const PacketView& packet);

  /// Whether the tables are complete, or those that are not have been waited for as long as the limits say.
  bool isDone() const;

  /// What has been received so far; to be asked at any moment.
  MultiplexTables result() const;

  std::chrono::milliseconds elapsed() const { return _clock.elapsed(); }

 private:
  using Key = std::pair<std::uint16_t, std::uint16_t>;

  void takeSection(std::uint16_t pid, const Section& section);
  void takePat(const Section& section);
  void takePmt(std::uint16_t pid, const Section& section);
  void takeSdt(const Section& section);
  void takeNit(const Section& section);
  void takeTime(const Section& section);
  void watchForEarlyPmts(const PacketView& packet);
  bool hasAllPmts() const;
  void addPrograms(MultiplexTables& tables) const;
  void addServices(MultiplexTables& tables) const;

  // fixed after construction
  const ScanLimits _limits;
  const DefaultTable _table;

  SectionDemux _demux;
  StreamClock _clock;
  SubTable _pat;
  std::map<std::uint16_t, std::uint16_t> _programPids;  // PMT PID by programme number: the newest PAT that lists any
  bool _isPatWhole = false;                             // that PAT
  std::uint16_t _transportStreamId = 0;                 // of that PAT
  std::size_t _earlyPids = 0;                           // looked at for PMTs before the first PAT
  std::map<Key, SubTable> _pmts;                        // by programme number and PID
  std::map<Key, SubTable> _sdts;                        // by transport stream and original network
  std::map<std::uint16_t, SubTable> _nits;              // by network
  std::optional<std::chrono::milliseconds> _patTime;    // when the PAT was complete
  std::optional<BroadcastTime> _firstTime, _lastTime;
  ReceptionMeter _meter;
};

/// Reads packets until the tables are complete, the limits or the stream end, or `isCancelled` says so (asked every few
/// hundred packets; may be empty).
MultiplexTables scanMultiplex(PacketReader& reader, const ScanLimits& limits = {},
                              const std::function<bool()>& isCancelled = {});

}  // namespace durix

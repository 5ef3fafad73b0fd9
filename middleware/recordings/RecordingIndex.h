#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <unordered_map>
#include <vector>

#include "middleware/stream/PacketView.h"
#include "middleware/stream/StreamClock.h"

namespace durix {

/// A place in a recording where somebody may begin to read: tables stand there.
struct IndexEntry {
  std::uint64_t milliseconds = 0;  // since the beginning, by the stream's own clock
  std::uint64_t offset = 0;        // bytes

  bool operator==(const IndexEntry&) const = default;
};

/// Measures the packets of a recording in their order: how long they last, where one may begin, and how often some were
/// damaged or lost on their way. Used by one thread.
class RecordingMeter {
 public:
  /// Goes on behind what has been measured already.
  explicit RecordingMeter(std::uint64_t milliseconds = 0) : _before(milliseconds) {}

  /// An entry for the index, when it is time for one.
  std::optional<IndexEntry> feed(const PacketView& packet, std::uint64_t offset);

  std::uint64_t milliseconds() const { return _before + static_cast<std::uint64_t>(_clock.elapsed().count()); }
  std::uint64_t errors() const { return _errors; }

 private:
  bool isContinuous(const PacketView& packet);

  std::uint64_t _before;
  StreamClock _clock;
  std::unordered_map<std::uint16_t, std::uint8_t> _counters;  // by PID, the last one's
  std::optional<std::uint64_t> _lastEntry;                    // milliseconds
  std::uint64_t _errors = 0;
};

/// The index beside a recording: entries by time, the last of a finished one is its end.
std::filesystem::path indexOf(const std::filesystem::path& recording);

/// What describes a recording, beside it.
std::filesystem::path descriptionOf(const std::filesystem::path& recording);

/// Reads the entries behind the first `known` ones; what was not written to its end is left out. Nothing when the index
/// is missing or none.
std::optional<std::vector<IndexEntry>> readIndex(const std::filesystem::path& index, std::size_t known = 0);

/// The bytes of an index.
std::vector<std::uint8_t> indexHead();
void appendEntry(std::vector<std::uint8_t>& bytes, const IndexEntry& entry);

/// Puts an index in the place of whatever is there; false when it cannot be written.
bool writeIndex(const std::filesystem::path& index, const std::vector<IndexEntry>& entries);

/// What a recording's bytes say of it, from `first` on, up to its last whole packet. Nothing when it cannot be read, or
/// when asked to stop.
struct Measured {
  std::vector<IndexEntry> entries;  // behind `first`, without the end
  IndexEntry end;
  std::uint64_t errors = 0;
};
std::optional<Measured> measure(const std::filesystem::path& recording, IndexEntry first = {},
                                const std::stop_token& stop = {});

/// Entries made to fit a recording that nobody writes: what lies behind its end is left out, what is missing is
/// measured, and the last one is the end. Nothing as above.
struct Fitted {
  std::vector<IndexEntry> entries;
  std::uint64_t errors = 0;  // in what was measured
  bool isAnew = false;       // which is everything
};
std::optional<Fitted> fit(std::vector<IndexEntry> entries, const std::filesystem::path& recording,
                          const std::stop_token& stop = {});

}  // namespace durix

#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

#include "middleware/recordings/Recording.h"

namespace durix {

class Store;

/// All timers and recordings: kept in the store, answered from memory. A change is durable, and then visible, when it
/// returns. A running time shift is in here too, as a timer and, under the same identifier, as what it writes; it is
/// kept nowhere else. Owned by the instance; any thread. Changes throw Failure as the store does.
class Recordings {
 public:
  /// The store outlives this.
  explicit Recordings(Store& store);
  Recordings(const Recordings&) = delete;
  Recordings& operator=(const Recordings&) = delete;

  std::vector<Timer> timers() const;  // by identifier, time shifts too
  std::optional<Timer> timer(std::uint32_t id) const;
  std::vector<Recording> recordings() const;  // by identifier, neither time shifts nor what is being deleted
  std::vector<Recording> unfinished() const;  // running ones and those that are being deleted
  std::optional<Recording> recording(std::uint32_t id) const;

  /// Whether somebody writes it now.
  bool isWritten(std::uint32_t id) const;

  /// The record of the contract for a timer or a recording; it lives as long as this does.
  durix_esg_object* record(ObjectKind kind, std::uint32_t id);

  /// The feeds of a recording or a time shift that can be played, in the order of its PMT: what its writer has told, or
  /// what its file says. Empty when there is nothing to be read.
  std::vector<Feed> feeds(std::uint32_t id);

  // ---- For who records. ----

  /// Gives it its identifier, which is returned.
  std::uint32_t add(Timer timer);
  /// No failure when there is no such timer any more.
  void changeTimer(std::uint32_t id, const std::function<void(Timer&)>& change);
  void removeTimer(std::uint32_t id);

  /// What a timer writes begins: gives it its identifier, by which its file is named, and lets the timer know it. That
  /// of a time shift has the timer's.
  using Naming = std::function<std::filesystem::path(std::uint32_t id)>;
  std::uint32_t begin(std::uint32_t timer, Recording recording, const Naming& naming);
  void changeRecording(std::uint32_t id, const std::function<void(Recording&)>& change);  // as above
  void removeRecording(std::uint32_t id);

  /// Without a change of what is kept.
  void setWritten(std::uint32_t id, bool isWritten);
  void setFeeds(std::uint32_t id, std::vector<Feed> feeds);

  /// The first byte of a time shift that is still there.
  void setBeginning(std::uint32_t id, std::uint64_t offset);
  std::uint64_t beginning(std::uint32_t id) const;

 private:
  bool isTimeShift(std::uint32_t id) const;  // of what is written

  Store& _store;
  std::mutex _changing;  // one change at a time; the store is used under it

  // guarded by _mutex, a leaf
  mutable std::mutex _mutex;
  std::map<std::uint32_t, Timer> _timers;
  std::map<std::uint32_t, Recording> _recordings;
  std::set<std::uint32_t> _written;
  std::map<std::uint32_t, std::vector<Feed>> _feeds;
  std::map<std::uint32_t, std::uint64_t> _beginnings;
  std::map<std::uint32_t, std::unique_ptr<durix_esg_object>> _records;  // of what is gone too
};

/// The recording or time shift that an object stands for, by itself or as one of its feeds; nothing for others.
std::optional<std::uint32_t> recordingOf(const durix_esg_object& object);

/// The records of its feeds. `feeds` is what Recordings::feeds gives: a feed's identifier is its place there, from 1.
std::vector<durix_esg_object> feedRecords(std::uint32_t recording, const std::vector<Feed>& feeds);

/// The feed of a recording that a record stands for; nothing when there is none such.
std::optional<Feed> recordedFeed(Recordings& recordings, const durix_esg_object& object);

}  // namespace durix

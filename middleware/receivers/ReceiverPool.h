#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

#include "middleware/receivers/Broadcast.h"
#include "middleware/receivers/Presence.h"

namespace durix {

/// The receivers of an instance, all of one type: each source has as many as its settings say. Tells when receivers
/// appear and when they are gone for good. Owned by the instance; any thread.
class ReceiverPool {
 public:
  /// Called for each receiver of a source, at first from the constructor's thread, then from the watching thread.
  using Notice = std::function<void(const Broadcast& broadcast, Presence::Change change)>;

  ReceiverPool(std::vector<std::unique_ptr<Broadcast>> broadcasts, Notice notice);
  ReceiverPool(const ReceiverPool&) = delete;
  ReceiverPool& operator=(const ReceiverPool&) = delete;

  /// Any when there is no receiver.
  ReceiverType type() const;
  const std::vector<std::unique_ptr<Broadcast>>& broadcasts() const { return _broadcasts; }

  /// The stream of a frequency from the first source that carries it; null without a signal. Throws Failure when it
  /// cannot be read.
  std::unique_ptr<ByteSource> tune(const durix_scan_frequency& frequency) const;

  /// As Broadcast::shiftedFile, of the source that is tuned.
  std::optional<std::filesystem::path> shiftedFile(const durix_scan_frequency& frequency) const;

  /// As Broadcast::revision, of the source that is tuned.
  std::string revision(const durix_scan_frequency& frequency) const;

  /// Ends the watching; no notice comes afterwards.
  void stop();

 private:
  const Broadcast* carrierOf(const durix_scan_frequency& frequency) const;
  void look();
  void watch(const std::stop_token& stop);

  const std::vector<std::unique_ptr<Broadcast>> _broadcasts;
  const Notice _notice;
  std::vector<Presence> _presences;  // one for each source; the constructor's, then the watching thread's
  std::jthread _watcher;             // last: it uses all the others
};

}  // namespace durix

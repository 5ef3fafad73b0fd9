#pragma once

#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

#include "middleware/events/EventQueue.h"
#include "middleware/receivers/ReceiverPool.h"
#include "middleware/reception/Tuners.h"
#include "middleware/scan/ScanReport.h"
#include "middleware/store/Store.h"
#include "middleware/store/TimeShifts.h"

namespace durix {

/// The channel scan of an instance: goes through a list of frequencies on a thread of its own, tells of each, stores
/// what it found at the end in one piece, and always ends with the finished event.
/// Each frequency is read as fast as its receiver gives it, until its tables are complete or a bound is reached, so
/// that a scan ends whatever the streams are; memory holds tables, never the stream. A scan has a receiver of its own
/// and is cancelled when that is needed for a recording. Any thread.
class ChannelScan {
 public:
  /// All outlive this.
  struct Parts {
    EventQueue& events;
    const ReceiverPool& receivers;
    Tuners& tuners;
    Store& store;
    TimeShifts& shifts;
  };
  explicit ChannelScan(Parts parts) : _parts(parts) {}
  ChannelScan(const ChannelScan&) = delete;
  ChannelScan& operator=(const ChannelScan&) = delete;

  /// Begins and returns at once. Throws Failure: Busy while a scan runs or there is no receiver to be had.
  void start(std::vector<durix_scan_frequency> frequencies);

  /// The scan ends before the next piece of its stream; false when none runs.
  bool cancel();

  bool isRunning() const;

  /// Of the scan that runs or ran last.
  ScanReport report() const;

  /// Ends a scan that runs, without events; none starts afterwards.
  void stop();

 private:
  class Claim;

  /// One scan on its way, its thread's own.
  struct Progress {
    std::size_t total = 0;
    std::size_t done = 0;
    ScanYield yield;
    std::vector<std::string> names;  // of all television and radio services
  };

  std::stop_source begin();
  void run(std::unique_ptr<Claim> claim, const std::vector<durix_scan_frequency>& frequencies);
  void scan(const std::stop_token& stop, const durix_scan_frequency& tuning, Progress& progress);
  void receive(const std::stop_token& stop, const durix_scan_frequency& tuning, Progress& progress,
               FrequencyOutcome& outcome, std::vector<std::string>& names);
  void see(const durix_scan_frequency& tuning);
  void finish(Progress& progress);
  bool isStopped() const;

  const Parts _parts;

  // guarded by _mutex, under which events are posted and nothing else is taken
  mutable std::mutex _mutex;
  bool _isRunning = false;
  bool _isStopped = false;
  std::stop_source _stop;  // of the scan that runs
  ScanReport _report;
  std::jthread _thread;
};

}  // namespace durix

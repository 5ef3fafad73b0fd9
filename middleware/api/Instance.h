#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "middleware/api/Companion.h"
#include "middleware/api/Providers.h"
#include "middleware/events/EventQueue.h"
#include "middleware/guide/Guide.h"
#include "middleware/guide/GuideCollector.h"
#include "middleware/guide/GuideFeeds.h"
#include "middleware/guide/GuideTap.h"
#include "middleware/receivers/ReceiverPool.h"
#include "middleware/reception/Tuners.h"
#include "middleware/recordings/Recordings.h"
#include "middleware/scan/ChannelScan.h"
#include "middleware/store/Store.h"
#include "middleware/store/TimeShifts.h"

namespace durix {

/// One run of the middleware, between durix_init and durix_deinit: owns its parts. At most one at a time in a process.
///
/// Calls of the contract hold the instance while they use it, so that a stop from another thread finds nobody in freed
/// memory; they get a failure from the parts that have stopped.
class Instance {
 public:
  /// Starts one; its handle is no other's, ever. Throws Failure: Busy while there is one, or as its parts fail.
  static durix_handle* start(const std::filesystem::path& dataDirectory,
                             std::span<const durix_callback_entry> callbacks);

  /// Throws Failure NoInstance when the handle is not that of the running one.
  static std::shared_ptr<Instance> find(const durix_handle* handle);

  /// The running one, for calls that name none; throws as above.
  static std::shared_ptr<Instance> current();

  /// Ends it: no event comes any more, and nothing of it runs on return, except a handler that makes this very call.
  static void stop(const durix_handle* handle);

  /// Why the last start failed, for people; empty when it did not.
  static std::string startFailure();
  static void setStartFailure(const std::string& text);

  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;
  ~Instance();

  Store& store() { return _store; }
  EventQueue& events() { return *_events; }
  Recordings& recordings() { return _recordings; }
  TimeShifts& timeShifts() { return _timeShifts; }
  ReceiverPool& receivers() { return *_receivers; }
  Tuners& tuners() { return *_tuners; }
  ChannelScan& scan() { return *_scan; }
  Providers& providers() { return _providers; }
  Guide& guide() { return *_guide; }
  GuideFeeds& guideFeeds() { return _guideFeeds; }
  GuideCollector& guideCollector() { return *_guideCollector; }

  /// It is stopped before the instance's parts are, if it still lives then. Throws Failure NoInstance when it is late.
  void add(const std::shared_ptr<Companion>& companion);

 private:
  explicit Instance(const std::filesystem::path& dataDirectory);
  void startReceivers();
  void stopCompanions();
  void shutDown();

  // fixed after construction; each uses those before it
  Store _store;
  Recordings _recordings;
  TimeShifts _timeShifts;
  std::shared_ptr<EventQueue> _events;
  std::unique_ptr<ReceiverPool> _receivers;
  GuideTap _guideTap;
  std::unique_ptr<Tuners> _tuners;
  std::unique_ptr<ChannelScan> _scan;
  Providers _providers;
  GuideFeeds _guideFeeds;
  std::unique_ptr<Guide> _guide;
  std::unique_ptr<GuideCollector> _guideCollector;

  // guarded by _companionsMutex, a leaf
  std::mutex _companionsMutex;
  std::vector<std::weak_ptr<Companion>> _companions;
  bool _isStopping = false;
};

}  // namespace durix

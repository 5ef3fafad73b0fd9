#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "middleware/api/Companion.h"
#include "middleware/events/EventRecord.h"
#include "middleware/recorder/Take.h"
#include "middleware/recordings/Recording.h"

namespace durix {

class Instance;

/// Timers and what they write: there is one of an instance, from its first handle on. Timers run while the recorder is
/// active; a thread looks at them ten times a second by the platform's clock, which may jump.
///
///   waiting --lead--> warned (activating) --start--> taking --first packets--> announced (active)
///   --end--> over (deactive), or --no room--> over (device full); then, when everybody has been told, gone
///
/// A timer that is removed goes at once and nothing is told. Events are posted, never told from inside a call. All
/// operations are for any thread and throw Failure.
class Recorder final : public Companion {
 public:
  /// That of an instance; the first time it is made, and what the last run left is put in order.
  static std::shared_ptr<Recorder> of(const std::shared_ptr<Instance>& instance);

  explicit Recorder(Instance& instance);
  ~Recorder() override;

  /// One more and one less who uses it; the last one's going deactivates it.
  void join();
  void leave();

  /// Timers that are over go; those that were writing go on at once, in the same recording.
  void activate(ReceiverType provider);

  /// What is being written stays, as interrupted; timers stay too. No handler of a recorder's event runs on return, but
  /// one that makes this call.
  void deactivate();

  struct Wish {
    TimerType type = TimerType::Recording;
    std::uint32_t service = 0;
    std::int64_t start = 0;  // 0: now, of a time shift
    std::int64_t end = 0;    // 0: open, of a time shift
    std::uint32_t lead = 0;
    std::string name;
  };
  /// Throws a code of the contract when it cannot be.
  std::uint32_t add(const Wish& wish);

  /// A running one keeps its start; its new end holds at once.
  void modify(std::uint32_t timer, const Wish& wish);

  /// What it has written is finished when it returns.
  void removeTimer(std::uint32_t timer);

  /// With its file. Throws Busy while a timer writes it.
  void removeRecording(std::uint32_t recording);

  void stop() noexcept override;

 private:
  // What is known of a timer only while the recorder works.
  struct Progress {
    bool isWarned = false;
    bool isAnnounced = false;
    bool isOver = false;
    bool isTold = false;   // that it is over
    bool isStuck = false;  // a failure of it has been logged
    std::unique_ptr<Take> take{};
  };

  // An event of the recorder's own, behind the last one of a timer. The contract's numbers are small.
  static constexpr std::uint32_t EVENT_TOLD = 0x80000001;

  void run(const std::stop_token& stop);
  static void toldHandler(durix_event_data* event, void* user);
  void handleTold(std::uint32_t timer);
  void forgetTold();
  bool forget(std::uint32_t timer, Progress& progress);

  void waitForHandlers() const;

  // _mutex is held by who calls these.
  void look();
  void endOver(const Timer& timer, Progress& progress, std::int64_t now);
  void startDue(const Timer& timer, Progress& progress, std::int64_t now);
  void begin(const Timer& timer, Progress& progress);
  void warn(const Timer& timer, std::int64_t now);
  void conclude(const Timer& timer, Progress& progress, std::uint32_t event);
  void tell(std::uint32_t event, std::uint32_t timer);
  void pause();
  void removeTimeShift(std::uint32_t timer);
  void finishRow(std::uint32_t recording);
  void ensureWorks() const;

  // fixed after construction
  Instance& _instance;

  // guarded by _mutex; the recordings', the receivers' and the store's locks are taken under it, never the other way
  std::mutex _mutex;
  std::condition_variable_any _changed;
  std::optional<ReceiverType> _provider;        // while it is active
  std::map<std::uint32_t, Progress> _progress;  // by timer
  std::uint32_t _users = 0;
  bool _isStopped = false;

  std::jthread _scheduler;  // last: they use all the others
  std::jthread _restorer;
};

}  // namespace durix

#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <vector>

#include "Interrupt.h"
#include "LastError.h"
#include "PluginLibrary.h"
#include "PluginWatch.h"
#include "ReceiverChoice.h"
#include "SideDoor.h"
#include "host/DailyRefresh.h"

namespace tv {

/// The plugin at work on a data directory: loaded, initialised and given the kept option values by the constructor,
/// closed in order by the destructor. Commands of several threads share it.
class Session {
 public:
  struct Setup {
    std::string data;  // absolute, owned by this process; as the next
    std::string library;
    std::string plugin;
    std::vector<ReceiverChoice> receivers;  // checked
  };
  /// The channel list and its services stay as they are while this is held: no scan starts.
  using ServicesHeld = std::shared_lock<std::shared_timed_mutex>;
  /// Nobody uses services while this is held.
  using ServicesAlone = std::unique_lock<std::shared_timed_mutex>;

  /// Throws Failure when plugin or middleware do not start.
  explicit Session(Setup setup);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

  const Setup& setup() const { return _setup; }
  BroadcastPlugin& plugin() { return *_plugin; }
  const PluginLibrary& library() const { return _library; }
  const SideDoor& sideDoor() const { return _sideDoor; }

  /// Whether a command is going on that keeps this process alive until it is told to end.
  bool isResident() const { return _residents > 0; }
  class Residence {
   public:
    explicit Residence(Session& session) : _session(session) { ++_session._residents; }
    Residence(const Residence&) = delete;
    Residence& operator=(const Residence&) = delete;
    ~Residence() { --_session._residents; }

   private:
    Session& _session;
  };

  /// The time shift that a command runs, for others to watch; null without. What has ended stays readable.
  Recording* timeShift() const { return _timeShift; }
  void setTimeShift(Recording* recording) { _timeShift = recording; }

  std::optional<ReceiverStatistics> statistics() const { return _watch->statistics(); }
  /// What one step of a scan frequency is, in Hz: satellite frequencies are kHz.
  unsigned frequencyUnit() const;

  /// Waits a little for a receiver that there is, so that what depends on its type is right; false when none is
  /// announced. Throws Interrupted.
  bool expectReceiver(const Interrupt& interrupt);
  /// Waits until a receiver is announced. Throws Failure that says what is missing, and Interrupted.
  void waitForReceiver(const Interrupt& interrupt);
  /// Waits until the channel list is loaded, and holds it. Throws as above.
  ServicesHeld waitForChannels(const Interrupt& interrupt);
  /// A plugin whose receiver went away stays inactive when it is back, and knows its channels still: the host says when
  /// to go on. To be called now and then while waiting; without the side door it does nothing.
  void goOnWithReceiver();
  /// Waits until no command uses services. Throws as above.
  ServicesAlone waitForServices(const Interrupt& interrupt);
  /// Waits until the state is active after a scan; false when it does not become so.
  bool waitForActive(const Interrupt& interrupt);

 private:
  void start();
  void applyKeptOptions();

  const Setup _setup;
  LastError _lastError;
  const PluginLibrary _library;
  const SideDoor _sideDoor;
  BroadcastPlugin* const _plugin;  // deletes itself when it is closed
  std::unique_ptr<PluginWatch> _watch;
  std::shared_timed_mutex _services;
  std::atomic<int> _residents = 0;
  std::atomic<Recording*> _timeShift = nullptr;    // the plugin's
  std::unique_ptr<host::DailyRefresh> _midnights;  // of the recorder
};

}  // namespace tv

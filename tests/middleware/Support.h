#pragma once

#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "durix/durix.h"
#include "tests/support/Eventually.h"
#include "tests/support/TinyStream.h"

namespace durix::test {

/// One event as a handler got it, read at the offsets of the contract.
struct SeenEvent {
  std::uint32_t event = 0;
  std::uint32_t progress = 0, frequency = 0, valid = 0;  // of a progress event
  std::vector<std::string> names;                        // of progress and finished events
  std::uint32_t protocol = 0, receiver = 0;              // of a receiver-on event
};

std::uint32_t wordAt(const durix_event_data* event, std::size_t offset);

/// Every event that a middleware delivered to its table of handlers. Any thread.
class EventLog {
 public:
  static void handler(durix_event_data* event, void* user);

  /// Waits (a bounded time) until an event of this number came after the last call that waited for it.
  bool waitFor(std::uint32_t event);
  std::vector<SeenEvent> events() const;
  std::vector<SeenEvent> events(std::uint32_t event) const;
  void clear();

 private:
  void take(durix_event_data* event);

  mutable std::mutex _mutex;
  std::condition_variable _changed;
  std::vector<SeenEvent> _events;
  std::size_t _waitedTo = 0;
};

/// A middleware on directories of its own; its events go to the log. One at a time.
class Middleware {
 public:
  Middleware();
  ~Middleware();
  Middleware(const Middleware&) = delete;
  Middleware& operator=(const Middleware&) = delete;

  /// What is on air; `name` is that of a file without ".ts".
  void air(const std::string& name, const TinyMultiplex& multiplex) const;
  void silence(const std::string& name) const;

  /// `receivers` is the text of DURIX_RECEIVERS; by default a DVB-T receiver on the directory of this object.
  durix_return_code start();
  durix_return_code start(const std::string& receivers);
  durix_return_code stop();

  /// Scans and waits for the end.
  bool scan(const std::vector<std::int32_t>& frequencies);
  bool scanTunings(std::vector<durix_scan_frequency> frequencies, std::uint32_t type = 1);

  durix_provider provider() const;  // the first; all zero without
  std::vector<durix_esg_object> services() const;
  std::vector<durix_esg_object> feeds(const durix_esg_object& service) const;
  std::string text(const durix_esg_object& object, durix_attribute attribute) const;
  std::int32_t number(const durix_esg_object& object, durix_attribute attribute) const;
  std::vector<std::string> names() const;             // of the services, in order
  std::uint32_t idOf(const std::string& name) const;  // 0 when no service has it
  std::string property(durix_property property) const;

  const std::filesystem::path& data() const { return _data.path(); }
  const std::filesystem::path& airDirectory() const { return _air.path(); }
  durix_handle* handle() const { return _handle; }
  EventLog& log() { return _log; }

 private:
  TemporaryDirectory _data, _air;
  EventLog _log;
  durix_handle* _handle = nullptr;
};

durix_scan_frequency tuning(std::int32_t frequency, std::int32_t polarisation = -1);

}  // namespace durix::test

#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "durix/durix.h"

/// What the middleware answers, and what it has been asked for. One lives at a time; it also keeps the log lines, runs
/// the one clock and opens the plugin's gate.
class FakeMiddleware {
 public:
  FakeMiddleware();
  ~FakeMiddleware();  // checks that all memory came back

  void addService(std::uint32_t id);
  /// An event of a service; times are seconds since the epoch.
  void addEvent(std::uint32_t service, std::uint32_t id, int start, int end, const std::string& title = "");

  std::vector<durix_esg_object> services;
  std::map<std::uint32_t, std::vector<durix_esg_object>> events;
  std::map<std::uint32_t, durix_return_code> eventsCode;  // of a service; 0 where nothing is said
  std::map<std::uint32_t, std::vector<int>> feedNumbers;  // the feeds of a service by their number
  std::map<int, durix_return_code> openCode;              // of the feed with that number
  std::map<std::pair<std::uint32_t, durix_attribute>, std::string> texts;
  std::map<std::pair<std::uint32_t, durix_attribute>, int> numbers;
  std::map<std::string, std::string> files;
  std::function<void(std::uint32_t object)> onText;  // inside a read of a text
  std::function<void()> onFeedOpen;                  // inside the call

  /// Sets the clock and returns when every timeout that is due has been served.
  void setTime(std::int64_t seconds);
  std::int64_t time() const { return _time; }

  void note(const std::string& what);
  /// What has happened since the last time: middleware calls, and what a test noted itself.
  std::vector<std::string> calls();
  /// The log lines since the last time: level, blank, text.
  std::vector<std::string> lines();

 private:
  std::atomic<std::int64_t> _time = 1000;
  std::mutex _mutex;
  std::vector<std::string> _calls;
  std::vector<std::string> _lines;
};

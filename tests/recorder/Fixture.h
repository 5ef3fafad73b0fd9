#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "OnAir.h"
#include "Support.h"
#include "durix/durix_recorder.h"
#include "middleware/durix_tools.h"

namespace durix::test {

/// What a recorder event told, and what the recorder answered while it was told.
struct Told {
  std::uint32_t event = 0;
  std::uint32_t timer = 0;
  std::uint32_t value = 0;            // of activating
  std::vector<std::uint32_t> others;  // of activating
  std::vector<std::uint32_t> timers;  // that were listed
  std::uint32_t recording = 0;        // of the timer; 0: none
};

/// A middleware with a recorder, on two multiplexes of 474 MHz ("One", "Two") and 482 MHz ("Three").
class RecorderFixture : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// Starts it, with an active recorder unless said otherwise; scans the first time.
  void start(unsigned tuners = 1, bool isActive = true);
  void stop();

  durix_return_code add(const std::string& service, std::int64_t start, std::int64_t end, std::uint32_t value = 30,
                        std::uint32_t type = DURIX_TIMER_RECORDING);
  durix_esg_object service(const std::string& name) const;
  std::vector<durix_esg_object> timers() const;
  std::vector<durix_esg_object> recordings() const;
  std::filesystem::path fileOf(std::uint32_t recording) const;
  std::uint32_t secondsOf(std::uint32_t recording) const;

  /// Waits a bounded time for the next event of the recorder that has not been waited for.
  Told next();
  bool isQuiet();  // nothing is told for a moment
  static void jump(std::int64_t time) { durix_tools_clock_set(time); }

  static std::int64_t now();

  /// Done inside the handlers, before the event can be waited for; set while nothing runs.
  std::function<void(const Told&)> _inside;

  Middleware _middleware;
  durix_recorder* _recorder = nullptr;
  durix_esg_object _added{};  // by the last add()

 private:
  static void handle(durix_event_data* event, void* user);

  std::mutex _mutex;
  std::condition_variable _changed;
  std::vector<Told> _told;
  std::size_t _read = 0;
};

}  // namespace durix::test

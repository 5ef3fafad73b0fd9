#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/HostClock.h"
#include "host/HostLog.h"

/// The host's clock in the hand of a test; the system's comes back at the end.
class ManualClock {
 public:
  explicit ManualClock(std::int64_t time) : _time(std::make_shared<std::atomic<std::int64_t>>(time)) {
    host::setClock([time = _time] { return time->load(); });
  }
  ManualClock(const ManualClock&) = delete;
  ManualClock& operator=(const ManualClock&) = delete;
  ~ManualClock() { host::setClock(nullptr); }

  /// Sets the time and returns when everything that is due has been served.
  void set(std::int64_t time) {
    *_time = time;
    host::settle();
  }

  /// Sets the time without telling anybody.
  void jump(std::int64_t time) { *_time = time; }

 private:
  std::shared_ptr<std::atomic<std::int64_t>> _time;  // the host may still be reading when the test is over
};

/// Something that happens once and can be waited for; a wait that lasts too long is a failure, not a hang.
class Flag {
 public:
  void raise() {
    const std::lock_guard lock(_mutex);
    _raised = true;
    _changed.notify_all();
  }
  bool wait() {
    std::unique_lock lock(_mutex);
    return _changed.wait_for(lock, std::chrono::seconds(20), [&] { return _raised; });
  }

 private:
  std::mutex _mutex;
  std::condition_variable _changed;
  bool _raised = false;
};

/// Time for another thread to do what it must not do.
inline void giveOthersTime() {
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

/// An empty directory for one test.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    static std::atomic<int> number = 0;
    const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    _path = std::filesystem::temp_directory_path() /
            ("host-test-" + std::to_string(stamp) + "-" + std::to_string(number++));
    std::filesystem::create_directories(_path);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }
  const std::filesystem::path& path() const { return _path; }

 private:
  std::filesystem::path _path;
};

/// The log lines of a test.
class LogCapture {
 public:
  LogCapture() {
    host::setLogSink([this](const host::LogLine& line) {
      const std::lock_guard lock(_mutex);
      _lines.push_back(line);
    });
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  ~LogCapture() { host::setLogSink(nullptr); }

  std::vector<host::LogLine> lines() const {
    const std::lock_guard lock(_mutex);
    return _lines;
  }

 private:
  mutable std::mutex _mutex;
  std::vector<host::LogLine> _lines;
};

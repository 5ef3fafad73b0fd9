#include "middleware/portability/Log.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>

#include "durix/ostiv.h"

namespace durix {
namespace {

struct Sink {
  // held while a handler runs, so that it can be taken away; recursive because a handler may cause a line
  std::recursive_mutex mutex;
  LogHandler handler = nullptr;
  void* user = nullptr;
  std::filesystem::path file;
};

// Never destroyed: threads of others may log while the process ends.
Sink& sink() {
  static auto* const instance = new Sink;
  return *instance;
}

// As the other parts of the platform write into the same file: UTC with milliseconds, level, category.
std::string withTime(std::string_view text) {
  using namespace std::chrono;
  // When the line was written, whatever the platform's clock shows.
  const auto now = time_point_cast<milliseconds>(system_clock::now());
  const std::time_t seconds = system_clock::to_time_t(now);
  std::tm utc{};
  std::array<char, 32> stamp{};
  std::array<char, 8> fraction{};
  if (gmtime_r(&seconds, &utc) != nullptr) std::strftime(stamp.data(), stamp.size(), "%Y-%m-%dT%H:%M:%S", &utc);
  std::snprintf(fraction.data(), fraction.size(), ".%03dZ", static_cast<int>(now.time_since_epoch().count() % 1000));
  return std::string(stamp.data()) + fraction.data() + " WARN DURIX " + std::string(text) + "\n";
}

void append(const std::filesystem::path& file, const std::string& line) {
  const int descriptor = ::open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (descriptor < 0) return;
  // One write keeps the line whole among other writers.
  [[maybe_unused]] const auto written = ::write(descriptor, line.data(), line.size());
  ::close(descriptor);
}

}  // namespace

void logLine(std::string_view text) noexcept {
  try {
    std::string line(text);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; }, ' ');
    Sink& target = sink();
    const std::scoped_lock lock(target.mutex);
    if (target.handler != nullptr) {
      target.handler(line.c_str(), target.user);
    } else if (!target.file.empty()) {
      append(target.file, withTime(line));
    }
  } catch (...) {  // NOLINT(bugprone-empty-catch): a log line is never worth a failure
  }
}

void setLogHandler(LogHandler handler, void* user) {
  Sink& target = sink();
  const std::scoped_lock lock(target.mutex);
  target.handler = handler;
  target.user = user;
}

void setLogFile(const std::filesystem::path& file) {
  Sink& target = sink();
  const std::scoped_lock lock(target.mutex);
  target.file = file;
}

}  // namespace durix

extern "C" void ostiv_log_debug(const char* text) {
  durix::logLine(text == nullptr ? "" : text);
}

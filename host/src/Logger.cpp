#include "velmora/Logger.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "host/HostLog.h"
#include "host/src/ForEver.h"

namespace {

struct Output {
  std::mutex mutex;  // a leaf: a line is written while it is held, so that lines stay whole and in order
  // guarded by mutex
  int file = -1;
  int errorRank = 0;  // least rank for standard error; 0 is never
  std::function<void(const host::LogLine&)> sink;
};

Output& output() {
  return host::forEver<Output>();
}

/// 1 for "INFO" and unknown levels, 2 for "WARN", 3 for "ERR"; 0 for none.
int rankOf(const std::string& level) {
  if (level.empty()) return 0;
  if (level == "ERR") return 3;
  return level == "WARN" ? 2 : 1;
}

/// The system's time, not the replaceable clock: a log tells when something really happened.
std::string timeStamp() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
  std::tm fields{};
  gmtime_r(&seconds, &fields);
  std::array<char, 32> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &fields);
  std::snprintf(text.data() + length, text.size() - length, ".%03dZ", static_cast<int>(sinceEpoch.count() % 1000));
  return text.data();
}

/// Control characters would break the line or the terminal that shows it.
void appendPrintable(std::string& line, const std::string& text) {
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) {
      line += c;
      continue;
    }
    std::array<char, 8> escaped{};
    std::snprintf(escaped.data(), escaped.size(), "\\x%02X", byte);
    line += escaped.data();
  }
}

std::string formatLine(const host::LogLine& line) {
  std::string text =
      timeStamp() + ' ' + line.level + ' ' + line.category + ' ' + line.file + ':' + std::to_string(line.line) + ' ';
  appendPrintable(text, line.message);
  return text + '\n';
}

void writeAll(int file, const std::string& text) {
  // One write for the line; a log that cannot be written has nobody to be told.
  if (::write(file, text.data(), text.size()) < 0) return;
}

void write(const host::LogLine& line) {
  Output& out = output();
  const std::lock_guard lock(out.mutex);
  const bool toError = out.errorRank > 0 && rankOf(line.level) >= out.errorRank;
  if (out.file >= 0 || toError) {
    const std::string text = formatLine(line);
    if (out.file >= 0) writeAll(out.file, text);
    if (toError) writeAll(STDERR_FILENO, text);
  }
  if (out.sink) out.sink(line);
}

struct Loggers {
  std::mutex mutex;                      // a leaf
  std::map<std::string, Logger*> known;  // by category; guarded by mutex
};

}  // namespace

namespace host {

bool setLogFile(const std::string& path) {
  constexpr mode_t READABLE = 0644;
  int file = -1;
  if (!path.empty()) {
    file = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, READABLE);
    if (file < 0) return false;
  }
  Output& out = output();
  const std::lock_guard lock(out.mutex);
  std::swap(file, out.file);
  if (file >= 0) ::close(file);
  return true;
}

void setLogToStandardError(const std::string& level) {
  const std::lock_guard lock(output().mutex);
  output().errorRank = rankOf(level);
}

void setLogSink(std::function<void(const LogLine&)> sink) {
  const std::lock_guard lock(output().mutex);
  output().sink = std::move(sink);
}

}  // namespace host

Logger::Logger(std::string category) : _category(std::move(category)) {}

Logger* Logger::loggerFactory(const char* category) {
  auto& loggers = host::forEver<Loggers>();
  const std::string name = category ? category : "";
  const std::lock_guard lock(loggers.mutex);
  Logger*& logger = loggers.known[name];
  if (!logger) logger = new Logger(name);
  return logger;
}

void Logger::_log(const char* level, const char* file, int line, const char* format, ...) {
  try {
    std::array<char, 512> small{};
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(small.data(), small.size(), format, arguments);
    va_end(arguments);
    std::string message(small.data());
    if (length >= static_cast<int>(small.size())) {
      std::vector<char> large(static_cast<std::size_t>(length) + 1);
      va_start(arguments, format);
      std::vsnprintf(large.data(), large.size(), format, arguments);
      va_end(arguments);
      message.assign(large.data());
    }
    write({level ? level : "", _category, file ? file : "", line, std::move(message)});
  } catch (...) {
    // Without memory there is no line; whoever logs goes on.
    return;
  }
}

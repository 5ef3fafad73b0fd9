#pragma once

#include <functional>
#include <string>

/// Where log lines go. Until one of these is called they go nowhere. Any thread may call, before and after main too.
namespace host {

struct LogLine {
  std::string level;  // "INFO", "WARN" or "ERR"
  std::string category;
  std::string file;  // the source as its author names it
  int line = 0;
  std::string message;
};

/// Appends lines to the file; an empty path ends it. False, with errno set, when the file cannot be opened.
bool setLogFile(const std::string& path);

/// Lines of this level and above go to standard error; an empty level ends it.
void setLogToStandardError(const std::string& level);

/// Gets every line, one at a time, on the thread that logs and whatever that thread holds: it must not log, nor wait.
/// When this returns, the sink that was there before is not running and will not be called again.
void setLogSink(std::function<void(const LogLine&)> sink);

}  // namespace host

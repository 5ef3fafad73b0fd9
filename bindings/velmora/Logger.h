#pragma once

#include <string>

/// Writes lines of one category. Loggers live for the whole process; making and using one is safe while static objects
/// are being made. Its lock is a leaf: nothing is called back.
class Logger {
 public:
  static Logger* loggerFactory(const char* category);

  /// One line at `level` ("INFO", "WARN" or "ERR"); `file` and `line` name the source.
  void _log(const char* level, const char* file, int line, const char* format, ...)
      __attribute__((format(printf, 5, 6)));

 private:
  explicit Logger(std::string category);
  const std::string _category;
};

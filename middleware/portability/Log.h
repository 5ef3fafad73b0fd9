#pragma once

#include <filesystem>
#include <string_view>

namespace durix {

/// One line of the middleware's log, with the time in front: to the handler where one is set, else to the file. Control
/// characters become blanks, so that it stays one line. Lines are whole also when several threads and processes write.
/// Any thread; never throws, and drops what cannot be written.
void logLine(std::string_view text) noexcept;

using LogHandler = void (*)(const char* line, void* user);

/// Lines go to the handler, without time, instead of the file; null for the file again. No line is on its way to the
/// old handler any more when this returns, unless the handler itself calls it.
void setLogHandler(LogHandler handler, void* user);

/// The file that lines are appended to; an empty path for none, as at the start.
void setLogFile(const std::filesystem::path& file);

}  // namespace durix

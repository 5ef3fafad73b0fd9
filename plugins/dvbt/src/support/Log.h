#pragma once

#include "velmora/Logger.h"

/// Where the lines of a source file go: the logger of its category, and the source path that they name.
struct LogSource {
  Logger* logger;
  const char* path;
};

#define BC_LOG(source, level, ...) (source).logger->_log(level, (source).path, __LINE__, __VA_ARGS__)
#define BC_INFO(source, ...) BC_LOG(source, "INFO", __VA_ARGS__)
#define BC_WARN(source, ...) BC_LOG(source, "WARN", __VA_ARGS__)
#define BC_ERR(source, ...) BC_LOG(source, "ERR", __VA_ARGS__)

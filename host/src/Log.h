#pragma once

#include "velmora/Logger.h"

namespace host {

/// The logger of the host layer's own lines.
inline Logger& log() {
  static Logger* const logger = Logger::loggerFactory("HOST");
  return *logger;
}

}  // namespace host

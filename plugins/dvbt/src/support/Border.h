#pragma once

#include <exception>
#include <utility>

#include "support/Log.h"

/// Runs what a foreign caller must not see throw: a middleware callback, a thread's body, a listener's call.
template <typename Work>
void atBorder(const LogSource& log, const char* where, Work&& work) noexcept {
  try {
    std::forward<Work>(work)();
  } catch (const std::exception& error) {
    BC_ERR(log, "%s: %s", where, error.what());
  } catch (...) {
    BC_ERR(log, "%s: unknown exception", where);
  }
}

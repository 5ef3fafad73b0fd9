#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "durix/durix.h"

namespace durix {

/// What became of one frequency of a scan.
struct FrequencyOutcome {
  enum class Result : std::uint8_t {
    NoSignal,    // no stream on this frequency
    NoTables,    // a stream that describes no services
    Services,    // `services` of them
    Unreadable,  // a stream that could not be read, `text` says why
    Cancelled    // not looked at, or not to the end
  };

  durix_scan_frequency tuning{};
  Result result = Result::Cancelled;
  std::uint32_t services = 0;  // television and radio
  std::string text;            // one line for people; empty when the result says it all
};

/// What became of a scan, frequency by frequency in the order of the list.
struct ScanReport {
  std::vector<FrequencyOutcome> frequencies;
  bool isFinished = false;
  std::string error;  // why what was found could not be stored; empty when it was
};

}  // namespace durix

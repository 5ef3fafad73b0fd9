#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "durix/durix_recorder.h"
#include "middleware/store/Catalogue.h"

namespace durix {

/// The service that a timer is for, as it was when the timer was made.
struct RecordedService {
  std::uint32_t id = 0;
  ReceiverType receiver = ReceiverType::Any;
  std::uint16_t originalNetworkId = 0;
  std::uint16_t transportStreamId = 0;
  std::uint16_t serviceId = 0;
  std::string name{};
};

/// What a timer or a recording is about, for people.
struct RecordedTexts {
  std::string name{};
  std::string description{};
  std::uint8_t age = 0;  // of the parental rating; 0: none
};

enum class TimerType : std::uint32_t { Recording = DURIX_TIMER_RECORDING, TimeShift = DURIX_TIMER_TIMESHIFT };

/// Times are seconds since the epoch. Timers and recordings have identifiers of one counter: none is given twice.
struct Timer {
  std::uint32_t id = 0;
  TimerType type = TimerType::Recording;
  RecordedService service{};
  RecordedTexts texts{};
  std::int64_t start = 0;
  std::int64_t end = 0;         // 0: open, of a time shift
  std::uint32_t lead = 0;       // how many seconds before the start the user wants to know
  std::uint32_t recording = 0;  // what it writes; 0: nothing yet
};

struct Recording {
  enum class State : std::uint8_t {
    Running,   // a timer writes it, or was writing when the process or the recorder ended
    Finished,  // nothing more will be written
    Deleting   // its file is being removed
  };
  std::uint32_t id = 0;
  State state = State::Running;
  RecordedService service{};
  RecordedTexts texts{};
  std::int64_t start = 0;        // of the first packet
  std::int64_t end = 0;          // while it runs the planned one
  std::filesystem::path file{};  // relative to the data directory when it is in there
  std::uint64_t errors = 0;      // how often packets were damaged or lost on their way
};

}  // namespace durix

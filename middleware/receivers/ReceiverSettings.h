#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "durix/durix.h"

namespace durix {

/// Kinds of receivers, numbered as durix_device_receiver_type.
enum class ReceiverType : std::uint32_t { Any = 0, DvbT = 1, DvbC = 2, DvbS = 3, Atsc = 4, IsdbT = 5 };

/// Broadcast protocols as this platform numbers them; 0 stands for any.
enum class Protocol : std::uint32_t { Any = 0, Dvb = 1, Atsc = 2, Isdb = 3 };

Protocol protocolOf(ReceiverType type);

/// "DVB-T" and so on; empty for Any. Static texts.
const char* nameOf(ReceiverType type);

/// Which moment a recorded stream is on air.
enum class TimeMode : std::uint8_t {
  Now,    // its times are shifted so that it is on air now
  Stream  // the clock shows its times
};

/// What one source of receivers is: `TYPE=file:DIR[,time=now|stream][,tuners=N]`.
struct ReceiverSettings {
  ReceiverType type = ReceiverType::Any;
  std::filesystem::path directory;  // of FREQUENCY.ts files
  TimeMode time = TimeMode::Now;
  std::uint32_t tuners = 1;
};

/// Reads the text of DURIX_RECEIVERS: settings separated by blanks, in whose paths separators and blanks stand
/// percent-escaped. TYPE is dvb-t, dvb-c, dvb-s, atsc or isdb-t in any case; all are of one TYPE. No text, no settings.
/// Throws Failure: ReceiverSettings with what cannot be understood, NotSupported for kinds of sources to come.
std::vector<ReceiverSettings> parseReceivers(std::string_view text);

/// One of them from the texts of a selection: source ("file:DIR", nothing escaped) and options
/// ("time=stream,tuners=2"). Throws as above.
ReceiverSettings parseSelection(ReceiverType type, std::string_view source, std::string_view options);

}  // namespace durix

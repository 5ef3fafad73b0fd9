#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "middleware/durix_tools.h"

namespace tv {

class PluginLibrary;

/// What the embedded middleware tells beyond its contract, looked up in the loaded library. With another middleware
/// nothing of it is available, and every operation gives nothing. Any thread may call.
class SideDoor {
 public:
  explicit SideDoor(const PluginLibrary& library);

  /// Why the middleware did not start, in one line.
  std::optional<std::string> startFailure() const;

  /// What a scan found at one frequency.
  struct FrequencyResult {
    unsigned frequency = 0;    // as in the locations files
    std::string polarisation;  // "H", "V", "L", "R"; empty when there is none to say
    std::string outcome;       // for people: "no signal", "no tables", "3 services"
    unsigned services = 0;
  };
  /// Of the last scan of this process, in its order.
  std::optional<std::vector<FrequencyResult>> scanResults() const;

  /// A source of receivers.
  struct Source {
    std::string type;     // "DVB-T"
    std::string source;   // "file:DIR"
    std::string options;  // "time=stream,tuners=1"
    unsigned tuners = 0;
    bool inUse = false;  // else it is the stored choice for times when none is given
    bool isPresent = false;
  };
  std::optional<std::vector<Source>> sources() const;

  /// What a device is, for people; `record` is its handle.
  std::optional<std::string> deviceText(const void* record) const;

  /// How many channels the hide options leave out of the list.
  struct Hidden {
    unsigned isProtected = 0;
    unsigned radio = 0;  // not counting protected ones that are hidden as such
  };
  std::optional<Hidden> hidden() const;

  /// Whether a channel has teletext.
  std::optional<bool> hasTeletext(unsigned service) const;

  /// How far the collecting of the guide is.
  struct Guide {
    bool isOpen = false;     // somebody wants it
    bool goneRound = false;  // all of it has been received
    unsigned multiplexes = 0;
    unsigned received = 0;  // of these
    unsigned unread = 0;    // channels whose news the plugin has not taken yet
  };
  std::optional<Guide> guide() const;

  /// What there is of a recording.
  struct RecordingState {
    std::string file;
    std::uint64_t bytes = 0;
    unsigned seconds = 0;
    std::uint64_t errors = 0;  // how often packets were damaged or lost on their way
    bool isGrowing = false;
    bool isThere = false;  // else its directory may be away
  };
  std::optional<RecordingState> recording(unsigned id) const;

  /// What stands in the way of recording a channel for a time (seconds since the epoch); one timer is not looked at.
  struct Conflict {
    unsigned receivers = 0;
    std::vector<unsigned> timers;
  };
  std::optional<Conflict> conflict(unsigned service, std::int64_t start, std::int64_t end, unsigned exceptTimer) const;

  /// Whether a programme is still what is broadcast: the plugin keeps those that have moved or changed. True with
  /// another middleware.
  bool isCurrent(unsigned service, unsigned programme) const;

 private:
  std::uint32_t (*_startFailure)(char*, std::uint32_t) = nullptr;
  durix_return_code (*_scanReport)(durix_tools_frequency_handler, void*) = nullptr;
  durix_return_code (*_receivers)(durix_tools_receiver_handler, void*) = nullptr;
  std::uint32_t (*_deviceText)(const durix_device*, char*, std::uint32_t) = nullptr;
  durix_return_code (*_hidden)(std::uint32_t*, std::uint32_t*) = nullptr;
  std::uint32_t (*_feeds)(std::uint32_t, std::uint32_t) = nullptr;
  durix_return_code (*_guide)(durix_tools_guide_state*) = nullptr;
  std::uint8_t (*_guideHas)(std::uint32_t, std::uint32_t) = nullptr;
  durix_return_code (*_recording)(std::uint32_t, durix_tools_recording_handler, void*) = nullptr;
  durix_return_code (*_conflicts)(std::uint32_t, std::int64_t, std::int64_t, std::uint32_t, std::uint32_t*,
                                  std::uint32_t*, std::uint32_t, std::uint32_t*) = nullptr;
};

}  // namespace tv

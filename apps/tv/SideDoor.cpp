#include "SideDoor.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "PluginLibrary.h"

namespace tv {
namespace {

constexpr std::size_t LONGEST_TEXT = 1024;
constexpr std::uint32_t MOST_TIMERS = 64;

/// Calls an operation that fills a text.
template <typename Call>
std::string textFrom(Call call) {
  std::array<char, LONGEST_TEXT> text{};
  call(text.data(), static_cast<std::uint32_t>(text.size()));
  return text.data();
}

std::string orEmpty(const char* text) {
  return text == nullptr ? "" : text;
}

std::string polarisation(const durix_scan_frequency& tuning) {
  static constexpr std::array NAMES{"", "H", "V", "L", "R"};
  const auto place = static_cast<std::size_t>(tuning.polarisation);
  return tuning.polarisation > 0 && place < NAMES.size() ? NAMES[place] : "";
}

std::string outcome(const durix_tools_frequency& frequency) {
  const std::string more = orEmpty(frequency.text);
  const std::string tail = more.empty() ? "" : ": " + more;
  switch (frequency.result) {
    case DURIX_TOOLS_NO_SIGNAL:
      return "no signal" + tail;
    case DURIX_TOOLS_NO_TABLES:
      return "no tables" + tail;
    case DURIX_TOOLS_SERVICES:
      return std::to_string(frequency.services) + (frequency.services == 1 ? " service" : " services") + tail;
    case DURIX_TOOLS_UNREADABLE:
      return "unreadable" + tail;
    case DURIX_TOOLS_CANCELLED:
      return "not looked at" + tail;
    default:
      return "unknown" + tail;
  }
}

// Called by the middleware: nothing may be thrown, and only memory could run out.
void addResult(const durix_tools_frequency* frequency, void* user) noexcept {
  static_cast<std::vector<SideDoor::FrequencyResult>*>(user)->push_back(
      {static_cast<unsigned>(frequency->tuning.frequency), polarisation(frequency->tuning), outcome(*frequency),
       frequency->services});
}

void addSource(const durix_tools_receiver* receiver, void* user) noexcept {
  static_cast<std::vector<SideDoor::Source>*>(user)->push_back({orEmpty(receiver->type), orEmpty(receiver->source),
                                                                orEmpty(receiver->options), receiver->tuners,
                                                                receiver->in_use != 0, receiver->present != 0});
}

}  // namespace

SideDoor::SideDoor(const PluginLibrary& library) {
  auto* version = library.find<std::uint32_t()>("durix_tools_version");
  if (version == nullptr || version() != DURIX_TOOLS_VERSION) return;
  _startFailure = library.find<std::uint32_t(char*, std::uint32_t)>("durix_tools_start_failure");
  _scanReport = library.find<durix_return_code(durix_tools_frequency_handler, void*)>("durix_tools_scan_report");
  _receivers = library.find<durix_return_code(durix_tools_receiver_handler, void*)>("durix_tools_receivers");
  _deviceText = library.find<std::uint32_t(const durix_device*, char*, std::uint32_t)>("durix_tools_device_text");
  _hidden = library.find<durix_return_code(std::uint32_t*, std::uint32_t*)>("durix_tools_hidden_services");
  _guide = library.find<durix_return_code(durix_tools_guide_state*)>("durix_tools_guide");
  _guideHas = library.find<std::uint8_t(std::uint32_t, std::uint32_t)>("durix_tools_guide_has");
  _recording = library.find<durix_return_code(std::uint32_t, durix_tools_recording_handler, void*)>(
      "durix_tools_recording_look");
  _conflicts = library.find<durix_return_code(std::uint32_t, std::int64_t, std::int64_t, std::uint32_t, std::uint32_t*,
                                              std::uint32_t*, std::uint32_t, std::uint32_t*)>("durix_tools_conflicts");
  _feeds = library.find<std::uint32_t(std::uint32_t, std::uint32_t)>("durix_tools_feeds");
}

std::optional<std::string> SideDoor::startFailure() const {
  if (_startFailure == nullptr) return std::nullopt;
  return textFrom(_startFailure);
}

std::optional<std::vector<SideDoor::FrequencyResult>> SideDoor::scanResults() const {
  std::vector<FrequencyResult> results;
  if (_scanReport == nullptr || _scanReport(addResult, &results) != DURIX_OK) return std::nullopt;
  return results;
}

std::optional<std::vector<SideDoor::Source>> SideDoor::sources() const {
  std::vector<Source> sources;
  if (_receivers == nullptr || _receivers(addSource, &sources) != DURIX_OK) return std::nullopt;
  return sources;
}

std::optional<std::string> SideDoor::deviceText(const void* record) const {
  if (_deviceText == nullptr) return std::nullopt;
  return textFrom([&](char* text, std::uint32_t size) {
    return _deviceText(static_cast<const durix_device*>(record), text, size);
  });
}

std::optional<SideDoor::Hidden> SideDoor::hidden() const {
  Hidden hidden;
  if (_hidden == nullptr || _hidden(&hidden.isProtected, &hidden.radio) != DURIX_OK) return std::nullopt;
  return hidden;
}

std::optional<SideDoor::Guide> SideDoor::guide() const {
  durix_tools_guide_state state{};
  if (_guide == nullptr || _guide(&state) != DURIX_OK) return std::nullopt;
  return Guide{state.open > 0, state.gone_round != 0, state.multiplexes, state.received, state.unread};
}

std::optional<bool> SideDoor::hasTeletext(unsigned service) const {
  if (_feeds == nullptr) return std::nullopt;
  return _feeds(service, DURIX_FEED_TELETEXT) > 0;
}

std::optional<SideDoor::RecordingState> SideDoor::recording(unsigned id) const {
  std::optional<RecordingState> state;
  const auto take = [](const durix_tools_recording* look, void* user) noexcept {
    *static_cast<std::optional<RecordingState>*>(user) = {orEmpty(look->file), look->bytes,        look->seconds,
                                                          look->errors,        look->growing != 0, look->present != 0};
  };
  if (_recording != nullptr) _recording(id, take, &state);
  return state;
}

std::optional<SideDoor::Conflict> SideDoor::conflict(unsigned service, std::int64_t start, std::int64_t end,
                                                     unsigned exceptTimer) const {
  Conflict conflict;
  std::uint32_t count = 0;
  conflict.timers.resize(MOST_TIMERS);
  if (_conflicts == nullptr || _conflicts(service, start, end, exceptTimer, &conflict.receivers, conflict.timers.data(),
                                          MOST_TIMERS, &count) != DURIX_OK) {
    return std::nullopt;
  }
  conflict.timers.resize(std::min(count, MOST_TIMERS));
  return conflict;
}

bool SideDoor::isCurrent(unsigned service, unsigned programme) const {
  return _guideHas == nullptr || _guideHas(service, programme) != 0;
}

}  // namespace tv

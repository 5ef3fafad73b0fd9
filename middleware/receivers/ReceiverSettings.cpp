#include "middleware/receivers/ReceiverSettings.h"

#include <array>
#include <charconv>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/portability/Text.h"

namespace durix {
namespace {

constexpr std::uint32_t MOST_TUNERS = 16;

constexpr std::array<std::pair<std::string_view, ReceiverType>, 5> TYPE_NAMES{{{"dvb-t", ReceiverType::DvbT},
                                                                               {"dvb-c", ReceiverType::DvbC},
                                                                               {"dvb-s", ReceiverType::DvbS},
                                                                               {"atsc", ReceiverType::Atsc},
                                                                               {"isdb-t", ReceiverType::IsdbT}}};

[[noreturn]] void refuse(const std::string& text) {
  throw Failure(Code::ReceiverSettings, "receivers: " + text);
}

// Takes the text up to the separator, which is dropped, out of `rest`.
std::string_view takeUntil(std::string_view& rest, char separator) {
  const auto end = rest.find(separator);
  const auto part = rest.substr(0, end);
  rest = end == std::string_view::npos ? std::string_view{} : rest.substr(end + 1);
  return part;
}

ReceiverType typeNamed(std::string_view name) {
  const std::string lower = lowerCase(name);
  for (const auto& [known, type] : TYPE_NAMES) {
    if (known == lower) return type;
  }
  refuse("unknown type '" + std::string(name) + "', known are dvb-t, dvb-c, dvb-s, atsc and isdb-t");
}

void readSource(ReceiverSettings& settings, const std::string& source) {
  constexpr std::string_view FILE_SOURCE = "file:";
  if (source.starts_with("udp:")) throw Failure(Code::NotSupported, "receivers: network sources are not supported yet");
  if (!source.starts_with(FILE_SOURCE) || source.size() == FILE_SOURCE.size()) {
    refuse("'" + source + "' is no source, as file:DIR is one");
  }
  settings.directory = std::filesystem::path(source.substr(FILE_SOURCE.size()));
}

void readOption(ReceiverSettings& settings, std::string_view option) {
  const std::string whole(option);
  const auto key = takeUntil(option, '=');
  if (key == "time" && (option == "now" || option == "stream")) {
    settings.time = option == "now" ? TimeMode::Now : TimeMode::Stream;
  } else if (key == "tuners") {
    const auto [end, error] = std::from_chars(option.data(), option.data() + option.size(), settings.tuners);
    const bool isNumber = error == std::errc{} && end == option.data() + option.size();
    if (!isNumber || settings.tuners < 1 || settings.tuners > MOST_TUNERS) {
      refuse("'" + whole + "' is not a number of tuners from 1 to " + std::to_string(MOST_TUNERS));
    }
  } else {
    refuse("unknown option '" + whole + "', known are time=now, time=stream and tuners=N");
  }
}

void readOptions(ReceiverSettings& settings, std::string_view options) {
  while (!options.empty()) readOption(settings, takeUntil(options, ','));
}

}  // namespace

Protocol protocolOf(ReceiverType type) {
  switch (type) {
    case ReceiverType::DvbT:
    case ReceiverType::DvbC:
    case ReceiverType::DvbS:
      return Protocol::Dvb;
    case ReceiverType::Atsc:
      return Protocol::Atsc;
    case ReceiverType::IsdbT:
      return Protocol::Isdb;
    case ReceiverType::Any:
      break;
  }
  return Protocol::Any;
}

const char* nameOf(ReceiverType type) {
  switch (type) {
    case ReceiverType::DvbT:
      return "DVB-T";
    case ReceiverType::DvbC:
      return "DVB-C";
    case ReceiverType::DvbS:
      return "DVB-S";
    case ReceiverType::Atsc:
      return "ATSC";
    case ReceiverType::IsdbT:
      return "ISDB-T";
    case ReceiverType::Any:
      break;
  }
  return "";
}

std::vector<ReceiverSettings> parseReceivers(std::string_view text) {
  std::vector<ReceiverSettings> receivers;
  while (!text.empty()) {
    auto rest = takeUntil(text, ' ');
    if (rest.empty()) continue;
    ReceiverSettings settings;
    settings.type = typeNamed(takeUntil(rest, '='));
    readSource(settings, percentDecoded(takeUntil(rest, ',')));
    readOptions(settings, rest);
    if (!receivers.empty() && receivers.front().type != settings.type) refuse("all are to be of one type");
    receivers.push_back(std::move(settings));
  }
  return receivers;
}

ReceiverSettings parseSelection(ReceiverType type, std::string_view source, std::string_view options) {
  if (*nameOf(type) == '\0') refuse("unknown type");
  ReceiverSettings settings;
  settings.type = type;
  readSource(settings, std::string(source));
  readOptions(settings, options);
  return settings;
}

}  // namespace durix

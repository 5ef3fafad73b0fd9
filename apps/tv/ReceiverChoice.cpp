#include "ReceiverChoice.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <sstream>

#include "Failure.h"
#include "Text.h"

namespace tv {
namespace {

struct TypeName {
  const char* name;
  ReceiverType type;
};
constexpr std::array<TypeName, 5> TYPES{{{"dvb-t", RECEIVER_DVB_T},
                                         {"dvb-c", RECEIVER_DVB_C},
                                         {"dvb-s", RECEIVER_DVB_S},
                                         {"atsc", RECEIVER_ATSC},
                                         {"isdb-t", RECEIVER_ISDB_T}}};
constexpr unsigned MOST_TUNERS = 16;

void checkOption(const std::string& option, const std::string& whole) {
  if (option == "time=now" || option == "time=stream") return;
  if (option.starts_with("tuners=")) {
    unsigned tuners = 0;
    const char* begin = option.data() + std::strlen("tuners=");
    const char* end = option.data() + option.size();
    const auto [stop, error] = std::from_chars(begin, end, tuners);
    if (error == std::errc() && stop == end && tuners >= 1 && tuners <= MOST_TUNERS) return;
    throw UsageError("receiver \"" + whole + "\": tuners= takes a number from 1 to " + std::to_string(MOST_TUNERS));
  }
  throw UsageError("receiver \"" + whole + "\": there is no option \"" + option +
                   "\"; there are time=now, time=stream and tuners=N");
}

bool looksLikeOption(const std::string& part) {
  const std::size_t equals = part.find('=');
  return equals != std::string::npos && equals > 0 &&
         std::all_of(part.begin(), part.begin() + static_cast<std::ptrdiff_t>(equals),
                     [](char c) { return c >= 'a' && c <= 'z'; });
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string unescaped(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int high = i + 2 < text.size() && text[i] == '%' ? hexDigit(text[i + 1]) : -1;
    const int low = high >= 0 ? hexDigit(text[i + 2]) : -1;
    if (low < 0) {
      result += text[i];
      continue;
    }
    result += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return result;
}

}  // namespace

ReceiverType receiverType(const std::string& name) {
  const auto* found = std::ranges::find_if(TYPES, [&](const TypeName& entry) { return name == entry.name; });
  return found == TYPES.end() ? RECEIVER_NONE : found->type;
}

std::string receiverTypeName(ReceiverType type) {
  const auto* found = std::ranges::find_if(TYPES, [&](const TypeName& entry) { return type == entry.type; });
  return found == TYPES.end() ? "" : found->name;
}

std::vector<std::string> receiverTypeNames() {
  std::vector<std::string> names;
  names.reserve(TYPES.size());
  for (const TypeName& entry : TYPES) names.emplace_back(entry.name);
  return names;
}

std::string ReceiverChoice::escaped() const {
  static constexpr char DIGITS[] = "0123456789ABCDEF";
  std::string text = receiverTypeName(type) + "=" + kind + ":";
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte > ' ' && byte != '%' && byte != ',' && byte != 0x7F) {
      text += c;
    } else {
      text += {'%', DIGITS[byte >> 4U], DIGITS[byte & 15U]};
    }
  }
  for (const std::string& option : options) text += "," + option;
  return text;
}

ReceiverChoice readReceiver(const std::string& text) {
  const std::size_t equals = text.find('=');
  const std::size_t colon = equals == std::string::npos ? equals : text.find(':', equals);
  if (colon == std::string::npos) {
    throw UsageError("receiver \"" + text + "\" is not of the form TYPE=SOURCE, as in dvb-t=file:DIRECTORY");
  }
  ReceiverChoice choice;
  choice.type = receiverType(text.substr(0, equals));
  if (choice.type == RECEIVER_NONE) {
    throw UsageError("receiver \"" + text + "\": there is no type \"" + text.substr(0, equals) + "\"; there are " +
                     quotedList(receiverTypeNames(), "and"));
  }
  choice.kind = text.substr(equals + 1, colon - equals - 1);
  if (choice.kind != "file" && choice.kind != "udp") {
    throw UsageError("receiver \"" + text + "\": a source is file:DIRECTORY or udp:FILE");
  }
  choice.path = text.substr(colon + 1);
  for (std::size_t comma = choice.path.rfind(','); comma != std::string::npos; comma = choice.path.rfind(',')) {
    const std::string part = choice.path.substr(comma + 1);
    if (!looksLikeOption(part)) break;
    checkOption(part, text);
    choice.options.insert(choice.options.begin(), part);
    choice.path.erase(comma);
  }
  if (choice.path.empty()) throw UsageError("receiver \"" + text + "\" names no place after \"" + choice.kind + ":\"");
  return choice;
}

std::vector<ReceiverChoice> readReceiverList(const std::string& text) {
  std::vector<ReceiverChoice> receivers;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    receivers.push_back(readReceiver(word));
    receivers.back().path = unescaped(receivers.back().path);
  }
  return receivers;
}

void requireOneType(const std::vector<ReceiverChoice>& receivers) {
  for (const ReceiverChoice& receiver : receivers) {
    if (receiver.type == receivers.front().type) continue;
    throw UsageError("all receivers of one call have one type: " + receiverTypeName(receivers.front().type) + " and " +
                     receiverTypeName(receiver.type) + " do not go together");
  }
}

void checkSources(std::vector<ReceiverChoice>& receivers, const std::string& start) {
  for (ReceiverChoice& receiver : receivers) {
    receiver.path = (std::filesystem::path(start) / receiver.path).lexically_normal().string();
    if (receiver.kind == "file") {
      DIR* directory = opendir(receiver.path.c_str());
      if (directory == nullptr) {
        throw Failure("cannot read the receiver directory \"" + receiver.path + "\": " + std::strerror(errno));
      }
      closedir(directory);
    } else if (access(receiver.path.c_str(), R_OK) != 0) {
      throw Failure("cannot read the list of network streams \"" + receiver.path + "\": " + std::strerror(errno));
    }
  }
}

}  // namespace tv

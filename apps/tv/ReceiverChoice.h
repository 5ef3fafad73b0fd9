#pragma once

#include <string>
#include <vector>

#include "velmora/Types.h"

namespace tv {

/// One receiver as `--receiver TYPE=SOURCE[,OPTION...]` names it.
struct ReceiverChoice {
  ReceiverType type = RECEIVER_NONE;
  std::string kind;                  // "file" or "udp"
  std::string path;                  // a directory for "file", a text file for "udp"; absolute after `checkSources`
  std::vector<std::string> options;  // "time=now", "tuners=2"

  /// The form that the middleware reads: blanks, commas and percent signs of the path escaped as %XX.
  std::string escaped() const;
};

/// Reads one choice. Trailing parts of the form NAME=VALUE are options, so that a path may hold commas. Throws
/// UsageError for an unknown type, source or option.
ReceiverChoice readReceiver(const std::string& text);

/// Reads a list with blanks between the choices, as TV_RECEIVERS holds it; paths may be escaped as %XX.
std::vector<ReceiverChoice> readReceiverList(const std::string& text);

/// One provider is active at a time, so all receivers have one type: throws UsageError when they do not.
void requireOneType(const std::vector<ReceiverChoice>& receivers);

/// Makes the paths absolute, from `start` on. Throws Failure when one cannot be read.
void checkSources(std::vector<ReceiverChoice>& receivers, const std::string& start);

/// The number of a type's name ("dvb-t"), RECEIVER_NONE when there is no such type; and the reverse.
ReceiverType receiverType(const std::string& name);
std::string receiverTypeName(ReceiverType type);
std::vector<std::string> receiverTypeNames();

}  // namespace tv

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Interrupt.h"
#include "Output.h"
#include "ReceiverChoice.h"

namespace tv {

class Session;

/// What a command works with.
struct Context {
  Session& session;
  Output& output;
  const Interrupt& interrupt;
  const std::string& directory;     // where the caller is, who may be another process
  const bool isAtTerminal = false;  // the terminal of this process is the caller's
};

/// Does a command and gives its exit status; it may throw Failure.
using Action = std::function<int(Context&)>;

/// The options that stand before the command.
struct GlobalOptions {
  std::string data;  // empty: the default place; as the next two
  std::string library;
  std::string plugin;
  std::vector<ReceiverChoice> receivers;
  std::string logLevel;  // "INFO", "WARN" or "ERR"; empty for none on standard error
  bool json = false;
  bool quiet = false;
};

/// A command line that has been understood.
struct CommandLine {
  GlobalOptions globals;
  Action action;
  std::string help;  // asked for instead of an action
};

/// Reads the arguments after the program's name, and TV_DATA, TV_LIBRARY and TV_RECEIVERS for what they leave out.
/// Throws UsageError.
CommandLine readCommandLine(std::vector<std::string> arguments);

}  // namespace tv

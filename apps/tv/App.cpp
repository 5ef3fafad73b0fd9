#include "App.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>

#include "CommandLine.h"
#include "DirectoryLock.h"
#include "Failure.h"
#include "OwnerSocket.h"
#include "Places.h"
#include "Session.h"
#include "host/HostLog.h"

namespace tv {
namespace {

constexpr std::chrono::seconds OWNER_LIMIT{30};  // for an owner that takes no commands to end
constexpr std::chrono::milliseconds TURN{50};
constexpr std::uintmax_t LONGEST_LOG = 16U << 20U;  // bytes

/// Does the action and turns what goes wrong into one line and a status.
template <typename Work>
int guarded(Output& output, Work work) {
  try {
    return work();
  } catch (const Failure& failure) {
    output.endProgress();
    if (failure.status() != EXIT_INTERRUPTED) output.error(failure.what());
    return failure.status();
  } catch (const std::exception& error) {
    output.endProgress();
    output.error(error.what());
    return EXIT_FAILED;
  }
}

/// The log goes on where it ended; one that has become long is put aside.
void sendLogs(const std::string& data, const std::string& level) {
  const std::string path = data + "/tv.log";
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  if (!error && size > LONGEST_LOG) std::filesystem::rename(path, path + ".old", error);
  if (!host::setLogFile(path)) throw Failure("cannot write the log \"" + path + "\": " + std::strerror(errno));
  host::setLogToStandardError(level);
}

std::vector<std::string> escaped(const std::vector<ReceiverChoice>& receivers) {
  std::vector<std::string> texts;
  texts.reserve(receivers.size());
  for (const ReceiverChoice& receiver : receivers) texts.push_back(receiver.escaped());
  return texts;
}

/// Where this process is; empty when that directory is gone.
std::string workingDirectory() {
  std::error_code error;
  return std::filesystem::current_path(error).string();
}

/// Another process's command on this process's plugin.
int carryOut(Session& session, const Request& request, Output& output, const Interrupt& interrupt) {
  return guarded(output, [&] {
    CommandLine line = readCommandLine(request.arguments);
    if (!request.receivers.empty() && request.receivers != escaped(session.setup().receivers)) {
      output.note("the receivers of the running tv are used, not those given here");
    }
    Context context{session, output, interrupt, request.directory};
    return line.action(context);
  });
}

/// False when standard output is a pipe that nobody reads any more: then nobody wants to be told either.
bool readerIsThere() {
  pollfd out{STDOUT_FILENO, POLLOUT, 0};
  return poll(&out, 1, 0) < 0 || (out.revents & POLLERR) == 0;
}

int runAsOwner(CommandLine& line, const std::string& data, const std::string& directory, Output& output,
               const Interrupt& interrupt) {
  const Places places = defaultPlaces();
  Session::Setup setup;
  setup.data = data;
  setup.library = requireLibraryDirectory(line.globals.library.empty() ? places.library : line.globals.library);
  setup.plugin = line.globals.plugin.empty() ? places.plugin : line.globals.plugin;
  setup.receivers = line.globals.receivers;
  sendLogs(data, line.globals.logLevel);
  interrupt.check();
  Session session(std::move(setup));
  const OwnerSocket socket(data, interrupt, [&](const Request& request, Output& to, const Interrupt& end) {
    return carryOut(session, request, to, end);
  });
  Context context{session, output, interrupt, directory, !output.json() && output.style().terminal};
  return guarded(output, [&] { return line.action(context); });
}

int runOnDirectory(CommandLine& line, const std::vector<std::string>& arguments, Output& output,
                   const Interrupt& interrupt) {
  const std::string directory = workingDirectory();
  checkSources(line.globals.receivers, directory);
  const std::string data = prepareDataDirectory(line.globals.data.empty() ? defaultPlaces().data : line.globals.data);
  const Request request{arguments, escaped(line.globals.receivers), output.style(), directory};
  auto end = std::chrono::steady_clock::now() + OWNER_LIMIT;
  for (;;) {
    if (const std::optional<DirectoryLock> lock = DirectoryLock::take(data)) {
      return runAsOwner(line, data, directory, output, interrupt);
    }
    const Answer answer = askOwner(data, request, interrupt);
    if (answer.status) return *answer.status;
    if (answer.accepted) end = std::chrono::steady_clock::now() + OWNER_LIMIT;  // it ends only now
    if (std::chrono::steady_clock::now() > end) {
      throw Failure("process " + std::to_string(DirectoryLock::owner(data)) + " uses \"" + data +
                    "\" and takes no commands");
    }
    interrupt.waitFor(TURN);
    interrupt.check();
  }
}

}  // namespace

int run(const std::vector<std::string>& arguments) {
  Interrupt interrupt;
  const SignalWatch signals(interrupt);
  OutputStyle style = terminalStyle();
  CommandLine line;
  try {
    line = readCommandLine(arguments);
  } catch (const Failure& failure) {
    Output(std::cout, std::cerr, style).error(failure.what());
    return failure.status();
  }
  style.json = line.globals.json;
  style.quiet = line.globals.quiet;
  Output output(std::cout, std::cerr, style);
  return guarded(output, [&] {
    int status = EXIT_DONE;
    if (line.help.empty()) {
      status = runOnDirectory(line, arguments, output, interrupt);
    } else {
      std::cout << line.help << std::flush;
    }
    if (!std::cout.good() && readerIsThere()) throw Failure("cannot write the output");
    return std::cout.good() ? status : EXIT_FAILED;
  });
}

}  // namespace tv

#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Interrupt.h"
#include "Output.h"

namespace tv {

/// A command that another process wants carried out: its arguments and how its output is to look.
struct Request {
  std::vector<std::string> arguments;
  std::vector<std::string> receivers;  // as `ReceiverChoice::escaped` gives them
  OutputStyle style;
  std::string directory;  // where the other process is: relative paths start there
};

/// Carries out a request and gives its exit status. Called on one thread for each request; must not throw.
using RequestHandler = std::function<int(const Request&, Output&, const Interrupt&)>;

/// The socket of a data directory, at which its owner takes commands from other processes. Each is carried out on a
/// thread of its own; a caller that goes away interrupts its command.
class OwnerSocket {
 public:
  /// The directory's lock is held. Throws Failure when the socket cannot be made.
  OwnerSocket(std::string directory, const Interrupt& interrupt, RequestHandler handler);
  OwnerSocket(const OwnerSocket&) = delete;
  OwnerSocket& operator=(const OwnerSocket&) = delete;
  /// Takes no more commands; those in work may end, those that do not soon are interrupted.
  ~OwnerSocket();

 private:
  struct Caller {
    std::thread thread;
    std::atomic<bool> done = false;
  };

  void accept();
  void serve(int connection) const;
  void joinFinished();

  const std::string _directory;
  const RequestHandler _handler;
  int _listener = -1;
  Interrupt _closing;          // no more commands are taken
  Interrupt _ending;           // those in work are to end
  std::list<Caller> _callers;  // the accepting thread's own until it has ended
  std::thread _thread;
};

/// What came of a request to an owner.
struct Answer {
  bool accepted = false;      // the owner took the request
  std::optional<int> status;  // the exit status; nothing when nobody listens or the owner just ends
};

/// Has the owner of the directory carry out the request, and passes its output on to standard output and error. Throws
/// Interrupted, and Failure when the owner is gone in between.
Answer askOwner(const std::string& directory, const Request& request, const Interrupt& interrupt);

}  // namespace tv

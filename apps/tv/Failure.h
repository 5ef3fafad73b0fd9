#pragma once

#include <stdexcept>
#include <string>

namespace tv {

/// How a command ends.
enum ExitStatus : int { EXIT_DONE = 0, EXIT_FAILED = 1, EXIT_USAGE = 2, EXIT_INTERRUPTED = 130 };

/// Ends a command: the text is the one line on standard error that says why and what to do.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& text, ExitStatus status = EXIT_FAILED)
      : std::runtime_error(text), _status(status) {}

  ExitStatus status() const { return _status; }

 private:
  ExitStatus _status;
};

/// What was typed cannot be meant.
class UsageError : public Failure {
 public:
  explicit UsageError(const std::string& text) : Failure(text, EXIT_USAGE) {}
};

/// The user, or a signal, ended the command.
class Interrupted : public Failure {
 public:
  Interrupted() : Failure("interrupted", EXIT_INTERRUPTED) {}
};

}  // namespace tv

#pragma once

#include <exception>
#include <string>
#include <utility>

#include "durix/durix.h"

namespace durix {

/// The return codes of this middleware beyond those that durix.h names (5, 8, 9 and 10 are taken there).
enum class Code : durix_return_code {
  Failed = 1,             // none of the others
  InvalidArgument = 2,    // null where a value is needed, a number out of range
  NoInstance = 3,         // the handle is none of a running instance, or no instance runs
  UnknownObject = 4,      // unknown, gone, or of another kind
  WrongAttribute = 6,     // the object has no such attribute, or not of this type
  Busy = 7,               // already running, or in use by another process
  NoReceiver = 11,        // none of the wanted type
  NotSupported = 12,      // not by this middleware
  DataDirectory = 13,     // missing or unusable
  DatabaseDamaged = 14,   // cut off, damaged or no database of this middleware
  DatabaseNewer = 15,     // written by a newer version
  ReceiverSettings = 16,  // cannot be understood
  OutOfMemory = 17,
  NoSignal = 18,  // nothing is sent there
};

/// A failure inside the middleware, on its way to the border of the contract, where it becomes its code. The text is
/// for people: one line.
class Failure : public std::exception {
 public:
  explicit Failure(Code code, std::string text = {}) : _code(code), _text(std::move(text)) {}

  Code code() const { return _code; }
  const char* what() const noexcept override { return _text.c_str(); }

 private:
  Code _code;
  std::string _text;
};

}  // namespace durix

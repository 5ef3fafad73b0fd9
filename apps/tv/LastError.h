#pragma once

#include <mutex>
#include <string>

namespace tv {

/// Remembers the last line that was logged as an error, so that a failure can say why. One for a process.
class LastError {
 public:
  LastError();
  LastError(const LastError&) = delete;
  LastError& operator=(const LastError&) = delete;
  ~LastError();

  std::string text() const;

 private:
  mutable std::mutex _mutex;  // a leaf
  std::string _text;          // guarded by _mutex
};

}  // namespace tv

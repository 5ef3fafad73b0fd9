#pragma once

#include <functional>
#include <optional>
#include <streambuf>
#include <string>
#include <string_view>

namespace tv {

/// What goes over the socket of a data directory: frames of one letter, the length as four bytes (most significant
/// first) and the bytes.
struct Frame {
  enum Kind : char {
    REQUEST = 'R',   // caller to owner: a Request as JSON
    ACCEPTED = 'A',  // owner to caller: the request is being carried out
    OUT = 'O',       // for standard output
    ERROR = 'E',     // for standard error
    EXIT = 'X',      // the exit status in decimal; nothing follows
    AGAIN = 'N'      // the owner ends before the command is done: ask the next one; nothing follows
  };
  char kind = 0;
  std::string bytes;
};

/// False when the other end is gone.
bool sendFrame(int socket, Frame::Kind kind, std::string_view bytes);

/// Nothing when the other end is gone or sends something else than frames.
std::optional<Frame> receiveFrame(int socket);

/// A stream buffer that hands on what was written at each flush.
class HandOnBuffer : public std::streambuf {
 public:
  /// `take` gets the bytes; false makes the stream bad.
  explicit HandOnBuffer(std::function<bool(std::string_view)> take) : _take(std::move(take)) {}

 protected:
  int_type overflow(int_type character) override;
  std::streamsize xsputn(const char* bytes, std::streamsize count) override;
  int sync() override;

 private:
  const std::function<bool(std::string_view)> _take;
  std::string _pending;
};

}  // namespace tv

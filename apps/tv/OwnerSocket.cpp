#include "OwnerSocket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <iostream>

#include "Failure.h"
#include "Frames.h"

namespace tv {
namespace {

constexpr int TURN = 50;  // milliseconds between looks at an interrupt
constexpr int BACKLOG = 16;
constexpr std::chrono::seconds GRACE{2};  // for commands in work when the owner ends

/// A descriptor that closes itself.
class Descriptor {
 public:
  explicit Descriptor(int number) : _number(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (_number >= 0) close(_number);
  }
  operator int() const { return _number; }
  int release() { return std::exchange(_number, -1); }

 private:
  int _number;
};

/// Calls bind or connect with the directory's socket. A socket's name holds 107 bytes: through the descriptor of the
/// directory its own path may have any length.
template <typename Call>
int withSocketName(const std::string& directory, Call call) {
  const Descriptor folder(open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (folder < 0) return -1;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string name = "/proc/self/fd/" + std::to_string(folder) + "/socket";
  std::memcpy(address.sun_path, name.c_str(), name.size() + 1);
  return call(reinterpret_cast<const sockaddr*>(&address), static_cast<socklen_t>(sizeof address));
}

bool readable(int descriptor, int milliseconds) {
  pollfd waiting{descriptor, POLLIN, 0};
  return poll(&waiting, 1, milliseconds) > 0;
}

Json toJson(const Request& request) {
  const OutputStyle& style = request.style;
  return {{"arguments", request.arguments},
          {"receivers", request.receivers},
          {"directory", request.directory},
          {"style",
           {{"json", style.json},
            {"quiet", style.quiet},
            {"terminal", style.terminal},
            {"colours", style.colours},
            {"width", style.width}}}};
}

Request fromJson(const std::string& text) {
  const Json json = Json::parse(text);
  const Json& style = json.at("style");
  Request request;
  json.at("arguments").get_to(request.arguments);
  json.at("receivers").get_to(request.receivers);
  json.at("directory").get_to(request.directory);
  style.at("json").get_to(request.style.json);
  style.at("quiet").get_to(request.style.quiet);
  style.at("terminal").get_to(request.style.terminal);
  style.at("colours").get_to(request.style.colours);
  style.at("width").get_to(request.style.width);
  return request;
}

/// Raises `interrupt` when the other end of a connection goes away.
class HangUpWatch {
 public:
  HangUpWatch(int connection, Interrupt& interrupt)
      : _thread([this, connection, &interrupt] {
          char byte = 0;
          while (!_done.raised()) {
            // A caller sends nothing after its request: what is readable is the end.
            if (!readable(connection, TURN)) continue;
            if (recv(connection, &byte, 1, 0) == 0) interrupt.raise();
            if (_done.waitFor(std::chrono::milliseconds(TURN))) break;
          }
        }) {}
  HangUpWatch(const HangUpWatch&) = delete;
  HangUpWatch& operator=(const HangUpWatch&) = delete;
  ~HangUpWatch() {
    _done.raise();
    _thread.join();
  }

 private:
  Interrupt _done;
  std::thread _thread;
};

}  // namespace

OwnerSocket::OwnerSocket(std::string directory, const Interrupt& interrupt, RequestHandler handler)
    : _directory(std::move(directory)), _handler(std::move(handler)), _ending(&interrupt) {
  Descriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  unlink((_directory + "/socket").c_str());  // a dead owner's
  const int bound = withSocketName(
      _directory, [&](const sockaddr* address, socklen_t size) { return bind(listener, address, size); });
  if (bound != 0 || listen(listener, BACKLOG) != 0) {
    throw Failure("cannot make the socket \"" + _directory + "/socket\": " + std::strerror(errno));
  }
  _listener = listener.release();
  _thread = std::thread([this] { accept(); });
}

OwnerSocket::~OwnerSocket() {
  unlink((_directory + "/socket").c_str());
  _closing.raise();
  _thread.join();
  close(_listener);
  const auto inWork = [](const Caller& caller) { return !caller.done; };
  const auto end = std::chrono::steady_clock::now() + GRACE;
  while (std::ranges::any_of(_callers, inWork) && std::chrono::steady_clock::now() < end) {
    if (_ending.waitFor(std::chrono::milliseconds(TURN))) break;
  }
  _ending.raise();
  for (Caller& caller : _callers) caller.thread.join();
}

void OwnerSocket::accept() {
  while (!_closing.raised()) {
    joinFinished();
    if (!readable(_listener, TURN)) continue;
    const int connection = accept4(_listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) {
      _closing.waitFor(std::chrono::milliseconds(TURN));  // out of descriptors, perhaps
      continue;
    }
    Caller& caller = _callers.emplace_back();
    caller.thread = std::thread([this, connection, &caller] {
      serve(connection);
      close(connection);
      caller.done = true;
    });
  }
}

void OwnerSocket::joinFinished() {
  _callers.remove_if([](Caller& caller) {
    if (!caller.done) return false;
    caller.thread.join();
    return true;
  });
}

void OwnerSocket::serve(int connection) const {
  const std::optional<Frame> frame = receiveFrame(connection);
  if (!frame || frame->kind != Frame::REQUEST) return;
  Request request;
  try {
    request = fromJson(frame->bytes);
  } catch (const Json::exception&) {
    return;  // not one of ours
  }
  sendFrame(connection, Frame::ACCEPTED, {});
  HandOnBuffer out([connection](std::string_view bytes) { return sendFrame(connection, Frame::OUT, bytes); });
  HandOnBuffer err([connection](std::string_view bytes) { return sendFrame(connection, Frame::ERROR, bytes); });
  std::ostream outStream(&out);
  std::ostream errStream(&err);
  Output output(outStream, errStream, request.style);
  Interrupt interrupt(&_ending);
  int status = EXIT_FAILED;
  {
    const HangUpWatch watch(connection, interrupt);
    status = _handler(request, output, interrupt);
  }
  outStream.flush();
  errStream.flush();
  if (status == EXIT_INTERRUPTED && _ending.raised()) {
    sendFrame(connection, Frame::AGAIN, {});
  } else {
    sendFrame(connection, Frame::EXIT, std::to_string(status));
  }
}

Answer askOwner(const std::string& directory, const Request& request, const Interrupt& interrupt) {
  const Descriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int connected = withSocketName(
      directory, [&](const sockaddr* address, socklen_t size) { return connect(connection, address, size); });
  Answer answer;
  if (connected != 0) return answer;
  if (!sendFrame(connection, Frame::REQUEST, toJson(request).dump(-1, ' ', false, Json::error_handler_t::replace))) {
    return answer;
  }
  for (;;) {
    do {
      interrupt.check();
    } while (!readable(connection, TURN));
    const std::optional<Frame> frame = receiveFrame(connection);
    if (!frame && !answer.accepted) return answer;  // it was just ending: the next owner is asked
    if (!frame)
      throw Failure("the tv that owns \"" + directory + "\" ended before the command was done; give the command again");
    answer.accepted = true;
    if (frame->kind == Frame::OUT) std::cout << frame->bytes << std::flush;
    if (frame->kind == Frame::ERROR) std::cerr << frame->bytes << std::flush;
    if (frame->kind == Frame::AGAIN) return answer;
    if (frame->kind == Frame::EXIT) {
      int status = EXIT_FAILED;
      std::from_chars(frame->bytes.data(), frame->bytes.data() + frame->bytes.size(), status);
      answer.status = status;
      return answer;
    }
    if (!std::cout.good()) throw Interrupted();
  }
}

}  // namespace tv

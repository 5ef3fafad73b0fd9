#include "Keys.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <string_view>
#include <thread>
#include <utility>

namespace tv {
namespace {

using Meaning = std::pair<std::string_view, Key>;
constexpr std::array MEANINGS{
    Meaning{"+", Key::VOLUME_UP},      Meaning{"=", Key::VOLUME_UP},     Meaning{"-", Key::VOLUME_DOWN},
    Meaning{"m", Key::MUTE},           Meaning{" ", Key::PAUSE},         Meaning{"a", Key::AUDIO},
    Meaning{"s", Key::SUBTITLES},      Meaning{"q", Key::QUIT},          Meaning{"\033[A", Key::NEXT},
    Meaning{"\033[B", Key::PREVIOUS},  Meaning{"\033[C", Key::NEXT},     Meaning{"\033[D", Key::PREVIOUS},
    Meaning{"\033OA", Key::NEXT},      Meaning{"\033OB", Key::PREVIOUS}, Meaning{"\033[5~", Key::NEXT},
    Meaning{"\033[6~", Key::PREVIOUS},
};

termios g_before{};                    // written before the flag is set
std::atomic<bool> g_isChanged{false};  // the terminal is to be restored

bool isInForeground() {
  return isatty(STDIN_FILENO) == 1 && tcgetpgrp(STDIN_FILENO) == getpgrp();
}

bool sendKeysAtOnce() {
  termios now = g_before;
  now.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  now.c_cc[VMIN] = 0;
  now.c_cc[VTIME] = 0;
  return tcsetattr(STDIN_FILENO, TCSANOW, &now) == 0;
}

// A shell that stopped this process for a while took the terminal back as it likes it.
void takeTerminalAgain() {
  termios now{};
  const bool isTaken = tcgetattr(STDIN_FILENO, &now) == 0 && (now.c_lflag & (ICANON | ECHO)) != 0;
  if (isTaken && isInForeground()) sendKeysAtOnce();
}

}  // namespace

Key takeKey(std::string& bytes) {
  for (const auto& [sent, key] : MEANINGS) {
    if (bytes.starts_with(sent)) {
      bytes.erase(0, sent.size());
      return key;
    }
    if (sent.starts_with(bytes)) return Key::NONE;
  }
  bytes.erase(0, 1);
  return Key::NONE;
}

Keys::Keys() {
  if (!isInForeground() || tcgetattr(STDIN_FILENO, &g_before) != 0) return;
  g_isChanged = true;
  _available = sendKeysAtOnce();
}

Keys::~Keys() {
  restoreTerminal();
}

void Keys::restoreTerminal() {
  if (g_isChanged.exchange(false)) tcsetattr(STDIN_FILENO, TCSANOW, &g_before);
}

Key Keys::wait(std::chrono::milliseconds limit) {
  if (!_available) {
    std::this_thread::sleep_for(limit);
    return Key::NONE;
  }
  if (_bytes.empty()) {
    takeTerminalAgain();
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (poll(&input, 1, static_cast<int>(limit.count())) <= 0) return Key::NONE;
    std::array<char, 64> buffer{};
    const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count <= 0) {  // the terminal has gone
      _available = false;
      return Key::NONE;
    }
    _bytes.assign(buffer.data(), static_cast<std::size_t>(count));
  }
  const std::size_t before = _bytes.size();
  const Key key = takeKey(_bytes);
  if (_bytes.size() == before) _bytes.clear();  // an escape key alone
  return key;
}

}  // namespace tv

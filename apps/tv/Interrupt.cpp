#include "Interrupt.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <initializer_list>

#include "Failure.h"
#include "Keys.h"

namespace tv {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds TURN{50};              // how late a raised parent is seen
constexpr std::chrono::seconds PATIENCE{20};  // for an orderly end after a signal

sigset_t watchedSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&set, signal);
  return set;
}

}  // namespace

void Interrupt::raise() {
  {
    const std::lock_guard lock(_mutex);
    _raised = true;
  }
  _changed.notify_all();
}

bool Interrupt::raised() const {
  if (_parent != nullptr && _parent->raised()) return true;
  const std::lock_guard lock(_mutex);
  return _raised;
}

bool Interrupt::raisedByParent() const {
  if (_parent == nullptr || !_parent->raised()) return false;
  const std::lock_guard lock(_mutex);
  return !_raised;
}

void Interrupt::check() const {
  if (raised()) throw Interrupted();
}

bool Interrupt::waitFor(milliseconds duration) const {
  const auto end = steady_clock::now() + duration;
  while (!raised()) {
    const auto left = end - steady_clock::now();
    if (left <= steady_clock::duration::zero()) return false;
    std::unique_lock lock(_mutex);
    _changed.wait_for(lock, std::min<steady_clock::duration>(left, TURN), [this] { return _raised; });
  }
  return true;
}

SignalWatch::SignalWatch(Interrupt& interrupt) : _interrupt(interrupt) {
  const sigset_t set = watchedSignals();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  ::signal(SIGPIPE, SIG_IGN);  // a reader that went away shows as a failed write
  _thread = std::thread([this] { run(); });
}

SignalWatch::~SignalWatch() {
  _done.raise();
  _thread.join();
}

void SignalWatch::run() {
  const sigset_t set = watchedSignals();
  const timespec turn{0, std::chrono::nanoseconds(TURN).count()};
  steady_clock::time_point deadline = steady_clock::time_point::max();
  while (!_done.raised()) {
    if (sigtimedwait(&set, nullptr, &turn) > 0 && deadline == steady_clock::time_point::max()) {
      deadline = steady_clock::now() + PATIENCE;
      _interrupt.raise();
    }
    if (steady_clock::now() > deadline) {
      static constexpr char TEXT[] = "tv: the plugin does not end; leaving\n";
      [[maybe_unused]] const auto written = write(STDERR_FILENO, TEXT, sizeof TEXT - 1);
      Keys::restoreTerminal();
      _exit(EXIT_INTERRUPTED);
    }
  }
}

}  // namespace tv

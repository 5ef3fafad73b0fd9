#include "middleware/reception/TunedReceiver.h"

#include <algorithm>
#include <condition_variable>
#include <string>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/portability/Log.h"
#include "middleware/receivers/ReceiverPool.h"
#include "middleware/receivers/ReceptionReport.h"
#include "middleware/reception/StreamTap.h"
#include "middleware/stream/LoopedStream.h"
#include "middleware/stream/Pacer.h"

namespace durix {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds CHECK_INTERVAL(500);  // of the signal
constexpr std::chrono::milliseconds IDLE_TURN(100);       // without packets

void waitUntil(Clock::time_point moment, const std::stop_token& stop) {
  std::mutex mutex;
  std::condition_variable_any never;
  std::unique_lock lock(mutex);
  never.wait_until(lock, stop, moment, [] { return false; });
}

// What is sent on a frequency: another text when that is another stream, empty without a signal.
class Signal {
 public:
  Signal(const ReceiverPool& receivers, const durix_scan_frequency& tuning)
      : _receivers(receivers), _tuning(tuning), _revision(receivers.revision(tuning)) {
    _presence.see(true, Clock::now());
  }

  // Looks from time to time, at once when nothing can be read; false when there has been no signal for long enough.
  bool look(bool isReadable, Clock::time_point now) {
    _isNew = false;
    if (now < _due) return true;
    _due = now + CHECK_INTERVAL;
    auto revision = _receivers.revision(_tuning);
    const bool isThere = !revision.empty();
    _isNew = isThere && (revision != _revision || !isReadable);
    if (isThere) _revision = std::move(revision);
    return _presence.see(isThere && isReadable, now) != Presence::Change::Withdrawn;
  }

  // Another stream has come since.
  bool isNew() const { return _isNew; }

 private:
  const ReceiverPool& _receivers;
  const durix_scan_frequency _tuning;
  std::string _revision;
  Presence _presence;
  Clock::time_point _due;
  bool _isNew = false;
};

}  // namespace

TunedReceiver::TunedReceiver(Parts parts, const StoredMultiplex& multiplex, std::unique_ptr<ByteSource> source,
                             std::shared_ptr<ReceiverUser> first)
    : _parts(parts),
      _multiplex(multiplex),
      _users{std::move(first)},
      _source(std::move(source)),
      _present(_users),
      _thread([this] { run(); }) {}

TunedReceiver::TunedReceiver(Parts parts, std::shared_ptr<ReceiverUser> user)
    : _parts(parts), _users{std::move(user)}, _isDone(true) {}

bool TunedReceiver::add(std::shared_ptr<ReceiverUser> user) {
  const std::scoped_lock lock(_mutex);
  if (_end) return false;
  _users.push_back(std::move(user));
  ++_usersVersion;
  return true;
}

void TunedReceiver::remove(const ReceiverUser& user) {
  const std::scoped_lock lock(_mutex);
  std::erase_if(_users, [&](const auto& known) { return known.get() == &user; });
  ++_usersVersion;
  if (!_users.empty() || _end) return;
  _end = PacketTaker::End::Closed;
  _stop.request_stop();
}

TunedReceiver::Users TunedReceiver::users() const {
  const std::scoped_lock lock(_mutex);
  return _users;
}

ReceiverUse TunedReceiver::use() const {
  const std::scoped_lock lock(_mutex);
  ReceiverUse most = ReceiverUse::Guide;
  for (const auto& user : _users) most = std::max(most, user->use());
  return most;
}

bool TunedReceiver::hasEnded() const {
  const std::scoped_lock lock(_mutex);
  return _end.has_value();
}

bool TunedReceiver::isAbandoned() const {
  const std::scoped_lock lock(_mutex);
  return _end && _users.empty() && _isDone;
}

void TunedReceiver::end(PacketTaker::End reason) {
  const std::scoped_lock lock(_mutex);
  if (_end) return;
  _end = reason;
  _stop.request_stop();
}

void TunedReceiver::tellEnd() {
  if (_multiplex) return;
  for (const auto& user : users()) user->end(_end.value());
}

void TunedReceiver::join() {
  if (!_multiplex || _runner.load() == std::this_thread::get_id()) return;
  const std::scoped_lock lock(_joining);
  if (_thread.joinable()) _thread.join();
}

void TunedReceiver::run() {
  _runner = std::this_thread::get_id();
  try {
    receive(_stop.get_token());
  } catch (const std::exception& error) {
    logLine(std::string("reception: ") + error.what());
  }
  end(PacketTaker::End::Lost);  // unless there is another reason
  for (const auto& user : users()) user->end(_end.value());
  _present.clear();
  _isDone = true;
}

// Returns when it is to stop or the signal is lost.
void TunedReceiver::receive(const std::stop_token& stop) {
  LoopedStream stream(std::move(_source));
  ReceptionReport report(_parts.events, _multiplex->tuning);
  Signal signal(_parts.receivers, _multiplex->tuning);
  ReceptionMeter meter;
  Pacer pacer;
  std::uint64_t loop = 0;
  while (!stop.stop_requested()) {
    const auto packet = stream.next();
    const auto now = Clock::now();
    if (packet) {
      const auto due = pacer.due(*packet, now);
      if (due - now > Pacer::BURST) waitUntil(due, stop);
      meter.feed(*packet);
      handOn(*packet, std::exchange(loop, stream.loops()) != stream.loops());
      if (_parts.tap != nullptr) _parts.tap->see(_multiplex->id, stream.loops(), *packet);
    } else {
      waitUntil(now + IDLE_TURN, stop);
    }
    if (!signal.look(packet.has_value(), now)) return report.tellNoSignal();
    if (signal.isNew()) follow(stream);
    Reception soFar = meter.reception();
    soFar.damagedPackets = stream.damagedPackets();
    report.tell(soFar);
  }
}

void TunedReceiver::handOn(const PacketView& packet, bool isAgain) {
  if (_usersVersion != _presentVersion) {
    const std::scoped_lock lock(_mutex);
    _present = _users;
    _presentVersion = _usersVersion;
  }
  for (const auto& user : _present) {
    if (isAgain) user->beginAgain();
    user->take(packet);
  }
}

// What is sent now is received from its next beginning on.
void TunedReceiver::follow(LoopedStream& stream) const {
  try {
    if (auto source = _parts.receivers.tune(_multiplex->tuning)) stream.setNext(std::move(source));
  } catch (const Failure& failure) {
    logLine(std::string("reception: ") + failure.what());
  }
}

}  // namespace durix

#include "Playing.h"

#include <chrono>
#include <thread>

#include "Failure.h"
#include "Session.h"

namespace tv {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::seconds START_LIMIT{20};  // the middleware gives up before
constexpr std::chrono::seconds END_LIMIT{2};     // for the event that tells of the end
constexpr std::chrono::milliseconds TURN{50};

}  // namespace

Playing::Playing(Session& session, AvContent& content, void* window)
    : _content(content), _door(session.library(), _events.key()) {
  if (content.isPlaying()) throw Failure("\"" + content.getName() + "\" is played by another command already");
  _player.reset(session.plugin().createPlayer(&content, window, &_events));
}

void Playing::start(const Interrupt& interrupt) {
  if (!_player->start(true)) fail("the player does not start");
  const auto end = steady_clock::now() + START_LIMIT;
  while (!_events.state().started) {
    check();
    if (_events.state().blocked) fail("parental control does not allow it");
    if (steady_clock::now() > end) fail("nothing is received");
    interrupt.waitFor(TURN);
    interrupt.check();
  }
}

void Playing::stop() {
  _player->stop();
  const auto end = steady_clock::now() + END_LIMIT;
  while (_events.state().started && !_events.state().stopped && !_events.state().failed && steady_clock::now() < end) {
    std::this_thread::sleep_for(TURN);
  }
}

void Playing::check() const {
  if (_events.state().failed) fail("the player failed");
}

void Playing::fail(const std::string& fallback) const {
  const auto state = _door.state();
  const std::string why = state && !state->failure.empty() ? state->failure : fallback;
  throw Failure("\"" + _content.getName() + "\" cannot be played: " + why);
}

}  // namespace tv

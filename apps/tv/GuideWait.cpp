#include "GuideWait.h"

#include <algorithm>
#include <chrono>

#include "Text.h"

namespace tv {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {
constexpr milliseconds TURN{50};
constexpr unsigned TURNS_OF_COUNT = 10;  // counting a large guide takes a while
constexpr milliseconds PAUSE{200};       // no news for so long: the plugin has taken what it was told of
constexpr milliseconds QUIET{1500};      // no news for so long: nothing more is to come, as far as one can tell
constexpr milliseconds LIMIT{90000};
constexpr unsigned WHOLE = 100;

// Whether everything is in, when nothing new has come for a time.
bool isIn(const std::optional<SideDoor::Guide>& guide, steady_clock::duration quiet) {
  if (!guide) return quiet >= QUIET;
  if (!guide->isOpen) return quiet >= PAUSE;  // nothing is collected: what is stored is all
  if (!guide->goneRound) return false;
  return quiet >= (guide->unread == 0 ? PAUSE : QUIET);
}

unsigned percentOf(const std::optional<SideDoor::Guide>& guide, steady_clock::duration spent) {
  if (guide && guide->multiplexes > 0) return guide->received * WHOLE / guide->multiplexes;
  return static_cast<unsigned>(std::chrono::duration_cast<milliseconds>(spent) * WHOLE / LIMIT);
}
}  // namespace

void waitForGuide(Session& session, Output& output, const Interrupt& interrupt) {
  BroadcastPlugin& plugin = session.plugin();
  plugin.openEsgDataFeeds();
  const auto start = steady_clock::now();
  auto changed = start;
  unsigned percent = 0;
  std::size_t count = plugin.getPrograms().size();
  for (unsigned turn = 0;; ++turn) {
    interrupt.waitFor(TURN);
    interrupt.check();
    const auto guide = session.sideDoor().guide();
    const bool isNearEnd = !guide || guide->goneRound || !guide->isOpen;
    const std::size_t number = isNearEnd || turn % TURNS_OF_COUNT == 0 ? plugin.getPrograms().size() : count;
    const auto now = steady_clock::now();
    const unsigned reached = std::max(percent, percentOf(guide, now - start));
    if (number != count) changed = now;
    if (number != count || reached != percent) output.progress(reached, counted(number, "programme"));
    count = number;
    percent = reached;
    if (isIn(guide, now - changed) || now - start >= LIMIT) break;
  }
  output.endProgress();
}

}  // namespace tv

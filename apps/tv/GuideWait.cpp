#include "GuideWait.h"

#include <chrono>

#include "Text.h"

namespace tv {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {
constexpr milliseconds TURN{100};
constexpr milliseconds QUIET{1500};
constexpr milliseconds LIMIT{30000};
constexpr unsigned WHOLE = 100;
}  // namespace

void waitForGuide(BroadcastPlugin& plugin, Output& output, const Interrupt& interrupt) {
  plugin.openEsgDataFeeds();
  const auto start = steady_clock::now();
  auto changed = start;
  std::size_t count = plugin.getPrograms().size();
  while (steady_clock::now() - changed < QUIET && steady_clock::now() - start < LIMIT) {
    interrupt.waitFor(TURN);
    interrupt.check();
    const std::size_t now = plugin.getPrograms().size();
    if (now == count) continue;
    count = now;
    changed = steady_clock::now();
    const auto spent = std::chrono::duration_cast<milliseconds>(changed - start);
    output.progress(static_cast<unsigned>(spent.count() * WHOLE / LIMIT.count()), counted(count, "programme"));
  }
  output.endProgress();
}

}  // namespace tv

#include "support/Lock.h"

#ifndef NDEBUG
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

struct Held {
  const VmMutex* mutex;
  LockRank rank;
};

thread_local std::vector<Held> held;

void checkOrder(const VmMutex* mutex, LockRank rank) {
  if (std::any_of(held.begin(), held.end(), [&](const Held& h) { return h.mutex == mutex; })) return;
  const auto inner = std::find_if(held.begin(), held.end(), [&](const Held& h) { return h.rank >= rank; });
  if (inner == held.end()) return;
  std::fprintf(stderr, "lock order: rank %d taken while rank %d is held\n", static_cast<int>(rank),
               static_cast<int>(inner->rank));
  std::abort();
}

}  // namespace
#endif

RankedHold::RankedHold(VmMutex& mutex, [[maybe_unused]] LockRank rank) : _mutex(mutex) {
#ifndef NDEBUG
  checkOrder(&mutex, rank);
  held.push_back({&mutex, rank});
#endif
  _mutex.acquire();
}

RankedHold::~RankedHold() {
  _mutex.release();
#ifndef NDEBUG
  const auto last = std::find_if(held.rbegin(), held.rend(), [&](const Held& h) { return h.mutex == &_mutex; });
  held.erase(std::next(last).base());
#endif
}

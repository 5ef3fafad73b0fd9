// The recorder's thread: what comes about by time.

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/api/Instance.h"
#include "middleware/portability/Clock.h"
#include "middleware/portability/Log.h"
#include "middleware/recorder/Adoption.h"
#include "middleware/recorder/Recorder.h"
#include "middleware/recorder/Repair.h"
#include "middleware/recordings/Conflicts.h"

namespace durix {
namespace {
constexpr std::chrono::milliseconds STEP{100};
}

Recorder::Recorder(Instance& instance) : _instance(instance) {
  adoptRecordings(_instance.recordings());
  repairRecordings(_instance.recordings(), clock::now());
  _instance.events().add(EVENT_TOLD, toldHandler, this, EventQueue::Scope::All);
  _scheduler = std::jthread([this](const std::stop_token& stop) { run(stop); });
  _restorer = std::jthread([this](const std::stop_token& stop) {
    try {
      restoreCompanions(_instance.recordings(), stop);
    } catch (const std::exception& error) {
      logLine(std::string("recorder: ") + error.what());
    }
  });
}

Recorder::~Recorder() {
  Recorder::stop();
}

// In short steps: the clock may be set at any moment.
void Recorder::run(const std::stop_token& stop) {
  std::unique_lock lock(_mutex);
  while (!stop.stop_requested()) {
    try {
      look();
    } catch (const std::exception& error) {
      logLine(std::string("recorder: ") + error.what());
    }
    _changed.wait_for(lock, stop, STEP, [] { return false; });
  }
}

// What ends comes first: it may have the receiver that another one needs.
void Recorder::look() {
  if (_isStopped) return;
  forgetTold();
  if (!_provider) return;
  const std::int64_t now = clock::now();
  auto timers = _instance.recordings().timers();
  std::erase_if(timers, [&](const Timer& timer) { return timer.service.receiver != _provider; });
  // What fails for one timer is no harm to the others.
  const auto each = [&](auto step) {
    for (const Timer& timer : timers) {
      try {
        (this->*step)(timer, _progress[timer.id], now);
      } catch (const std::exception& error) {
        logLine("recorder: timer " + std::to_string(timer.id) + ": " + error.what());
      }
    }
  };
  each(&Recorder::endOver);
  each(&Recorder::startDue);
}

void Recorder::endOver(const Timer& timer, Progress& progress, std::int64_t now) {
  if (progress.isOver) return;
  const bool hasFailed = progress.take != nullptr && progress.take->state() == Take::State::Failed;
  const bool isOver = timer.end != 0 && timer.end <= now;
  if (!hasFailed && !isOver) return;
  const bool isTimeShift = timer.type == TimerType::TimeShift;
  conclude(timer, progress, hasFailed && !isTimeShift ? DURIX_EVENT_RECORDER_DEVICE_FULL : DURIX_EVENT_TIMER_DEACTIVE);
}

void Recorder::conclude(const Timer& timer, Progress& progress, std::uint32_t event) {
  if (progress.take != nullptr) progress.take->finish(Take::Ending::Over);
  progress.isOver = true;
  tell(event, timer.id);
  // Behind it in the queue: once that is told, nobody needs the timer any more. What a time shift has written can be
  // played until it is removed.
  if (timer.type == TimerType::Recording) tell(EVENT_TOLD, timer.id);
}

void Recorder::toldHandler(durix_event_data* event, void* user) {
  std::uint32_t timer = 0;
  std::memcpy(&timer, reinterpret_cast<const char*>(event) + DURIX_OFFSET_TIMER_ID, sizeof timer);
  static_cast<Recorder*>(user)->handleTold(timer);
}

void Recorder::handleTold(std::uint32_t timer) {
  const std::scoped_lock lock(_mutex);
  const auto progress = _progress.find(timer);
  if (_isStopped || progress == _progress.end() || !progress->second.isOver) return;
  progress->second.isTold = true;
  forgetTold();
}

void Recorder::forgetTold() {
  for (auto entry = _progress.begin(); entry != _progress.end();) {
    const bool isGone = entry->second.isTold && forget(entry->first, entry->second);
    entry = isGone ? _progress.erase(entry) : std::next(entry);
  }
}

// A disk that is full may have room for that later.
bool Recorder::forget(std::uint32_t timer, Progress& progress) {
  if (progress.take != nullptr && !progress.take->finish(Take::Ending::Over)) return false;
  try {
    _instance.recordings().removeTimer(timer);
    return true;
  } catch (const Failure& failure) {
    if (!std::exchange(progress.isStuck, true)) logLine(std::string("recorder: ") + failure.what());
    return false;
  }
}

void Recorder::startDue(const Timer& timer, Progress& progress, std::int64_t now) {
  if (progress.isOver) return;
  const bool isTimeShift = timer.type == TimerType::TimeShift;
  if (!isTimeShift && !progress.isWarned && now >= timer.start - timer.lead) {
    progress.isWarned = true;
    warn(timer, now);
  }
  if (progress.take == nullptr && timer.start <= now) begin(timer, progress);
  if (progress.take == nullptr) return;
  progress.take->keepReceiving();
  if (progress.isAnnounced || progress.take->state() != Take::State::Running) return;
  progress.isAnnounced = true;
  if (!isTimeShift) tell(DURIX_EVENT_TIMER_ACTIVE, timer.id);
}

void Recorder::begin(const Timer& timer, Progress& progress) {
  const ServiceReception::Parts reception{_instance.tuners(), _instance.store(), _instance.events()};
  progress.take = std::make_unique<Take>(Take::Parts{reception, _instance.recordings()}, timer);
  progress.take->keepReceiving();
}

void Recorder::warn(const Timer& timer, std::int64_t now) {
  const auto catalogue = _instance.store().catalogue();
  const auto* const service = catalogue->service(timer.service.id);
  auto ids = std::make_shared<std::vector<std::uint32_t>>();
  if (service != nullptr) {
    const auto others = demandsOf(_instance.recordings().timers(), *catalogue, timer.service.receiver, timer.id);
    *ids = conflictsOf({timer.id, service->multiplex, timer.start, timer.end}, others,
                       std::max(_instance.tuners().count(), 1U));
  }
  EventRecord record(DURIX_EVENT_TIMER_ACTIVATING);
  record.put(DURIX_OFFSET_TIMER_ID, timer.id);
  record.put(DURIX_OFFSET_TIMER_ACTIVATING_VALUE,
             static_cast<std::uint32_t>(std::max<std::int64_t>(timer.start - now, 0)));
  record.put(DURIX_OFFSET_TIMER_ACTIVATING_COUNT, static_cast<std::uint32_t>(ids->size()));
  record.put(DURIX_OFFSET_TIMER_ACTIVATING_IDS, static_cast<const std::uint32_t*>(ids->data()));
  record.keep(std::move(ids));
  _instance.events().post(std::move(record));
}

void Recorder::tell(std::uint32_t event, std::uint32_t timer) {
  EventRecord record(event);
  record.put(DURIX_OFFSET_TIMER_ID, timer);
  _instance.events().post(std::move(record));
}

}  // namespace durix

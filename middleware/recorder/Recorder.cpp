#include "middleware/recorder/Recorder.h"

#include <algorithm>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/api/Instance.h"
#include "middleware/portability/Clock.h"
#include "middleware/portability/Files.h"
#include "middleware/portability/Log.h"
#include "middleware/recorder/RecordingPlace.h"
#include "middleware/recorder/Repair.h"
#include "middleware/recorder/TimerChecks.h"

namespace durix {
namespace {

struct Life {
  std::recursive_mutex mutex;  // a recorder that cannot be started is stopped while it is held
  std::weak_ptr<Instance> instance;
  std::shared_ptr<Recorder> recorder;  // until it is stopped
};

// Never destroyed: a call may come while the process ends.
Life& life() {
  static auto* const one = new Life;
  return *one;
}

}  // namespace

std::shared_ptr<Recorder> Recorder::of(const std::shared_ptr<Instance>& instance) {
  Life& one = life();
  const std::scoped_lock lock(one.mutex);
  if (one.recorder != nullptr && one.instance.lock() == instance) return one.recorder;
  auto recorder = std::make_shared<Recorder>(*instance);
  instance->add(recorder);
  one.instance = instance;
  one.recorder = recorder;
  return recorder;
}

void Recorder::join() {
  const std::scoped_lock lock(_mutex);
  ensureWorks();
  ++_users;
}

void Recorder::leave() {
  {
    const std::scoped_lock lock(_mutex);
    if (--_users > 0 || _isStopped) return;
    pause();
  }
  waitForHandlers();
}

void Recorder::waitForHandlers() const {
  _instance.events().waitForHandlersOf({DURIX_EVENT_TIMER_ACTIVATING, DURIX_EVENT_TIMER_ACTIVE,
                                        DURIX_EVENT_TIMER_DEACTIVE, DURIX_EVENT_RECORDER_DEVICE_FULL});
}

void Recorder::ensureWorks() const {
  if (_isStopped) throw Failure(Code::NoInstance);
}

void Recorder::activate(ReceiverType provider) {
  const std::scoped_lock lock(_mutex);
  ensureWorks();
  if (_provider == provider) return;
  pause();
  _provider = provider;
  const std::int64_t now = clock::now();
  for (const Timer& timer : _instance.recordings().timers()) {
    if (_progress.contains(timer.id)) continue;  // it is just being told that it is over
    if (timer.end <= now) {
      finishRow(timer.recording);
      _instance.recordings().removeTimer(timer.id);
    } else if (timer.service.receiver == provider && timer.start <= now && timer.recording != 0) {
      Progress& progress = _progress[timer.id];
      progress.isWarned = progress.isAnnounced = true;
      begin(timer, progress);
    }
  }
}

void Recorder::deactivate() {
  {
    const std::scoped_lock lock(_mutex);
    ensureWorks();
    pause();
  }
  waitForHandlers();
}

void Recorder::pause() {
  for (auto& [id, progress] : _progress) {
    if (progress.take != nullptr) progress.take->finish(Take::Ending::Interrupted);
  }
  std::erase_if(_progress, [](const auto& entry) { return !entry.second.isOver; });
  _provider.reset();
  for (const Timer& timer : _instance.recordings().timers()) {
    if (timer.type == TimerType::TimeShift) removeTimeShift(timer.id);
  }
}

std::uint32_t Recorder::add(const Wish& wish) {
  const std::scoped_lock lock(_mutex);
  ensureWorks();
  Timer timer = newTimer(_instance, wish.service);
  timer.type = wish.type;
  timer.start = wish.start;
  timer.end = wish.end;
  timer.lead = wish.lead;
  timer.texts.name = wish.name;
  const bool isTimeShift = wish.type == TimerType::TimeShift;
  if (isTimeShift && _provider != timer.service.receiver) {
    throw Failure(Code::NoReceiver, "a time shift needs an active recorder");
  }
  if (isTimeShift) timer.start = clock::now();
  checkTimer(_instance, timer);
  describeByGuide(_instance, timer);
  timer.id = _instance.recordings().add(timer);
  if (isTimeShift) begin(timer, _progress[timer.id]);
  _changed.notify_all();
  return timer.id;
}

void Recorder::modify(std::uint32_t id, const Wish& wish) {
  const std::scoped_lock lock(_mutex);
  ensureWorks();
  const auto known = _instance.recordings().timer(id);
  const auto progress = _progress.find(id);
  const bool isOver = progress != _progress.end() && progress->second.isOver;
  if (!known || isOver) throw Failure(Code::UnknownObject);
  Timer timer = *known;
  const bool isRunning = timer.recording != 0 || (progress != _progress.end() && progress->second.take != nullptr);
  if (!isRunning) timer.start = wish.start;
  timer.end = wish.end;
  timer.lead = wish.lead;
  timer.texts.name = wish.name;
  checkTimer(_instance, timer);
  if (!isRunning) {
    timer.texts.description.clear();
    timer.texts.age = 0;
    describeByGuide(_instance, timer);
    if (progress != _progress.end() && timer.start - timer.lead > clock::now()) progress->second.isWarned = false;
  }
  _instance.recordings().changeTimer(id, [&](Timer& row) {
    const auto recording = row.recording;
    row = timer;
    row.recording = recording;
  });
  const auto recording = _instance.recordings().timer(id)->recording;
  if (recording != 0) {
    _instance.recordings().changeRecording(recording, [&](Recording& row) {
      row.end = timer.end;
      row.texts.name = timer.texts.name;
    });
  }
  _changed.notify_all();
}

void Recorder::removeTimer(std::uint32_t id) {
  const std::scoped_lock lock(_mutex);
  ensureWorks();
  const auto timer = _instance.recordings().timer(id);
  if (!timer) throw Failure(Code::UnknownObject);
  if (timer->type == TimerType::TimeShift) return removeTimeShift(id);
  if (const auto progress = _progress.find(id); progress != _progress.end()) {
    if (progress->second.take != nullptr) progress->second.take->finish(Take::Ending::Over);
    _progress.erase(progress);
  }
  finishRow(_instance.recordings().timer(id)->recording);
  _instance.recordings().removeTimer(id);
}

void Recorder::removeTimeShift(std::uint32_t id) {
  if (const auto progress = _progress.find(id); progress != _progress.end()) {
    if (progress->second.take != nullptr) progress->second.take->finish(Take::Ending::Over);
    _progress.erase(progress);
  }
  if (const auto written = _instance.recordings().recording(id)) {
    removeFiles(resolved(written->file));
    _instance.recordings().removeRecording(id);
  }
  _instance.recordings().removeTimer(id);
}

void Recorder::removeRecording(std::uint32_t id) {
  const std::scoped_lock lock(_mutex);
  ensureWorks();
  Recordings& recordings = _instance.recordings();
  const auto timer = recordings.timer(id);
  if (timer && timer->type == TimerType::TimeShift) return removeTimeShift(id);
  const auto recording = recordings.recording(id);
  if (timer || !recording) throw Failure(Code::UnknownObject);
  const auto timers = recordings.timers();
  const bool isWanted = std::ranges::any_of(timers, [&](const Timer& other) {
    const auto progress = _progress.find(other.id);
    return other.recording == id && (progress == _progress.end() || !progress->second.isOver);
  });
  if (isWanted) throw Failure(Code::Busy, "recording " + std::to_string(id) + " is being recorded");
  const auto setState = [&](Recording::State state) {
    recordings.changeRecording(id, [state](Recording& row) { row.state = state; });
  };
  try {
    setState(Recording::State::Deleting);
  } catch (const Failure& failure) {  // a disk that is full has no room for that, until the file has gone
    logLine(std::string("recorder: ") + failure.what());
  }
  if (!removeFiles(resolved(recording->file))) {
    setState(Recording::State::Finished);
    throw Failure(Code::NoSignal, "recording " + std::to_string(id) + " cannot be deleted: " +
                                      resolved(recording->file).string() + " cannot be reached");
  }
  recordings.removeRecording(id);
}

void Recorder::finishRow(std::uint32_t recording) {
  if (recording == 0) return;
  _instance.recordings().changeRecording(recording, [](Recording& row) { row.state = Recording::State::Finished; });
}

void Recorder::stop() noexcept {
  {
    const std::scoped_lock lock(_mutex);
    if (std::exchange(_isStopped, true)) return;
  }
  _scheduler.request_stop();
  _restorer.request_stop();
  _changed.notify_all();
  if (_scheduler.joinable()) _scheduler.join();
  if (_restorer.joinable()) _restorer.join();
  _instance.events().remove(EVENT_TOLD, toldHandler, EventQueue::Scope::All);
  try {
    const std::scoped_lock lock(_mutex);
    pause();
    _progress.clear();
  } catch (const std::exception& error) {
    logLine(std::string("recorder: ") + error.what());
  }
  const std::scoped_lock lock(life().mutex);
  if (life().recorder.get() == this) life().recorder.reset();
}

}  // namespace durix

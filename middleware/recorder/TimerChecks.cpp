#include "middleware/recorder/TimerChecks.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "middleware/api/Failure.h"
#include "middleware/api/Instance.h"
#include "middleware/portability/Clock.h"
#include "middleware/recorder/RecordingPlace.h"
#include "middleware/recordings/Conflicts.h"

namespace durix {
namespace {

constexpr std::uint64_t LEAST_ROOM_FOR_TIME_SHIFT = std::uint64_t{64} << 20U;

bool isTimeShift(const Timer& timer) {
  return timer.type == TimerType::TimeShift;
}

void checkTime(const Timer& timer, std::int64_t now) {
  const bool isOpen = isTimeShift(timer) && timer.end == 0;
  if (isOpen || (timer.start > 0 && timer.end > timer.start && timer.end > now)) return;
  throw Failure(Code{DURIX_INVALID_TIME}, "a timer is refused: its time is over or none");
}

std::string listed(const std::vector<std::uint32_t>& ids) {
  std::string text;
  for (const auto id : ids) text += (text.empty() ? "" : ", ") + std::to_string(id);
  return text;
}

// A time shift needs a receiver now, and gives way later.
void checkReceivers(Instance& instance, const Timer& timer, std::int64_t now) {
  const auto catalogue = instance.store().catalogue();
  const auto* const service = catalogue->service(timer.service.id);
  if (service == nullptr) throw Failure(Code::UnknownObject);
  const auto others = demandsOf(instance.recordings().timers(), *catalogue, timer.service.receiver, timer.id);
  const std::uint32_t receivers = std::max(instance.tuners().count(), 1U);
  const Demand wanted{timer.id, service->multiplex, isTimeShift(timer) ? now : timer.start,
                      isTimeShift(timer) ? now + 1 : timer.end};
  const auto inTheWay = conflictsOf(wanted, others, receivers);
  if (inTheWay.empty()) return;
  throw Failure(Code{DURIX_CONFLICTING_TIMER}, "a timer is refused: with " + std::to_string(receivers) +
                                                   " receivers it cannot be with timers " + listed(inTheWay));
}

void checkRoom(Instance& instance, const Timer& timer, std::int64_t now) {
  const auto directory = isTimeShift(timer) ? timeShiftDirectory() : recordingsDirectory(instance.store());
  std::error_code error;
  if (!std::filesystem::is_directory(directory, error) || ::access(directory.c_str(), W_OK | X_OK) != 0) {
    throw Failure(Code::DataDirectory,
                  "a timer is refused: the directory " + directory.string() + " is not there or cannot be written");
  }
  const auto catalogue = instance.store().catalogue();
  const auto* const service = catalogue->service(timer.service.id);
  const std::int64_t seconds = timer.end == 0 ? 0 : timer.end - std::max(timer.start, now);
  std::uint64_t needed = service == nullptr ? 0 : estimatedBytes(*service, seconds);
  if (isTimeShift(timer)) needed = LEAST_ROOM_FOR_TIME_SHIFT;  // it is bounded by what there is
  if (freeBytes(directory) >= FREE_RESERVE + needed) return;
  throw Failure(Code{DURIX_INSUFFICIENT_DISK_SPACE},
                "a timer is refused: there is not enough room in " + directory.string());
}

}  // namespace

Timer newTimer(Instance& instance, std::uint32_t service) {
  const auto catalogue = instance.store().catalogue();
  const auto* const known = catalogue->service(service);
  if (known == nullptr) throw Failure(Code::UnknownObject);
  Timer timer;
  timer.service = {known->id,        known->receiver, known->originalNetworkId, known->transportStreamId,
                   known->serviceId, known->name};
  return timer;
}

void describeByGuide(Instance& instance, Timer& timer) {
  const auto guide = instance.guide().of(timer.service.id);
  const std::string language = instance.guide().language();
  const auto overlap = [&](const GuideEvent& event) {
    return std::min(event.end, timer.end) - std::max(event.start, timer.start);
  };
  const GuideEvent* best = nullptr;
  bool isNamed = false;
  for (const auto& event : guide->events()) {
    if (overlap(*event) <= 0) continue;
    const bool hasName = event->texts.title(language) == timer.texts.name;
    if (best != nullptr && (isNamed > hasName || (isNamed == hasName && overlap(*best) >= overlap(*event)))) continue;
    best = event.get();
    isNamed = hasName;
  }
  // What is on for less than half the time would describe another programme.
  if (best == nullptr || (!isNamed && overlap(*best) * 2 < timer.end - timer.start)) return;
  timer.texts.description = best->texts.description(language);
  timer.texts.age = best->age;
}

void checkTimer(Instance& instance, const Timer& timer) {
  const std::int64_t now = clock::now();
  checkTime(timer, now);
  checkReceivers(instance, timer, now);
  checkRoom(instance, timer, now);
}

}  // namespace durix

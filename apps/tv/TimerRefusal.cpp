#include "TimerRefusal.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <utility>
#include <vector>

#include "CommandLine.h"
#include "Moment.h"
#include "RecorderContents.h"
#include "Session.h"
#include "Text.h"
#include "host/HostClock.h"
#include "velmora/Recorder.h"
#include "velmora/Service.h"

namespace tv {
namespace {

std::string logHint(const Context& context) {
  return "; \"" + context.session.setup().data + "/tv.log\" tells more";
}

std::string directoryOf(Context& context) {
  const std::string chosen = recorderOf(context.session.plugin()).getRecordingDirectory();
  const std::filesystem::path data = context.session.setup().data;
  return (data / (chosen.empty() ? "recordings" : chosen)).lexically_normal().string();
}

std::string timerText(Scheduling& timer) {
  return "timer " + std::to_string(timer.getId()) + " (\"" + timer.getName() + "\" on \"" +
         timer.getTargetServiceName() + "\", " + momentText(timer.getStartTimeT(), host::now()) + " to " +
         momentText(timer.getEndTimeT(), timer.getStartTimeT()) + ")";
}

std::string conflictText(Context& context, const TimerWish& wish) {
  const std::string advice = "; \"tv timers cancel ID\" makes room, or choose another time";
  const unsigned service = wish.service == nullptr ? 0 : wish.service->getId();
  const auto conflict = context.session.sideDoor().conflict(service, wish.start, wish.end, wish.timer);
  if (!conflict || conflict->timers.empty()) return "other timers need the receivers at that time" + advice;
  std::vector<Scheduling*> timers = recorderOf(context.session.plugin()).getScheduled();
  std::erase_if(timers, [&](Scheduling* timer) { return std::ranges::count(conflict->timers, timer->getId()) == 0; });
  std::ranges::sort(timers, {}, [](Scheduling* timer) { return std::pair(timer->getStartTimeT(), timer->getId()); });
  std::string others;
  for (Scheduling* timer : timers) others += (others.empty() ? "" : ", ") + timerText(*timer);
  return "with " + counted(conflict->receivers, "receiver") + " this cannot be recorded beside " + others + advice;
}

std::string timeText(const TimerWish& wish) {
  if (wish.end <= wish.start) return "the end is not after the start";
  return "that time is over: it ended at " + momentText(wish.end, host::now());
}

}  // namespace

std::string refusalOf(Context& context, const TimerWish& wish) {
  const std::string error = recorderOf(context.session.plugin()).getLastError();
  const std::string directory = directoryOf(context);
  if (error == "recorder.error.conflictingtimer") return conflictText(context, wish);
  if (error == "recorder.error.invalidtime") return timeText(wish);
  if (error == "recorder.error.insufficientdiskspace") {
    return "there is not enough room in \"" + directory + R"("; delete recordings with "tv recordings delete ID")";
  }
  std::error_code fault;
  if (!std::filesystem::is_directory(directory, fault)) {
    return "the directory of recordings, \"" + directory + "\", is not there";
  }
  if (access(directory.c_str(), W_OK | X_OK) != 0) {
    return "the directory of recordings, \"" + directory + "\", may not be written to";
  }
  return "the recorder refused it" + logHint(context);
}

}  // namespace tv

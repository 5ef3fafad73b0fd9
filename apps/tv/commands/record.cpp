#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

#include "ChannelChoice.h"
#include "Commands.h"
#include "Failure.h"
#include "GuideWait.h"
#include "Moment.h"
#include "Number.h"
#include "RecorderContents.h"
#include "Session.h"
#include "TimerRefusal.h"
#include "host/HostClock.h"
#include "velmora/Program.h"
#include "velmora/Recorder.h"
#include "velmora/Service.h"

namespace tv {
namespace {

struct RecordWish {
  std::string channel, minutes, from, to, programme;
  std::optional<std::string> name;
};

struct TimerChange {
  std::string id, from, to;
  std::optional<std::string> name;
};

constexpr double LONGEST = 60.0 * 24 * 7;  // minutes
constexpr double SECONDS_IN_MINUTE = 60;

/// Times of the recorder have 32 bits.
int narrowed(std::int64_t time) {
  return static_cast<int>(std::clamp<std::int64_t>(time, 0, std::numeric_limits<int>::max()));
}

/// A wrong wish is told before anything starts.
void check(const RecordWish& wish) {
  const bool hasTimes = !wish.from.empty() || !wish.to.empty();
  const int ways = (wish.minutes.empty() ? 0 : 1) + (hasTimes ? 1 : 0) + (wish.programme.empty() ? 0 : 1);
  if (ways != 1) throw UsageError("say what to record: --for MINUTES, --from T --to T, or --programme ID");
  if (wish.channel.empty() != !wish.programme.empty()) {
    throw UsageError(wish.channel.empty() ? "a CHANNEL is missing"
                                          : "a programme has its own channel: leave CHANNEL out");
  }
  if (hasTimes && (wish.from.empty() || wish.to.empty())) throw UsageError("--from and --to belong together");
  if (!wish.programme.empty() && wish.name) throw UsageError("a programme has its own name: leave --name out");
  if (!wish.minutes.empty()) readNumber(wish.minutes, 0, LONGEST, "--for");
  if (!wish.programme.empty()) readId(wish.programme);
  if (!hasTimes) return;
  readMoment(wish.from, 0);
  readMoment(wish.to, 0);
}

/// What is on a channel at a moment, as far as the plugin knows; else the channel's name.
std::string nameAt(Service& service, std::int64_t time) {
  for (Program* programme : service.getPrograms(true)) {
    if (programme->getStartTimeT() <= time && time < programme->getEndTimeT()) return programme->getTitle();
  }
  return service.getName();
}

void tell(Context& context, Scheduling& timer) {
  if (context.output.json()) {
    context.output.value(timerJson(timer));
  } else {
    const std::int64_t now = host::now();
    context.output.line("Timer " + std::to_string(timer.getId()) + ": \"" + timer.getName() + "\" on \"" +
                        timer.getTargetServiceName() + "\", " + momentText(timer.getStartTimeT(), now) + " to " +
                        momentText(timer.getEndTimeT(), timer.getStartTimeT()));
  }
  if (!context.session.isResident()) {
    context.output.note("the timer is stored; it is recorded while \"tv run\" is alive");
  }
}

int recordProgramme(Context& context, const std::string& id) {
  waitForGuide(context.session, context.output, context.interrupt);
  BroadcastPlugin& plugin = context.session.plugin();
  Program* const programme = plugin.getProgram(readId(id));
  if (programme == nullptr) throw UsageError("there is no programme " + id + "; \"tv guide --json\" has their ids");
  const TimerWish wish{programme->getService(), programme->getStartTimeT(), programme->getEndTimeT()};
  Scheduling* const timer = recorderOf(plugin).record(programme);
  if (timer == nullptr) throw Failure("\"" + programme->getTitle() + "\" is not recorded: " + refusalOf(context, wish));
  tell(context, *timer);
  return EXIT_DONE;
}

int record(Context& context, const RecordWish& wish) {
  const Session::ServicesHeld held = context.session.waitForChannels(context.interrupt);
  if (!wish.programme.empty()) return recordProgramme(context, wish.programme);
  const std::vector<Service*> services = context.session.plugin().getServices();
  Service* const service = services[chooseChannel(wish.channel, channelKeys(services))];
  const std::int64_t now = host::now();
  std::int64_t start = now + 1;  // times are whole seconds, and a part of this one is over
  std::int64_t end = 0;
  if (wish.minutes.empty()) {
    start = readMoment(wish.from, now);
    end = readMoment(wish.to, std::max(start, now));
  } else {
    end = start + std::llround(readNumber(wish.minutes, 0, LONGEST, "--for") * SECONDS_IN_MINUTE);
  }
  const std::string name = wish.name.value_or(nameAt(*service, start));
  Scheduling* const timer = recorderOf(context.session.plugin()).record(name, service, narrowed(start), narrowed(end));
  if (timer == nullptr) {
    throw Failure("\"" + name + "\" is not recorded: " + refusalOf(context, {service, start, end}));
  }
  tell(context, *timer);
  return EXIT_DONE;
}

/// The timer with an identifier.
Scheduling& chooseTimer(Context& context, const std::string& id) {
  const auto number = static_cast<unsigned>(readId(id));
  for (Scheduling* timer : recorderOf(context.session.plugin()).getScheduled()) {
    if (timer->getId() == number) return *timer;
  }
  throw UsageError("there is no timer " + id + "; \"tv timers\" lists what there is");
}

void showTimers(Context& context, std::vector<Scheduling*> timers) {
  std::ranges::sort(timers, {}, [](Scheduling* timer) { return timer->getStartTimeT(); });
  if (context.output.json()) {
    Json list = Json::array();
    for (Scheduling* timer : timers) list.push_back(timerJson(*timer));
    context.output.value(list);
    return;
  }
  const std::int64_t now = host::now();
  Table table({{"ID", Column::RIGHT},
               {"Name", Column::LEFT, true},
               {"Channel", Column::LEFT, true},
               {"Start"},
               {"End"},
               {"State"}});
  for (Scheduling* timer : timers) {
    table.addRow({{std::to_string(timer->getId()), Tone::FAINT},
                  {timer->getName(), Tone::BOLD},
                  {timer->getTargetServiceName()},
                  {momentText(timer->getStartTimeT(), now), Tone::ACCENT},
                  {momentText(timer->getEndTimeT(), timer->getStartTimeT()), Tone::FAINT},
                  {timer->isActive() ? "recording" : "", Tone::WARNING}});
  }
  if (table.empty()) {
    context.output.message("There are no timers; \"tv record\" makes one");
  } else {
    context.output.table(table);
  }
}

int timers(Context& context) {
  const Session::ServicesHeld held = context.session.waitForChannels(context.interrupt);
  showTimers(context, recorderOf(context.session.plugin()).getScheduled());
  return EXIT_DONE;
}

int cancel(Context& context, const std::string& id) {
  const Session::ServicesHeld held = context.session.waitForChannels(context.interrupt);
  Scheduling& timer = chooseTimer(context, id);
  const Json told = timerJson(timer);
  if (!recorderOf(context.session.plugin()).cancelScheduling(&timer)) {
    throw Failure("timer " + id + " could not be cancelled; \"" + context.session.setup().data + "/tv.log\" tells why");
  }
  if (context.output.json()) {
    context.output.value(told);
  } else {
    context.output.message("Timer " + id + " is cancelled", Tone::GOOD);
  }
  return EXIT_DONE;
}

int change(Context& context, const TimerChange& wish) {
  const Session::ServicesHeld held = context.session.waitForChannels(context.interrupt);
  Scheduling& timer = chooseTimer(context, wish.id);
  const std::int64_t now = host::now();
  const std::int64_t start = wish.from.empty() ? timer.getStartTimeT() : readMoment(wish.from, now);
  const std::int64_t end = wish.to.empty() ? timer.getEndTimeT() : readMoment(wish.to, std::max(start, now));
  const std::string name = wish.name.value_or(timer.getName());
  auto* const service = dynamic_cast<Service*>(timer.getTargetService());
  if (!recorderOf(context.session.plugin()).modifyScheduling(&timer, narrowed(start), narrowed(end), name)) {
    throw Failure("timer " + wish.id + " stays as it was: " + refusalOf(context, {service, start, end, timer.getId()}));
  }
  tell(context, timer);
  return EXIT_DONE;
}

}  // namespace

void addRecordCommands(Syntax& app, Action& action) {
  auto wish = std::make_shared<RecordWish>();
  Syntax recording = app.command("record", "Records a channel or a programme");
  recording.optionalWord("CHANNEL", wish->channel, "A number, a name or #ID");
  recording.option("--for", wish->minutes, "MINUTES", "From now on, so many minutes");
  recording.option("--from", wish->from, "T", "When to begin: HH:MM, YYYY-MM-DDTHH:MM or seconds since the epoch");
  recording.option("--to", wish->to, "T", "When to end, as above");
  recording.option("--name", wish->name, "N", "The recording's name; without it that of what is on");
  recording.option("--programme", wish->programme, "ID", "A programme of the guide");
  recording.whenChosen([&action, wish] {
    check(*wish);
    action = [wish](Context& context) { return record(context, *wish); };
  });

  Syntax listing = app.command("timers", "What is going to be recorded");
  listing.whenChosen([&action] {
    if (!action) action = timers;
  });
  auto cancelled = std::make_shared<std::string>();
  Syntax cancelling = listing.command("cancel", "Cancels a timer; what it has recorded stays");
  cancelling.word("ID", *cancelled, "The timer's number");
  cancelling.whenChosen([&action, cancelled] {
    readId(*cancelled);
    action = [cancelled](Context& context) { return cancel(context, *cancelled); };
  });

  auto changed = std::make_shared<TimerChange>();
  Syntax changing = listing.command("change", "Changes times or name of a timer");
  changing.word("ID", changed->id, "The timer's number");
  changing.option("--from", changed->from, "T", "When to begin");
  changing.option("--to", changed->to, "T", "When to end");
  changing.option("--name", changed->name, "N", "Its name");
  changing.whenChosen([&action, changed] {
    readId(changed->id);
    if (changed->from.empty() && changed->to.empty() && !changed->name) {
      throw UsageError("say what to change: --from, --to or --name");
    }
    if (!changed->from.empty()) readMoment(changed->from, 0);
    if (!changed->to.empty()) readMoment(changed->to, 0);
    action = [changed](Context& context) { return change(context, *changed); };
  });
}

}  // namespace tv

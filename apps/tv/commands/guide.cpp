#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>

#include "ChannelChoice.h"
#include "Commands.h"
#include "Contents.h"
#include "Failure.h"
#include "GuideWait.h"
#include "Moment.h"
#include "Session.h"
#include "host/HostClock.h"
#include "velmora/Program.h"
#include "velmora/Service.h"

namespace tv {
namespace {

struct GuideWish {
  std::string channel;
  std::optional<int> hours;
};

constexpr int SECONDS_IN_HOUR = 3600;
constexpr int LONGEST = 24 * 366;  // hours
constexpr std::int64_t BAR = 8;    // columns

/// The elapsed part of a programme.
std::string elapsed(Program& program, std::int64_t now) {
  const std::int64_t start = program.getStartTimeT();
  const std::int64_t length = std::max<std::int64_t>(program.getEndTimeT() - start, 1);
  const std::int64_t full = std::clamp<std::int64_t>((now - start) * BAR / length, 0, BAR);
  std::string bar;
  for (std::int64_t i = 0; i < BAR; ++i) bar += i < full ? "\xE2\x94\x81" : "\xE2\x94\x80";
  return bar;
}

/// Programmes as a table, with their channel where several are mixed.
class ProgrammeTable {
 public:
  ProgrammeTable(std::int64_t time, bool withChannel)
      : _time(time), _withChannel(withChannel), _table(columns(withChannel)) {}

  void add(Program& program) {
    const ParentalRating* rating = program.getParentalRating();
    const bool over = program.getEndTimeT() <= _time;
    const bool onAir = !over && program.getStartTimeT() <= _time;
    std::vector<Cell> cells;
    if (_withChannel) cells.emplace_back(program.getService() == nullptr ? "" : program.getService()->getName());
    cells.emplace_back(momentText(program.getStartTimeT(), _time), onAir ? Tone::ACCENT : Tone::PLAIN);
    cells.emplace_back(momentText(program.getEndTimeT(), program.getStartTimeT()), Tone::FAINT);
    cells.emplace_back(program.getTitle(), over ? Tone::FAINT : Tone::BOLD);
    const bool rated = rating != nullptr && rating->getValue() > 0;
    cells.emplace_back(rated ? std::to_string(rating->getValue()) : "", Tone::WARNING);
    _table.addRow(std::move(cells));
  }

  const Table& table() const { return _table; }

 private:
  static std::vector<Column> columns(bool withChannel) {
    std::vector<Column> all;
    if (withChannel) all.push_back({"Channel", Column::LEFT, true});
    all.insert(all.end(), {{"Start"}, {"End"}, {"Programme", Column::LEFT, true}, {"Rating", Column::RIGHT}});
    return all;
  }

  const std::int64_t _time;
  const bool _withChannel;
  Table _table;
};

/// Whether the plugin has a programme that is no longer broadcast so.
bool isStale(const Context& context, Program* program) {
  const Service* service = program->getService();
  if (service == nullptr) return false;
  return !context.session.sideDoor().isCurrent(service->getId(), program->getId());
}

/// The programmes of a channel, by start.
std::vector<Program*> programmesOf(const Context& context, Service& service) {
  std::vector<Program*> all = service.getPrograms(true);
  std::erase_if(all, [&](Program* program) { return isStale(context, program); });
  return all;
}

/// The programme on air and the next one; null without.
std::pair<Program*, Program*> nowAndNext(const std::vector<Program*>& programmes, std::int64_t time) {
  const auto next = std::find_if(programmes.begin(), programmes.end(),
                                 [&](Program* program) { return program->getStartTimeT() > time; });
  Program* current = next == programmes.begin() ? nullptr : *std::prev(next);
  if (current != nullptr && current->getEndTimeT() <= time) current = nullptr;
  return {current, next == programmes.end() ? nullptr : *next};
}

int now(Context& context) {
  const Session::ServicesHeld held = context.session.waitForChannels(context.interrupt);
  waitForGuide(context.session, context.output, context.interrupt);
  const std::int64_t time = host::now();
  Json list = Json::array();
  Table table({{"No", Column::RIGHT},
               {"Channel", Column::LEFT, true},
               {"Now", Column::LEFT, true},
               {""},
               {"Until"},
               {"Next", Column::LEFT, true}});
  for (Service* service : context.session.plugin().getServices()) {
    const auto [current, next] = nowAndNext(programmesOf(context, *service), time);
    list.push_back(
        {{"channel", channelKeyJson(*service)}, {"current", programmeJson(current)}, {"next", programmeJson(next)}});
    const int number = service->getChannelNumber();
    table.addRow({{number > 0 ? std::to_string(number) : "", Tone::ACCENT},
                  {service->getName(), Tone::BOLD},
                  {current == nullptr ? "" : current->getTitle()},
                  {current == nullptr ? "" : elapsed(*current, time), Tone::ACCENT},
                  {current == nullptr ? "" : momentText(current->getEndTimeT(), time), Tone::FAINT},
                  {next == nullptr ? "" : momentText(next->getStartTimeT(), time) + " " + next->getTitle()}});
  }
  if (context.output.json()) {
    context.output.value(list);
  } else {
    context.output.table(table);
  }
  return EXIT_DONE;
}

std::vector<Program*> programmes(const Context& context, Service& service, const GuideWish& wish, std::int64_t time) {
  std::vector<Program*> all = programmesOf(context, service);
  if (wish.hours) {
    const std::int64_t end = time + std::int64_t{*wish.hours} * SECONDS_IN_HOUR;
    std::erase_if(all,
                  [&](Program* program) { return program->getEndTimeT() <= time || program->getStartTimeT() >= end; });
  }
  return all;
}

int guide(Context& context, const GuideWish& wish) {
  const Session::ServicesHeld held = context.session.waitForChannels(context.interrupt);
  std::vector<Service*> services = context.session.plugin().getServices();
  if (!wish.channel.empty()) services = {services[chooseChannel(wish.channel, channelKeys(services))]};
  waitForGuide(context.session, context.output, context.interrupt);
  const std::int64_t time = host::now();
  Json list = Json::array();
  for (Service* service : services) {
    Json shown = Json::array();
    ProgrammeTable table(time, false);
    for (Program* program : programmes(context, *service, wish, time)) {
      shown.push_back(programmeJson(program));
      table.add(*program);
    }
    list.push_back({{"channel", channelKeyJson(*service)}, {"programmes", shown}});
    if (context.output.json()) continue;
    context.output.line("\n" + toned(service->getName(), Tone::BOLD, context.output.style().colours) +
                        (table.table().empty() ? ": no programmes" : ""));
    if (!table.table().empty()) context.output.table(table.table());
  }
  if (context.output.json()) context.output.value(list);
  return EXIT_DONE;
}

int search(Context& context, const std::vector<std::string>& words) {
  const Session::ServicesHeld held = context.session.waitForChannels(context.interrupt);
  waitForGuide(context.session, context.output, context.interrupt);
  const std::int64_t time = host::now();
  Json list = Json::array();
  ProgrammeTable table(time, true);
  for (Program* program : context.session.plugin().search(words)) {
    if (isStale(context, program)) continue;
    list.push_back(programmeJson(program));
    table.add(*program);
  }
  if (context.output.json()) {
    context.output.value(list);
  } else if (table.table().empty()) {
    context.output.message("Nothing found");
  } else {
    context.output.table(table.table());
  }
  return EXIT_DONE;
}

}  // namespace

void addGuideCommands(Syntax& app, Action& action) {
  app.command("now", "The current and the next programme of every channel").whenChosen([&action] { action = now; });

  auto wish = std::make_shared<GuideWish>();
  Syntax guiding = app.command("guide", "Programmes of one channel or of all");
  guiding.optionalWord("CHANNEL", wish->channel, "A number, a name or #ID");
  guiding.number("--hours", wish->hours, 1, LONGEST, "Only what is on in the next N hours");
  guiding.whenChosen([&action, wish] { action = [wish](Context& context) { return guide(context, *wish); }; });

  auto words = std::make_shared<std::vector<std::string>>();
  Syntax searching = app.command("search", "Programmes with any of the words in title or description");
  searching.words("WORD", *words, "A word, or several in quotes");
  searching.whenChosen([&action, words] {
    const auto blank = [](const std::string& word) { return word.find_first_not_of(" \t\n") == std::string::npos; };
    if (std::ranges::any_of(*words, blank)) throw UsageError("a word to search for is empty");
    action = [words](Context& context) { return search(context, *words); };
  });
}

}  // namespace tv

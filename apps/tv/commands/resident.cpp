#include <cstdint>
#include <limits>
#include <utility>

#include "Commands.h"
#include "Failure.h"
#include "Moment.h"
#include "NoticeWatch.h"
#include "Session.h"
#include "Text.h"
#include "host/HostClock.h"

namespace tv {
namespace {

constexpr std::chrono::milliseconds TURN{50};
constexpr std::int64_t FOR_EVER = std::numeric_limits<std::int64_t>::max();

/// "state  before=inactive  now=active" from a notice.
std::string shown(const Json& notice, bool colours) {
  std::string text = toned(notice.at("notice").get<std::string>(), Tone::BOLD, colours);
  for (const auto& [key, value] : notice.items()) {
    if (key == "notice") continue;
    const bool named = value.is_object() && value.contains("name");
    const Json& told = named                                          ? value.at("name")
                       : value.is_object() && value.contains("title") ? value.at("title")
                                                                      : value;
    const std::string plain =
        told.is_string() ? told.get<std::string>() : told.dump(-1, ' ', false, Json::error_handler_t::replace);
    text += "  " + toned(key + "=", Tone::FAINT, colours) + printable(plain);
  }
  return text;
}

/// Prints notices until `end` (seconds since the epoch by the host's clock) or an interrupt.
int stay(Context& context, std::int64_t end) {
  const Session::Residence residence(context.session);
  BroadcastPlugin& plugin = context.session.plugin();
  NoticeWatch watch(plugin);
  PluginState state = PLUGIN_INACTIVE;
  while (host::now() < end) {
    context.interrupt.check();
    if (!context.output.good()) return EXIT_DONE;  // nobody reads any more
    context.session.goOnWithReceiver();
    const PluginState before = std::exchange(state, plugin.getState());
    if (state == PLUGIN_ACTIVE && before != PLUGIN_ACTIVE) plugin.openEsgDataFeeds();  // of what was scanned meanwhile
    const std::optional<Json> notice = watch.next(TURN);
    if (!notice) continue;
    if (context.output.json()) {
      context.output.objectLine(*notice);
    } else {
      context.output.line(shown(*notice, context.output.style().colours));
    }
  }
  return EXIT_DONE;
}

}  // namespace

void addResidentCommands(Syntax& app, Action& action) {
  app.command("watch", "Stays and prints every notice of the plugin as it comes").whenChosen([&action] {
    action = [](Context& context) { return stay(context, FOR_EVER); };
  });

  auto until = std::make_shared<std::string>();
  Syntax running = app.command("run", "Stays, so that other commands are served at once");
  running.option("--until", *until, "TIME", "When to end: HH:MM, YYYY-MM-DDTHH:MM or seconds since the epoch");
  running.whenChosen([&action, until] {
    if (!until->empty()) readMoment(*until, 0);  // a wrong one is told before anything starts
    action = [until](Context& context) {
      return stay(context, until->empty() ? FOR_EVER : readMoment(*until, host::now()));
    };
  });
}

}  // namespace tv

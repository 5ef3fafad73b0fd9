
#include "Commands.h"
#include "Failure.h"
#include "LocationChoice.h"
#include "LocationFiles.h"
#include "Session.h"
#include "Text.h"

namespace tv {
namespace {

int locations(Context& context) {
  Session& session = context.session;
  checkLocationFiles(session.setup().library);
  // With a receiver the plugin offers what suits its type; places can be asked for without one too.
  session.expectReceiver(context.interrupt);
  const std::vector<Location> places = knownLocations(session.plugin());
  Json list = Json::array();
  Table table({{"Location", Column::LEFT, true}, {"Icon"}});
  for (const Location& place : places) {
    list.push_back({{"name", place.name}, {"icon", place.icon}});
    table.addRow({place.name, {place.icon, Tone::FAINT}});
  }
  if (context.output.json()) {
    context.output.value(list);
  } else {
    context.output.table(table);
  }
  return EXIT_DONE;
}

}  // namespace

void addLocationsCommand(Syntax& app, Action& action) {
  app.command("locations", "Places that can be scanned").whenChosen([&action] { action = locations; });
}

}  // namespace tv

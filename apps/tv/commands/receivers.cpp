#include <charconv>
#include <limits>

#include "Commands.h"
#include "Failure.h"
#include "ReceiverRequests.h"
#include "Session.h"
#include "Text.h"
#include "velmora/Velmora.h"

namespace tv {
namespace {

struct Selection {
  std::string type;
  std::string first;
  std::string second;
};

struct Address {
  std::string host;
  std::string port;
};

Json statisticsJson(const std::optional<ReceiverStatistics>& statistics) {
  if (!statistics) return Json::object();
  return {{"frequency", statistics->frequency},
          {"bandwidth", statistics->bandwidth},
          {"locked", statistics->locked},
          {"quality", statistics->quality},
          {"battery", statistics->battery}};
}

Json deviceJson(const Session& session, Device& device, std::size_t index) {
  Json json = Json::object();
  json["index"] = index;
  if (const auto text = session.sideDoor().deviceText(device.getHandle())) json["name"] = *text;
  return json;
}

Json sourceJson(const SideDoor::Source& source) {
  return {{"type", source.type},
          {"source", source.source},
          {"options", source.options},
          {"tuners", source.tuners},
          {"present", source.isPresent}};
}

void showSources(Context& context, const std::vector<SideDoor::Source>& sources) {
  Table table({{"Type"}, {"Source", Column::LEFT, true}, {"Options"}, {"State"}});
  for (const SideDoor::Source& source : sources) {
    const char* state = !source.inUse ? "stored choice" : source.isPresent ? "there" : "away";
    const Tone tone = !source.inUse ? Tone::FAINT : source.isPresent ? Tone::GOOD : Tone::BAD;
    table.addRow({source.type, source.source, {source.options, Tone::FAINT}, {state, tone}});
  }
  if (!table.empty()) context.output.table(table);
}

void show(Context& context, const Json& devices, const std::optional<ReceiverStatistics>& statistics) {
  if (const auto sources = context.session.sideDoor().sources()) {
    showSources(context, *sources);
  } else {
    context.output.line(counted(devices.size(), "device") + "; what they are is not available with this middleware");
  }
  if (!statistics) return;
  context.output.line("Last reception: " + frequencyText(statistics->frequency, context.session.frequencyUnit()) +
                      (statistics->locked ? ", locked" : ", no lock") + ", quality " +
                      std::to_string(statistics->quality) + " %");
}

int list(Context& context) {
  Session& session = context.session;
  const std::vector<Device*> devices = session.plugin().getDevices();
  session.expectReceiver(context.interrupt);
  Json list = Json::array();
  for (std::size_t i = 0; i < devices.size(); ++i) list.push_back(deviceJson(session, *devices[i], i));
  const std::optional<ReceiverStatistics> statistics = session.statistics();
  const std::string tuner = tunerType(session.library(), &session.plugin());
  if (!context.output.json()) {
    if (devices.empty()) {
      context.output.message(
          "No receiver is in use: give one with --receiver TYPE=file:DIRECTORY, or choose one for good with \"tv "
          "receivers select\"");
    }
    show(context, list, statistics);
    return EXIT_DONE;
  }
  Json result{{"devices", list}, {"statistics", statisticsJson(statistics)}, {"tuner", tuner}};
  if (const auto sources = session.sideDoor().sources()) {
    result["sources"] = Json::array();
    for (const SideDoor::Source& source : *sources) {
      if (source.inUse) result["sources"].push_back(sourceJson(source));
      if (!source.inUse) result["stored"] = sourceJson(source);
    }
  }
  context.output.value(result);
  return EXIT_DONE;
}

/// The end of a request that was granted: a line for people, the receivers as they are now for programs.
int granted(Context& context, const std::string& text) {
  if (context.output.json()) return list(context);
  context.output.message(text);
  return EXIT_DONE;
}

/// Requests are about all receivers. Where there is none yet, a record that stands for no device takes its place.
ReceiverRequests requests(Session& session) {
  static durix_device none{};
  const std::vector<Device*> devices = session.plugin().getDevices();
  return {session.library(), devices.empty() ? &none : devices.front()->getHandle()};
}

int select(Context& context, const Selection& selection) {
  const ReceiverType type = receiverType(selection.type);
  if (type == RECEIVER_NONE) {
    throw UsageError("there is no receiver type \"" + selection.type + "\"; there are " +
                     quotedList(receiverTypeNames(), "and"));
  }
  // The same rules as for --receiver, so that a choice that can never work is not stored.
  const std::string options = selection.second.empty() ? "" : "," + selection.second;
  std::vector<ReceiverChoice> choice{readReceiver(selection.type + "=" + selection.first + options)};
  checkSources(choice, context.directory);
  if (!requests(context.session).select(type, choice.front().kind + ":" + choice.front().path, selection.second)) {
    throw Failure("the middleware refused the receiver; \"" + context.session.setup().data + "/tv.log\" tells why");
  }
  return granted(context, "Used from the next command on when no --receiver is given");
}

int setAddress(Context& context, const Address& address) {
  int port = 0;
  const char* end = address.port.data() + address.port.size();
  const auto [stop, error] = std::from_chars(address.port.data(), end, port);
  if (error != std::errc() || stop != end || port < 1 || port > std::numeric_limits<std::uint16_t>::max()) {
    throw UsageError("\"" + address.port + "\" is not a port from 1 to 65535");
  }
  if (address.host.empty()) throw UsageError("the address is empty");
  if (!requests(context.session).setAddress(address.host, port)) {
    throw Failure("the middleware refused the address; \"" + context.session.setup().data + "/tv.log\" tells why");
  }
  return granted(context, "Used from the next command on when no --receiver is given");
}

int reset(Context& context) {
  if (!requests(context.session).reset()) {
    throw Failure("the middleware could not forget the receivers; \"" + context.session.setup().data +
                  "/tv.log\" tells why");
  }
  return granted(context, "The stored choice of receivers is forgotten");
}

}  // namespace

void addReceiverCommands(Syntax& app, Action& action) {
  Syntax command = app.command("receivers", "Receivers, their reception, and requests to them");
  command.whenChosen([&action] {
    if (!action) action = list;
  });

  auto selection = std::make_shared<Selection>();
  Syntax selecting = command.command("select", "Chooses a receiver for later commands without --receiver");
  selecting.word("TYPE", selection->type, "dvb-t, dvb-c, dvb-s, atsc or isdb-t");
  selecting.word("A", selection->first, "The source, as in file:DIRECTORY");
  selecting.optionalWord("B", selection->second, "Options, as in time=stream,tuners=2");
  selecting.whenChosen(
      [&action, selection] { action = [selection](Context& context) { return select(context, *selection); }; });

  auto address = std::make_shared<Address>();
  Syntax addressing = command.command("address", "Sets the address of a network receiver");
  addressing.word("HOST", address->host, "Name or address");
  addressing.word("PORT", address->port, "1 to 65535");
  addressing.whenChosen(
      [&action, address] { action = [address](Context& context) { return setAddress(context, *address); }; });

  command.command("reset", "Forgets the stored choice").whenChosen([&action] { action = reset; });
}

}  // namespace tv

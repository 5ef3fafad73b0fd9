#include <algorithm>

#include "ChannelChoice.h"
#include "Commands.h"
#include "Contents.h"
#include "Failure.h"
#include "HiddenNote.h"
#include "Session.h"
#include "velmora/Recorder.h"
#include "velmora/Service.h"

namespace tv {
namespace {

std::string remarks(Service& service) {
  std::string text;
  const auto add = [&](bool holds, const char* remark) {
    if (holds) text += (text.empty() ? "" : ", ") + std::string(remark);
  };
  add(service.isProtected(), "protected");
  add(!service.isPlayable(), "receiver busy");
  add(service.hasTag("Recorded"), "recorded");
  return text;
}

void show(Context& context, const std::vector<Service*>& services) {
  if (context.output.json()) {
    Json list = Json::array();
    for (Service* service : services) list.push_back(channelJson(*service));
    context.output.value(list);
    return;
  }
  Table table({{"No", Column::RIGHT},
               {"Channel", Column::LEFT, true},
               {"Type"},
               {"Network", Column::RIGHT},
               {"ID", Column::RIGHT},
               {"Remarks"}});
  for (Service* service : services) {
    const int number = service->getChannelNumber();
    const bool radio = service->getStreamType() == AvContent::STREAM_RADIO;
    table.addRow({{number > 0 ? std::to_string(number) : "", Tone::ACCENT},
                  {service->getName(), Tone::BOLD},
                  {radio ? "radio" : "tv", radio ? Tone::FAINT : Tone::PLAIN},
                  {std::to_string(service->getOriginalNetwork()), Tone::FAINT},
                  {"#" + std::to_string(service->getId()), Tone::FAINT},
                  {remarks(*service), Tone::WARNING}});
  }
  if (!table.empty()) context.output.table(table);
}

int channels(Context& context) {
  const Session::ServicesHeld held = context.session.waitForChannels(context.interrupt);
  const std::vector<Service*> services = context.session.plugin().getServices();
  show(context, services);
  tellHidden(context);
  return EXIT_DONE;
}

/// The plugin takes a stored order up when it reloads its list. It reloads when it is told which services are being
/// recorded, and that is told as it is.
void reload(BroadcastPlugin& plugin) {
  Recorder* recorder = plugin.getRecorder();
  plugin.setPlayableStatus(recorder == nullptr ? std::vector<Service*>() : recorder->getActiveSchedulingsServices());
}

int order(Context& context, const std::vector<std::string>& texts) {
  const Session::ServicesHeld held = context.session.waitForChannels(context.interrupt);
  BroadcastPlugin& plugin = context.session.plugin();
  const std::vector<Service*> services = plugin.getServices();
  const std::vector<ChannelKey> keys = channelKeys(services);
  std::vector<Service*> ordered;
  const auto append = [&](Service* service) {
    if (std::ranges::find(ordered, service) == ordered.end()) ordered.push_back(service);
  };
  for (const std::string& text : texts) append(services[chooseChannel(text, keys)]);
  for (Service* service : services) append(service);  // the others keep their order behind
  plugin.setServiceOrder(ordered);
  reload(plugin);
  const std::vector<Service*> now = plugin.getServices();
  if (now != ordered)
    throw Failure("the order could not be kept; \"" + context.session.setup().data + "/tv.log\" tells more");
  show(context, now);
  return EXIT_DONE;
}

}  // namespace

void addChannelCommands(Syntax& app, Action& action) {
  app.command("channels", "The channel list, in order").whenChosen([&action] { action = channels; });

  auto texts = std::make_shared<std::vector<std::string>>();
  Syntax command = app.command("order", "Puts channels first, in the order given, and keeps that");
  command.words("CHANNEL", *texts, "A number, a name or #ID");
  command.whenChosen([&action, texts] { action = [texts](Context& context) { return order(context, *texts); }; });
}

}  // namespace tv

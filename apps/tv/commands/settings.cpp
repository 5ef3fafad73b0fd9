#include <algorithm>
#include <optional>

#include "Commands.h"
#include "Failure.h"
#include "OptionValues.h"
#include "Session.h"
#include "Text.h"
#include "host/HostState.h"
#include "velmora/Velmora.h"

namespace tv {
namespace {

struct Wanted {
  std::string id;
  std::optional<std::string> value;
};

constexpr std::size_t MOST_VALUES_SHOWN = 6;

std::vector<Option*> options(Session& session) {
  std::vector<Option*> all = allOptions(*session.plugin().getOptions());
  for (Option* option : allOptions(Velmora::getInstance()->getOptions())) all.push_back(option);
  return all;
}

/// By its id, or by what follows the common start of the ids ("hide.radio").
Option* chooseOption(const std::string& id, const std::vector<Option*>& all) {
  std::vector<std::string> ids;
  for (Option* option : all) {
    if (option->getId() == id || option->getId() == "settings.option.id." + id) return option;
    ids.push_back(option->getId());
  }
  const std::vector<std::string> near = nearNames(id, ids);
  throw UsageError("there is no option \"" + id + "\"; " +
                   (near.empty() ? "\"tv settings\" lists what there is" : "is it " + quotedList(near) + "?"));
}

void change(Option& option, const std::string& value) {
  const std::string fault = valueFault(option, value);
  if (!fault.empty()) throw UsageError("option \"" + option.getId() + "\": " + fault);
  setOptionValue(option, value);
  host::rememberOption(option.getId(), value);
  if (!host::save()) throw Failure("the value holds now but could not be kept; the log tells more");
}

Json optionJson(const Option& option) {
  return {{"id", option.getId()},
          {"value", option.getValue()},
          {"type", optionTypeName(option.getType())},
          {"values", possibleValues(option)}};
}

std::string shownValues(const Option& option, bool all) {
  const std::vector<std::string> values = possibleValues(option);
  std::string text;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (!all && i == MOST_VALUES_SHOWN) return text + ", ... (" + std::to_string(values.size()) + ")";
    text += (i > 0 ? ", " : "") + values[i];
  }
  return text;
}

int settings(Context& context, const Wanted& wanted) {
  context.session.expectReceiver(context.interrupt);  // the places to choose from are those of its type
  std::vector<Option*> shown = options(context.session);
  if (!wanted.id.empty()) shown = {chooseOption(wanted.id, shown)};
  if (wanted.value) change(*shown.front(), *wanted.value);
  Json list = Json::array();
  Table table({{"Option"}, {"Value"}, {"Type"}, {"Values", Column::LEFT, true}});
  for (const Option* option : shown) {
    list.push_back(optionJson(*option));
    table.addRow({option->getId(),
                  {option->getValue(), Tone::ACCENT},
                  {optionTypeName(option->getType()), Tone::FAINT},
                  {shownValues(*option, shown.size() == 1), Tone::FAINT}});
  }
  if (context.output.json()) {
    context.output.value(list);
  } else {
    context.output.table(table);
  }
  return EXIT_DONE;
}

}  // namespace

void addSettingsCommand(Syntax& app, Action& action) {
  auto wanted = std::make_shared<Wanted>();
  Syntax command = app.command("settings", "The plugin's options; a value that is set is kept for later runs");
  command.optionalWord("ID", wanted->id, "The option, as in settings.option.id.hide.radio or hide.radio");
  command.optionalWord("VALUE", wanted->value, "Its new value");
  command.whenChosen([&action, wanted] { action = [wanted](Context& context) { return settings(context, *wanted); }; });
}

}  // namespace tv

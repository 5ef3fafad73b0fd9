#include "OptionValues.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "Text.h"

namespace tv {
namespace {

constexpr std::size_t MOST_SHOWN = 12;

std::optional<int> wholeNumber(const std::string& text) {
  int number = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || stop != text.data() + text.size()) return std::nullopt;
  return number;
}

std::string notPossible(const std::string& value, const std::vector<std::string>& possible) {
  const std::string start = "\"" + value + "\" is not one of its values";
  if (possible.size() <= MOST_SHOWN) return start + ": " + quotedList(possible, "and");
  const std::vector<std::string> near = nearNames(value, possible);
  return start + (near.empty() ? "" : "; is it " + quotedList(near) + "?");
}

}  // namespace

std::string optionTypeName(OptionType type) {
  switch (type) {
    case OPTION_TEXT_LIST:
      return "list";
    case OPTION_BOOL:
      return "bool";
    case OPTION_INTEGER:
      return "integer";
    case OPTION_LOCATION_LIST:
      return "location";
    case OPTION_ACTION:
      return "action";
  }
  return "text";
}

std::vector<std::string> possibleValues(const Option& option) {
  if (option.getType() == OPTION_BOOL) return {"true", "false"};
  std::vector<std::string> values = option.getPossibleStringValuesList();
  for (const int value : option.getPossibleIntValuesList()) values.push_back(std::to_string(value));
  std::vector<std::string> distinct;
  for (std::string& value : values) {
    if (std::ranges::find(distinct, value) == distinct.end()) distinct.push_back(std::move(value));
  }
  return distinct;
}

std::string valueFault(const Option& option, const std::string& value) {
  const OptionType type = option.getType();
  if (type == OPTION_ACTION) return "it is an action and has no value";
  if (option.isDisabled()) return "it cannot be changed now";
  const std::vector<std::string> possible = possibleValues(option);
  if (!possible.empty()) {
    return std::ranges::find(possible, value) != possible.end() ? "" : notPossible(value, possible);
  }
  if (type != OPTION_INTEGER) return "";
  const std::optional<int> number = wholeNumber(value);
  if (!number) return "\"" + value + "\" is not a whole number, or too large";
  return *number >= 0 ? "" : "it takes no negative number";
}

void setOptionValue(Option& option, const std::string& value) {
  switch (option.getType()) {
    case OPTION_BOOL:
      option.setValue(value == "true");
      break;
    case OPTION_INTEGER:
      option.setValue(wholeNumber(value).value_or(0));
      break;
    default:
      option.setValue(value);
  }
}

std::vector<Option*> allOptions(const std::vector<OptionGroup*>& groups) {
  std::vector<Option*> options;
  for (const OptionGroup* group : groups) {
    for (Option* option : group->getOptions()) options.push_back(option);
  }
  return options;
}

}  // namespace tv

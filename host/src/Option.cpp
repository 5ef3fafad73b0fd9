#include "velmora/Option.h"

#include <algorithm>
#include <charconv>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "host/src/ListenerList.h"
#include "host/src/Log.h"

namespace {

constexpr const char* SOURCE = "host/src/Option.cpp";

/// A whole decimal number that fits, else nothing.
std::optional<int> toInteger(const std::string& text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::string toText(bool value) {
  return value ? "true" : "false";
}

/// Which group an option is a member of: a change of the member is a change of the group too.
class Members {
 public:
  static void add(const Option* option, OptionGroup* group) {
    const std::lock_guard lock(all()._mutex);
    all()._groups[option] = group;
  }

  static void remove(const Option* option) {
    const std::lock_guard lock(all()._mutex);
    all()._groups.erase(option);
  }

  static OptionGroup* groupOf(const Option* option) {
    const std::lock_guard lock(all()._mutex);
    const auto known = all()._groups.find(option);
    return known == all()._groups.end() ? nullptr : known->second;
  }

 private:
  static Members& all() { return host::forEver<Members>(); }

  std::mutex _mutex;                                        // a leaf
  std::unordered_map<const Option*, OptionGroup*> _groups;  // guarded by _mutex
};

}  // namespace

/// Every value is kept as text: "true" or "false", decimal, or the text itself.
struct Option::State {
  const std::shared_ptr<host::ListenerList<OptionListener>> listeners = host::ListenerList<OptionListener>::make();

  mutable std::mutex mutex;  // a leaf: listeners are told without it
  // guarded by mutex
  OptionType type = OPTION_TEXT_LIST;
  OptionCategory category = OPTION_CATEGORY_PLAYBACK;
  std::string owner;
  std::string id;
  std::string description;
  bool hidden = false;
  bool disabled = false;
  std::string value;
  std::vector<std::string> texts;
  std::vector<int> numbers;

  /// `text` as a value of the option's type; nothing when it is none.
  std::optional<std::string> asValue(const std::string& text) const {
    if (type == OPTION_BOOL && text != "true" && text != "false") return std::nullopt;
    if (type != OPTION_INTEGER) return text;
    const auto number = toInteger(text);
    return number ? std::optional(std::to_string(*number)) : std::nullopt;
  }
};

OptionListener::~OptionListener() {
  host::ListenerList<OptionListener>::forget(this);
}

Option::Option() : _state(new State) {}

Option::~Option() {
  Members::remove(this);
  delete _state;
}

bool Option::isOptionGroup() const {
  return false;
}

void Option::init(OptionType type, OptionCategory category, const std::string& owner, const std::string& id,
                  const std::string& description, bool hidden) {
  const std::lock_guard lock(_state->mutex);
  _state->type = type;
  _state->category = category;
  _state->owner = owner;
  _state->id = id;
  _state->description = description;
  _state->hidden = hidden;
  _state->value = type == OPTION_BOOL ? toText(false) : type == OPTION_INTEGER ? "0" : "";
}

std::string Option::getId() const {
  const std::lock_guard lock(_state->mutex);
  return _state->id;
}

std::string Option::getOwner() const {
  const std::lock_guard lock(_state->mutex);
  return _state->owner;
}

std::string Option::getDescription() const {
  const std::lock_guard lock(_state->mutex);
  return _state->description;
}

OptionType Option::getType() const {
  const std::lock_guard lock(_state->mutex);
  return _state->type;
}

OptionCategory Option::getCategory() const {
  const std::lock_guard lock(_state->mutex);
  return _state->category;
}

std::string Option::getValue() const {
  const std::lock_guard lock(_state->mutex);
  return _state->value;
}

std::string Option::getStringValue() const {
  return getValue();
}

bool Option::getBooleanValue() const {
  return getValue() == "true";
}

int Option::getIntegerValue() const {
  return toInteger(getValue()).value_or(0);
}

bool Option::getValue(bool* value) const {
  if (!value || getType() != OPTION_BOOL) return false;
  *value = getBooleanValue();
  return true;
}

bool Option::getValue(int* value) const {
  if (!value || getType() != OPTION_INTEGER) return false;
  *value = getIntegerValue();
  return true;
}

void Option::setValue(const std::string& value) {
  {
    std::unique_lock lock(_state->mutex);
    auto next = _state->asValue(value);
    if (!next) {
      const std::string id = _state->id;
      lock.unlock();
      host::log()._log("WARN", SOURCE, __LINE__, "the option %s takes no value \"%s\"", id.c_str(), value.c_str());
      return;
    }
    if (*next == _state->value) return;
    _state->value = std::move(*next);
  }
  for (Option* told = this; told; told = Members::groupOf(told)) {
    const auto listeners = told->_state->listeners;
    listeners->tell([&](OptionListener& listener) { listener.optionChanged(told); });
  }
}

void Option::setValue(const char* value) {
  setValue(std::string(value ? value : ""));
}

void Option::setValue(bool value) {
  if (getType() == OPTION_INTEGER) {
    setValue(value ? 1 : 0);
  } else {
    setValue(toText(value));
  }
}

void Option::setValue(int value) {
  if (getType() == OPTION_BOOL) {
    setValue(value != 0);
  } else {
    setValue(std::to_string(value));
  }
}

void Option::setPossibleStringValuesList(const std::vector<std::string>& values) {
  const std::lock_guard lock(_state->mutex);
  _state->texts = values;
}

void Option::setPossibleIntValuesList(const std::vector<int>& values) {
  const std::lock_guard lock(_state->mutex);
  _state->numbers = values;
}

std::vector<std::string> Option::getPossibleStringValuesList() const {
  const std::lock_guard lock(_state->mutex);
  return _state->texts;
}

std::vector<int> Option::getPossibleIntValuesList() const {
  const std::lock_guard lock(_state->mutex);
  return _state->numbers;
}

void Option::setDisabled(bool disabled) {
  const std::lock_guard lock(_state->mutex);
  _state->disabled = disabled;
}

bool Option::isDisabled() const {
  const std::lock_guard lock(_state->mutex);
  return _state->disabled;
}

void Option::addOptionListener(OptionListener* listener) {
  _state->listeners->add(listener);
}

void Option::removeOptionListener(OptionListener* listener) {
  const auto listeners = _state->listeners;
  listeners->remove(listener);
}

std::string Option::boolToString(Option* option) {
  return toText(option && option->getBooleanValue());
}

OptionGroup::~OptionGroup() {
  for (Option* const member : _options) delete member;
}

bool OptionGroup::isOptionGroup() const {
  return true;
}

void OptionGroup::init(const std::string& owner, const std::string& id, const std::string& description) {
  Option::init(OPTION_ACTION, OPTION_CATEGORY_PLAYBACK, owner, id, description, false);
}

void OptionGroup::addOption(Option* option) {
  if (!option || std::find(_options.begin(), _options.end(), option) != _options.end()) return;
  _options.push_back(option);
  Members::add(option, this);
}

std::vector<Option*> OptionGroup::getOptions() const {
  return _options;
}

Option* OptionGroup::getOption(const std::string& id) const {
  const auto known =
      std::find_if(_options.begin(), _options.end(), [&](const Option* option) { return option->getId() == id; });
  return known == _options.end() ? nullptr : *known;
}

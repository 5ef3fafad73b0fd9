#pragma once

#include <string>
#include <vector>

class Option;

class OptionListener {
 public:
  virtual ~OptionListener();  // leaves every option
  virtual void optionChanged(Option* option) = 0;
};

enum OptionType {
  OPTION_TEXT_LIST = 2,
  OPTION_BOOL = 3,
  OPTION_INTEGER = 4,
  OPTION_LOCATION_LIST = 7,
  OPTION_ACTION = 11
};
enum OptionCategory { OPTION_CATEGORY_PLAYBACK = 1, OPTION_CATEGORY_LANGUAGE = 2, OPTION_CATEGORY_CHANNELS = 3 };

/// One setting. A change of the value tells the listeners, on the caller's thread and with no lock held; setting the
/// value that is there already tells nobody.
class Option {
 public:
  Option();
  Option(const Option&) = delete;
  Option& operator=(const Option&) = delete;
  virtual ~Option();
  virtual bool isOptionGroup() const;

  void init(OptionType type, OptionCategory category, const std::string& owner, const std::string& id,
            const std::string& description, bool hidden);

  std::string getId() const;
  std::string getOwner() const;
  std::string getDescription() const;
  OptionType getType() const;
  OptionCategory getCategory() const;

  std::string getValue() const;  // the value as text: "true"/"false", decimal, or the text itself
  std::string getStringValue() const;
  bool getBooleanValue() const;
  int getIntegerValue() const;
  bool getValue(bool* value) const;  // false and untouched when the option has no such value
  bool getValue(int* value) const;

  void setValue(const std::string& value);
  void setValue(const char* value);
  void setValue(bool value);
  void setValue(int value);

  void setPossibleStringValuesList(const std::vector<std::string>& values);
  void setPossibleIntValuesList(const std::vector<int>& values);
  std::vector<std::string> getPossibleStringValuesList() const;
  std::vector<int> getPossibleIntValuesList() const;
  void setDisabled(bool disabled);
  bool isDisabled() const;

  void addOptionListener(OptionListener* listener);
  void removeOptionListener(OptionListener* listener);  // returns when no other thread is inside it

  static std::string boolToString(Option* option);  // "true" or "false"

 private:
  struct State;
  State* const _state;  // owned
};

/// An option that holds and owns member options.
class OptionGroup : public Option {
 public:
  ~OptionGroup() override;
  bool isOptionGroup() const override;

  void init(const std::string& owner, const std::string& id, const std::string& description);
  void addOption(Option* option);
  std::vector<Option*> getOptions() const;
  Option* getOption(const std::string& id) const;  // null when absent

 private:
  std::vector<Option*> _options;  // owned; complete before the group is handed out
};

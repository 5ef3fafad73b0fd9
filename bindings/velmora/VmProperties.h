#pragma once

#include <map>
#include <string>

/// A set of named texts.
class VmProperties {
 public:
  void setProperty(const std::string& name, const std::string& value);
  bool getProperty(const std::string& name, std::string& value) const;  // false and `value` untouched when absent

 private:
  std::map<std::string, std::string> _values;
};

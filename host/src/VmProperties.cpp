#include "velmora/VmProperties.h"

void VmProperties::setProperty(const std::string& name, const std::string& value) {
  _values[name] = value;
}

bool VmProperties::getProperty(const std::string& name, std::string& value) const {
  const auto known = _values.find(name);
  if (known == _values.end()) return false;
  value = known->second;
  return true;
}

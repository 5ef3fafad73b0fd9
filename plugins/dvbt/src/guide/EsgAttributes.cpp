#include "guide/EsgAttributes.h"

#include "support/Lock.h"
#include "support/Log.h"
#include "support/MwMemory.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

RankedMutex getstring{LockRank::GetString};

}  // namespace

std::string getStringAttribute(const durix_esg_object* object, durix_attribute attribute) {
  const Lock lock(getstring);
  MwText text;
  if (durix_attribute_get_str(object, attribute, text.out()) != 0) {
    BC_ERR(LOG, "durix_attribute_get_str(%u) Failed", attribute);
  }
  return text.str();  // a text counts even when the call has failed
}

std::int32_t getIntAttribute(const durix_esg_object* object, durix_attribute attribute) {
  std::int32_t value = 0;
  if (durix_attribute_get_int(object, attribute, &value) == 0) return value;
  BC_ERR(LOG, "durix_attribute_get_int(%u) Failed", attribute);
  return 0;
}

bool getBoolAttribute(const durix_esg_object* object, durix_attribute attribute) {
  std::uint8_t value = 0;
  if (durix_attribute_get_bool(object, attribute, &value) == 0) return value != 0;
  BC_ERR(LOG, "durix_attribute_get_bool(%u) Failed", attribute);
  return false;
}

std::vector<int> getIntArrayAttribute(const durix_esg_object* object, durix_attribute attribute) {
  MwArray<std::int32_t> values;
  if (durix_attribute_get_array_int(object, attribute, values.items(), values.count()) != 0) {
    *values.items() = nullptr;  // unlike a text, an array of a failed call does not count
    BC_ERR(LOG, "durix_attribute_get_array_int(%u) Failed", attribute);
  }
  return {values.begin(), values.end()};
}

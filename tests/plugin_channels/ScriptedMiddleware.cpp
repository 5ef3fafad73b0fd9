#include "ScriptedMiddleware.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <ctime>

namespace {

ScriptedMiddleware* middleware = nullptr;
std::atomic<int> allocations = 0;
std::size_t readSoFar = 0;  // of the order file

constexpr durix_return_code FAILED = 3;

template <typename Type>
bool read(const durix_esg_object* object, durix_attribute attribute, Type* value) {
  middleware->note(std::to_string(attribute) + " of " + std::to_string(object->id));
  const auto* const found = middleware->find(object, attribute);
  if (found == nullptr || !std::holds_alternative<Type>(*found)) return false;
  *value = std::get<Type>(*found);
  return true;
}

}  // namespace

ScriptedMiddleware::ScriptedMiddleware() {
  middleware = this;
}

ScriptedMiddleware::~ScriptedMiddleware() {
  EXPECT_EQ(allocations, 0);
  middleware = nullptr;
}

void ScriptedMiddleware::addService(std::uint32_t id, const std::string& name, std::vector<int> types, int number) {
  services.push_back({1, id, 0});
  attribute(id, DURIX_ATTRIBUTE_NAME) = name;
  attribute(id, DURIX_ATTRIBUTE_STREAM_TYPES) = std::move(types);
  attribute(id, DURIX_ATTRIBUTE_CHANNEL_NUMBER) = number;
  attribute(id, DURIX_ATTRIBUTE_PROTECTED) = false;
}

std::vector<std::string> ScriptedMiddleware::calls() {
  const std::lock_guard<std::mutex> lock(_mutex);
  return std::exchange(_calls, {});
}

void ScriptedMiddleware::note(const std::string& call) {
  const std::lock_guard<std::mutex> lock(_mutex);
  _calls.push_back(call);
}

const ScriptedMiddleware::Value* ScriptedMiddleware::find(const durix_esg_object* object,
                                                          durix_attribute attribute) const {
  const auto found = _attributes.find({object->id, attribute});
  return found == _attributes.end() ? nullptr : &found->second;
}

void* ostiv_mem_calloc(size_t count, size_t size) {
  ++allocations;
  return std::calloc(count, size);
}

void ostiv_mem_free(void* memory) {
  if (memory != nullptr) --allocations;
  std::free(memory);
}

durix_return_code durix_attribute_get_str(const durix_esg_object* object, durix_attribute attribute, char** value) {
  if (middleware->onText) middleware->onText();
  std::string text;
  if (!read(object, attribute, &text)) return FAILED;
  *value = static_cast<char*>(ostiv_mem_calloc(text.size() + 1, 1));
  text.copy(*value, text.size());
  return text == "!" ? FAILED : 0;  // a call that fails and yet leaves a text
}

durix_return_code durix_attribute_get_int(const durix_esg_object* object, durix_attribute attribute, int32_t* value) {
  *value = 77;  // a failed call may have written
  return read(object, attribute, value) ? 0 : FAILED;
}

durix_return_code durix_attribute_get_bool(const durix_esg_object* object, durix_attribute attribute, uint8_t* value) {
  bool flag = false;
  *value = 77;
  if (!read(object, attribute, &flag)) return FAILED;
  *value = flag ? 2 : 0;
  return 0;
}

durix_return_code durix_attribute_get_array_int(const durix_esg_object* object, durix_attribute attribute,
                                                int32_t** values, uint32_t* count) {
  std::vector<int> numbers;
  if (!read(object, attribute, &numbers)) return FAILED;
  *values = static_cast<int32_t*>(ostiv_mem_calloc(numbers.size() + 1, sizeof(int32_t)));
  *count = static_cast<uint32_t>(numbers.size());
  std::copy(numbers.begin(), numbers.end(), *values);
  return 0;
}

durix_return_code durix_services_get(const durix_provider*, durix_esg_object** services, uint32_t* count) {
  middleware->note("services");
  if (middleware->onServices) middleware->onServices();
  const std::vector<durix_esg_object>& given = middleware->services;
  *services = static_cast<durix_esg_object*>(std::calloc(given.size() + 1, sizeof(durix_esg_object)));
  *count = static_cast<uint32_t>(given.size());
  std::copy(given.begin(), given.end(), *services);
  return 0;
}

uint32_t ostiv_localtime_s(int64_t seconds, ostiv_tm* local) {
  const std::time_t time = seconds;
  std::tm fields{};
  if (seconds < 0 || localtime_r(&time, &fields) == nullptr) return FAILED;
  *local = {fields.tm_sec,  fields.tm_min,  fields.tm_hour, fields.tm_mday, fields.tm_mon,
            fields.tm_year, fields.tm_wday, fields.tm_yday, fields.tm_isdst};
  return 0;
}

uint32_t ostiv_file_open(ostiv_file* file, const char*, const char*) {
  readSoFar = 0;
  file->size = static_cast<uint32_t>(middleware->orderFile.size()) + middleware->lostBytes;
  return middleware->orderFile.empty() ? FAILED : 0;
}

uint32_t ostiv_file_read(ostiv_file*, void* buffer, uint32_t size, uint32_t* bytes_read) {
  middleware->note("read " + std::to_string(size));
  *bytes_read = static_cast<uint32_t>(middleware->orderFile.copy(static_cast<char*>(buffer), size, readSoFar));
  readSoFar += *bytes_read;
  return 0;
}

uint32_t ostiv_file_close(ostiv_file*) {
  return 0;
}

// Not asked here.
uint32_t ostiv_file_write(ostiv_file*, const void*, uint32_t) {
  return FAILED;
}
durix_return_code durix_esg_object_feeds_get(const durix_esg_object*, durix_esg_object**, uint32_t*) {
  return FAILED;
}
durix_return_code durix_provider_mount(const durix_provider*) {
  return FAILED;
}
durix_return_code durix_provider_unmount(const durix_provider*) {
  return FAILED;
}
durix_return_code durix_provider_activate(const durix_provider*) {
  return FAILED;
}
durix_return_code durix_provider_deactivate(const durix_provider*) {
  return FAILED;
}
durix_return_code durix_provider_match(const durix_provider*, durix_provider_protocol, durix_device_receiver_type) {
  return FAILED;
}

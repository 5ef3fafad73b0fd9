#include "FakeMiddleware.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "host/HostClock.h"
#include "host/HostLog.h"
#include "support/Gate.h"

namespace {

FakeMiddleware* middleware = nullptr;
std::atomic<int> allocations = 0;

constexpr durix_return_code FAILED = 3;
constexpr std::uint32_t FEED = 1000000;  // a feed's identifier is this and its number

template <typename Item>
Item* copyOf(const std::vector<Item>& items) {
  if (items.empty()) return nullptr;
  auto* const memory = static_cast<Item*>(ostiv_mem_calloc(items.size(), sizeof(Item)));
  std::copy(items.begin(), items.end(), memory);
  return memory;
}

char* textCopy(const std::string& text) {
  return copyOf(std::vector<char>(text.c_str(), text.c_str() + text.size() + 1));
}

template <typename Map, typename Key>
auto valueOr(const Map& map, const Key& key, typename Map::mapped_type fallback) {
  const auto found = map.find(key);
  return found == map.end() ? fallback : found->second;
}

}  // namespace

FakeMiddleware::FakeMiddleware() {
  middleware = this;
  gate::open();
  host::setClock([this] { return _time.load(); });
  host::setLogSink([this](const host::LogLine& line) {
    const std::lock_guard<std::mutex> lock(_mutex);
    _lines.push_back(line.level + " " + line.message);
  });
}

FakeMiddleware::~FakeMiddleware() {
  EXPECT_EQ(allocations, 0) << "memory of the middleware was kept";
  host::setLogSink({});
  host::setClock({});
  middleware = nullptr;
}

void FakeMiddleware::addService(std::uint32_t id) {
  services.push_back({1, id, 0});
  texts[{id, DURIX_ATTRIBUTE_NAME}] = "S" + std::to_string(id);
  numbers[{id, DURIX_ATTRIBUTE_CHANNEL_NUMBER}] = static_cast<int>(id);
}

void FakeMiddleware::addEvent(std::uint32_t service, std::uint32_t id, int start, int end, const std::string& title) {
  events[service].push_back({2, id, 0});
  texts[{id, DURIX_ATTRIBUTE_NAME}] = title.empty() ? "P" + std::to_string(id) : title;
  texts[{id, DURIX_ATTRIBUTE_START_TIME_STR}] = std::to_string(start);
  texts[{id, DURIX_ATTRIBUTE_END_TIME_STR}] = std::to_string(end);
  texts[{id, DURIX_ATTRIBUTE_PARENTAL_RATING}] = "0";
  numbers[{id, DURIX_ATTRIBUTE_START_TIME}] = start;
  numbers[{id, DURIX_ATTRIBUTE_END_TIME}] = end;
}

void FakeMiddleware::setTime(std::int64_t seconds) {
  _time = seconds;
  host::clockChanged();
  host::settle();
}

void FakeMiddleware::note(const std::string& what) {
  const std::lock_guard<std::mutex> lock(_mutex);
  _calls.push_back(what);
}

std::vector<std::string> FakeMiddleware::calls() {
  const std::lock_guard<std::mutex> lock(_mutex);
  return std::exchange(_calls, {});
}

std::vector<std::string> FakeMiddleware::lines() {
  const std::lock_guard<std::mutex> lock(_mutex);
  return std::exchange(_lines, {});
}

extern "C" {

void* ostiv_mem_calloc(size_t count, size_t size) {
  ++allocations;
  return std::calloc(count, size);
}

void ostiv_mem_free(void* memory) {
  if (memory != nullptr) --allocations;
  std::free(memory);
}

durix_return_code durix_attribute_get_str(const durix_esg_object* object, durix_attribute attribute, char** value) {
  if (middleware->onText) middleware->onText(object->id);
  *value = textCopy(valueOr(middleware->texts, std::pair{object->id, attribute}, ""));
  return 0;
}

durix_return_code durix_attribute_get_int(const durix_esg_object* object, durix_attribute attribute, int32_t* value) {
  *value = object->id >= FEED ? static_cast<int>(object->id - FEED)
                              : valueOr(middleware->numbers, std::pair{object->id, attribute}, 0);
  return 0;
}

durix_return_code durix_attribute_get_bool(const durix_esg_object*, durix_attribute, uint8_t* value) {
  *value = 0;
  return 0;
}

durix_return_code durix_attribute_get_array_int(const durix_esg_object*, durix_attribute, int32_t** values,
                                                uint32_t* count) {
  *values = copyOf<int32_t>({1});
  *count = 1;
  return 0;
}

durix_return_code durix_program_events_get(const durix_esg_object* service, durix_esg_object** events,
                                           uint32_t* count) {
  middleware->note("events of " + std::to_string(service->id));
  const std::vector<durix_esg_object> known = valueOr(middleware->events, service->id, {});
  *events = copyOf(known);
  *count = static_cast<uint32_t>(known.size());
  return valueOr(middleware->eventsCode, service->id, DURIX_OK);
}

durix_return_code durix_services_get(const durix_provider*, durix_esg_object** services, uint32_t* count) {
  const std::vector<durix_esg_object>& given = middleware->services;
  *services = static_cast<durix_esg_object*>(std::calloc(given.size() + 1, sizeof(durix_esg_object)));
  std::copy(given.begin(), given.end(), *services);
  *count = static_cast<uint32_t>(given.size());
  return 0;
}

durix_return_code durix_esg_object_feeds_get(const durix_esg_object* object, durix_esg_object** feeds,
                                             uint32_t* count) {
  std::vector<durix_esg_object> known;
  for (const int number : valueOr(middleware->feedNumbers, object->id, {})) {
    known.push_back({3, FEED + static_cast<uint32_t>(number), 0});
  }
  *feeds = copyOf(known);
  *count = static_cast<uint32_t>(known.size());
  return 0;
}

durix_return_code durix_feed_open(const durix_esg_object* feed, uint32_t flags) {
  const int number = static_cast<int>(feed->id - FEED);
  middleware->note("open " + std::to_string(number) + (flags == 0 ? "" : " with flags"));
  if (middleware->onFeedOpen) middleware->onFeedOpen();
  return valueOr(middleware->openCode, number, DURIX_OK);
}

durix_return_code durix_feeds_close(const durix_esg_object* feeds, uint32_t count, uint32_t flags) {
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(flags, 0U);
  middleware->note("close " + std::to_string(feeds->id - FEED));
  return 0;
}

durix_return_code durix_providers_get(durix_handle*, durix_provider** providers, uint32_t* count) {
  *providers = copyOf<durix_provider>({{1, 1, 7, "Net", {0, 0}}});
  *count = 1;
  return 0;
}

durix_return_code durix_provider_mount(const durix_provider*) {
  return 0;
}
durix_return_code durix_provider_unmount(const durix_provider*) {
  return 0;
}
durix_return_code durix_provider_activate(const durix_provider*) {
  return 0;
}
durix_return_code durix_provider_deactivate(const durix_provider*) {
  return 0;
}
durix_return_code durix_provider_match(const durix_provider*, durix_provider_protocol, durix_device_receiver_type) {
  return 0;
}

uint32_t ostiv_time_get_system_time(int64_t* seconds) {
  *seconds = middleware->time();
  return 0;
}

uint32_t ostiv_localtime_s(int64_t, ostiv_tm*) {
  return FAILED;
}

char* ostiv_utf8_to_lower(const char* text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return textCopy(lower);
}

void ostiv_log_debug(const char* text) {
  middleware->note(std::string("debug ") + text);
}

uint32_t ostiv_file_open(ostiv_file* file, const char* path, const char*) {
  const auto found = middleware->files.find(path);
  if (found == middleware->files.end()) return FAILED;
  file->stream = &found->second;
  file->size = static_cast<uint32_t>(found->second.size());
  return 0;
}

uint32_t ostiv_file_read(ostiv_file* file, void* buffer, uint32_t size, uint32_t* bytes_read) {
  *bytes_read = static_cast<uint32_t>(static_cast<std::string*>(file->stream)->copy(static_cast<char*>(buffer), size));
  return 0;
}

uint32_t ostiv_file_write(ostiv_file*, const void*, uint32_t) {
  return FAILED;
}
uint32_t ostiv_file_close(ostiv_file*) {
  return 0;
}
uint32_t ostiv_file_directory_read(const char*, void**, ostiv_directory_entry*) {
  return FAILED;
}
uint32_t ostiv_file_path_join(char*, uint32_t, const char*, const char*) {
  return FAILED;
}
uint32_t ostiv_file_legalize_filename(char*, uint32_t, const char*, uint32_t) {
  return FAILED;
}

}  // extern "C"

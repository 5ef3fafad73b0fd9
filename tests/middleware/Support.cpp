#include "Support.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace durix::test {
namespace {

EventLog* g_log = nullptr;  // of the one middleware; set while none runs

std::vector<std::string> namesIn(const durix_event_data* event) {
  const auto* const bytes = reinterpret_cast<const char*>(event);
  std::vector<std::string> names(wordAt(event, DURIX_OFFSET_DISCOVER_SERVICE_COUNT));
  std::size_t offset = DURIX_OFFSET_DISCOVER_SERVICE_NAMES;
  for (auto& name : names) {
    name.assign(bytes + offset, ::strnlen(bytes + offset, DURIX_DISCOVER_NAME_SIZE));
    offset += DURIX_DISCOVER_NAME_SIZE;
  }
  return names;
}

}  // namespace

std::uint32_t wordAt(const durix_event_data* event, std::size_t offset) {
  std::uint32_t word = 0;
  std::memcpy(&word, reinterpret_cast<const char*>(event) + offset, sizeof word);
  return word;
}

void EventLog::handler(durix_event_data* event, void*) {
  g_log->take(event);
}

void EventLog::take(durix_event_data* event) {
  SeenEvent seen;
  seen.event = wordAt(event, DURIX_OFFSET_EVENT);
  if (seen.event == DURIX_EVENT_DISCOVER_PROGRESS) {
    seen.progress = wordAt(event, DURIX_OFFSET_DISCOVER_PROGRESS);
    seen.frequency = wordAt(event, DURIX_OFFSET_DISCOVER_FREQUENCY);
    seen.valid = wordAt(event, DURIX_OFFSET_DISCOVER_VALID);
  }
  if (seen.event == DURIX_EVENT_DISCOVER_PROGRESS || seen.event == DURIX_EVENT_DISCOVER_FINISHED) {
    seen.names = namesIn(event);
  }
  if (seen.event == DURIX_EVENT_RECEIVER_ON) {
    seen.protocol = wordAt(event, DURIX_OFFSET_RECEIVER_ON_PROTOCOL);
    seen.receiver = wordAt(event, DURIX_OFFSET_RECEIVER_ON_TYPE);
  }
  const std::scoped_lock lock(_mutex);
  _events.push_back(std::move(seen));
  _changed.notify_all();
}

bool EventLog::waitFor(std::uint32_t event) {
  std::unique_lock lock(_mutex);
  std::size_t found = 0;
  const bool came = _changed.wait_for(lock, LONGEST_WAIT, [&] {
    for (found = _waitedTo; found < _events.size(); ++found) {
      if (_events[found].event == event) return true;
    }
    return false;
  });
  if (came) _waitedTo = found + 1;
  return came;
}

std::vector<SeenEvent> EventLog::events() const {
  const std::scoped_lock lock(_mutex);
  return _events;
}

std::vector<SeenEvent> EventLog::events(std::uint32_t event) const {
  auto all = events();
  std::erase_if(all, [&](const SeenEvent& seen) { return seen.event != event; });
  return all;
}

void EventLog::clear() {
  const std::scoped_lock lock(_mutex);
  _events.clear();
  _waitedTo = 0;
}

Middleware::Middleware() {
  g_log = &_log;
}

Middleware::~Middleware() {
  if (_handle != nullptr) stop();
  g_log = nullptr;
}

void Middleware::air(const std::string& name, const TinyMultiplex& multiplex) const {
  write(_air / (name + ".ts"), multiplex.bytes());
}

void Middleware::silence(const std::string& name) const {
  std::filesystem::remove(_air / (name + ".ts"));
}

durix_return_code Middleware::start() {
  return start("dvb-t=file:" + _air.path().string() + ",time=stream");
}

durix_return_code Middleware::start(const std::string& receivers) {
  ::setenv("DURIX_RECEIVERS", receivers.c_str(), 1);
  std::vector<durix_callback_entry> table;
  for (std::uint32_t event = 1; event <= DURIX_PLAYER_EVENT_END_OF_MEDIA; ++event) {
    table.push_back({event, EventLog::handler});
  }
  const durix_client client{1, "test"};
  const auto code = durix_init(&_handle, 0, _data.path().c_str(), "", table.data(),
                               static_cast<std::uint32_t>(table.size()), &client);
  return code != DURIX_OK ? code : durix_allow_updates(_handle);
}

durix_return_code Middleware::stop() {
  durix_handle* const handle = std::exchange(_handle, nullptr);
  return durix_deinit(handle);
}

bool Middleware::scan(const std::vector<std::int32_t>& frequencies) {
  std::vector<durix_scan_frequency> list;
  for (const auto frequency : frequencies) list.push_back(tuning(frequency));
  return scanTunings(std::move(list));
}

bool Middleware::scanTunings(std::vector<durix_scan_frequency> frequencies, std::uint32_t type) {
  const durix_scan_configuration configuration{static_cast<std::uint32_t>(frequencies.size()), frequencies.data()};
  return durix_discover_start(_handle, 0, type, &configuration, true) == DURIX_OK &&
         _log.waitFor(DURIX_EVENT_DISCOVER_FINISHED);
}

durix_provider Middleware::provider() const {
  durix_provider* providers = nullptr;
  std::uint32_t count = 0;
  if (durix_providers_get(_handle, &providers, &count) != DURIX_OK || count == 0) return {};
  const durix_provider first = providers[0];
  ostiv_mem_free(providers);
  return first;
}

std::vector<durix_esg_object> Middleware::services() const {
  const durix_provider own = provider();
  durix_esg_object* array = nullptr;
  std::uint32_t count = 0;
  if (durix_services_get(&own, &array, &count) != DURIX_OK) return {};
  std::vector<durix_esg_object> services(array, array + count);
  std::free(array);
  return services;
}

std::vector<durix_esg_object> Middleware::feeds(const durix_esg_object& service) const {
  durix_esg_object* array = nullptr;
  std::uint32_t count = 0;
  if (durix_esg_object_feeds_get(&service, &array, &count) != DURIX_OK) return {};
  std::vector<durix_esg_object> feeds(array, array + count);
  ostiv_mem_free(array);
  return feeds;
}

std::string Middleware::text(const durix_esg_object& object, durix_attribute attribute) const {
  char* value = nullptr;
  if (durix_attribute_get_str(&object, attribute, &value) != DURIX_OK) return "(failed)";
  std::string text = value;
  ostiv_mem_free(value);
  return text;
}

std::int32_t Middleware::number(const durix_esg_object& object, durix_attribute attribute) const {
  std::int32_t value = -1;
  return durix_attribute_get_int(&object, attribute, &value) == DURIX_OK ? value : -1;
}

std::vector<std::string> Middleware::names() const {
  std::vector<std::string> names;
  for (const auto& service : services()) names.push_back(text(service, DURIX_ATTRIBUTE_NAME));
  return names;
}

std::uint32_t Middleware::idOf(const std::string& name) const {
  for (const auto& service : services()) {
    if (text(service, DURIX_ATTRIBUTE_NAME) == name) return service.id;
  }
  return 0;
}

std::string Middleware::property(durix_property property) const {
  char* value = nullptr;
  if (durix_property_get(_handle, property, &value) != DURIX_OK) return "(failed)";
  std::string text = value;
  ostiv_mem_free(value);
  return text;
}

durix_scan_frequency tuning(std::int32_t frequency, std::int32_t polarisation) {
  return {frequency, 8'000'000, -1, -1, -1, -1, polarisation};
}

}  // namespace durix::test

// The middleware's calls, answered by the stage that stands. They are exported by the test program.
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "Stage.h"

namespace {

// Without a stage (before and after a test) the middleware is there and has nothing.
durix_return_code note(const char* name, const std::string& arguments = {}) {
  return Stage::current() == nullptr ? 1 : Stage::current()->call(name, arguments);
}

std::string text(const char* value) {
  return value == nullptr ? "null" : value;
}
std::string number(std::int64_t value) {
  return std::to_string(value);
}
std::string name(const durix_provider* provider) {
  return provider == nullptr ? "null" : "provider " + number(provider->identity);
}
std::string name(const durix_esg_object* object) {
  return object == nullptr ? "null" : number(object->id);
}
std::string name(const durix_player* player) {
  return player == nullptr ? "null" : "player";
}

bool handsOutNothing(const char* call) {
  return Stage::current()->emptyHanded.count(call) != 0;
}

/// A copy that the plugin releases with ostiv_mem_free.
template <typename Item>
void giveArray(const char* call, const std::vector<Item>& items, Item** out, std::uint32_t* count) {
  if (handsOutNothing(call)) {
    *count = 3;
    return;
  }
  *out = static_cast<Item*>(ostiv_mem_calloc(items.size() + 1, sizeof(Item)));
  std::copy(items.begin(), items.end(), *out);
  *count = static_cast<std::uint32_t>(items.size());
}

void giveText(const std::string& value, char** out) {
  *out = static_cast<char*>(ostiv_mem_calloc(value.size() + 1, 1));
  std::memcpy(*out, value.data(), value.size());
}

/// Read without making an entry: calls come from several threads.
template <typename Values>
typename Values::mapped_type valueOf(const Values& values, const durix_esg_object* object, durix_attribute attribute) {
  const auto found = values.find({object->id, attribute});
  return found == values.end() ? typename Values::mapped_type{} : found->second;
}

durix_handle* const HANDLE = reinterpret_cast<durix_handle*>(0x10);
durix_player* const PLAYER = reinterpret_cast<durix_player*>(0x20);
durix_recorder* const RECORDER = reinterpret_cast<durix_recorder*>(0x30);

bool nothingHidden() {
  const auto& properties = Stage::current()->properties;
  const auto is = [&](durix_property property) {
    const auto found = properties.find(property);
    return found != properties.end() && found->second == "false";
  };
  return is(DURIX_PROPERTY_HIDE_PROTECTED) && is(DURIX_PROPERTY_HIDE_RADIO);
}

}  // namespace

extern "C" {

// ---- portability ----

void* ostiv_mem_calloc(size_t count, size_t size) {
  if (Stage::current() != nullptr) Stage::current()->allocated();
  return std::calloc(count, size);
}

void ostiv_mem_free(void* memory) {
  if (memory != nullptr && Stage::current() != nullptr) Stage::current()->released();
  std::free(memory);
}

uint32_t ostiv_file_open(ostiv_file* file, const char* path, const char* mode) {
  if (const auto code = note("ostiv_file_open", text(path) + "," + mode); code != 0) return code;
  const auto found = Stage::current()->files.find(path);
  if (*mode == 'r' && found == Stage::current()->files.end()) return 1;
  std::string& content = Stage::current()->files[path];
  if (*mode == 'w') content.clear();
  file->stream = &content;
  file->size = static_cast<std::uint32_t>(content.size());
  Stage::current()->readSoFar = 0;
  ++Stage::current()->openFiles;
  return 0;
}

uint32_t ostiv_file_read(ostiv_file* file, void* buffer, uint32_t size, uint32_t* bytes_read) {
  const auto& content = *static_cast<const std::string*>(file->stream);
  *bytes_read = static_cast<std::uint32_t>(content.copy(static_cast<char*>(buffer), size, Stage::current()->readSoFar));
  Stage::current()->readSoFar += *bytes_read;
  return 0;
}

uint32_t ostiv_file_write(ostiv_file* file, const void* data, uint32_t length) {
  static_cast<std::string*>(file->stream)->append(static_cast<const char*>(data), length);
  return note("ostiv_file_write", std::string(static_cast<const char*>(data), length - 1));
}

uint32_t ostiv_file_close(ostiv_file* /*file*/) {
  --Stage::current()->openFiles;
  return 0;
}
uint32_t ostiv_file_directory_read(const char* /*directory*/, void** iterator, ostiv_directory_entry* entry) {
  const auto& listing = Stage::current()->listing;
  const auto next = reinterpret_cast<std::uintptr_t>(*iterator);
  if (next >= listing.size()) return 1;
  *entry = listing[next];
  *iterator = reinterpret_cast<void*>(next + 1);
  return 0;
}
uint32_t ostiv_file_path_join(char* out, uint32_t size, const char* directory, const char* file) {
  return std::snprintf(out, size, "%s%s", directory, file) < static_cast<int>(size) ? 0 : 1;
}
uint32_t ostiv_file_legalize_filename(char* out, uint32_t size, const char* path, uint32_t /*flag*/) {
  return std::snprintf(out, size, "%s", path) < static_cast<int>(size) ? 0 : 1;
}

uint32_t ostiv_time_get_system_time(int64_t* seconds) {
  *seconds = Stage::current() == nullptr ? 0 : Stage::current()->time;
  return 0;
}
void ostiv_time_sleep(uint32_t duration) {
  note("ostiv_time_sleep", number(duration));
}

uint32_t ostiv_localtime_s(int64_t seconds, ostiv_tm* local) {
  const std::time_t time = seconds;
  std::tm fields{};
  gmtime_r(&time, &fields);
  *local = {fields.tm_sec,  fields.tm_min,  fields.tm_hour, fields.tm_mday, fields.tm_mon,
            fields.tm_year, fields.tm_wday, fields.tm_yday, fields.tm_isdst};
  return 0;
}

int64_t ostiv_mktime(ostiv_tm* local) {
  std::tm fields{};
  fields.tm_mday = local->day;
  fields.tm_mon = local->month;
  fields.tm_year = local->year;
  fields.tm_hour = local->hour;
  return timegm(&fields);
}

char* ostiv_utf8_to_lower(const char* value) {
  char* lowered = nullptr;
  giveText(value, &lowered);
  return lowered;
}
void ostiv_log_debug(const char* value) {
  note("ostiv_log_debug", value);
}

// ---- instance, events, properties ----

durix_return_code durix_init(durix_handle** handle, uint32_t reserved, const char* data_directory,
                             const char* library_directory, const durix_callback_entry* callbacks,
                             uint32_t callback_count, const durix_client* client) {
  std::string events;
  for (std::uint32_t i = 0; i < callback_count; ++i) events += " " + number(callbacks[i].event);
  const auto code =
      note("durix_init", number(reserved) + "," + text(data_directory) + "," + text(library_directory) + "," +
                             number(callback_count) + events + "," + number(client->version) + " " + client->text);
  *handle = HANDLE;  // written by a call that failed too
  if (code != 0) return code;
  for (std::uint32_t i = 0; i < callback_count; ++i) {
    Stage::current()->registrations.push_back({callbacks[i].event, callbacks[i].handler, nullptr});
  }
  return 0;
}

durix_return_code durix_deinit(durix_handle* handle) {
  return note("durix_deinit", handle == HANDLE ? "handle" : "null");
}
durix_return_code durix_allow_updates(durix_handle* /*handle*/) {
  return note("durix_allow_updates");
}

durix_return_code durix_callback_add(durix_handle* handle, uint32_t event, durix_event_handler handler, void* user) {
  const auto code = note("durix_callback_add", (handle == nullptr ? "null," : "handle,") + number(event));
  if (code == 0) Stage::current()->registrations.push_back({event, handler, user});
  return code;
}

durix_return_code durix_callback_remove(durix_handle* handle, uint32_t event, durix_event_handler handler) {
  const auto code = note("durix_callback_remove", (handle == nullptr ? "null," : "handle,") + number(event));
  if (Stage::current() != nullptr) {
    std::erase_if(Stage::current()->registrations,
                  [&](const auto& entry) { return entry.event == event && entry.handler == handler; });
  }
  return code;
}

durix_return_code durix_property_set(durix_handle* /*handle*/, durix_property property, const char* value) {
  const auto code = note("durix_property_set", number(property) + "," + text(value));
  if (code == 0) Stage::current()->properties[property] = value;
  return code;
}

durix_return_code durix_property_get(durix_handle* /*handle*/, durix_property property, char** value) {
  if (const auto code = note("durix_property_get", number(property)); code != 0) return code;
  const auto found = Stage::current()->properties.find(property);
  if (found == Stage::current()->properties.end()) return 1;
  if (handsOutNothing("durix_property_get")) return 0;
  giveText(found->second, value);
  return 0;
}

// ---- providers, services, scans, devices ----

durix_return_code durix_providers_get(durix_handle* /*handle*/, durix_provider** providers, uint32_t* count) {
  if (const auto code = note("durix_providers_get"); code != 0) return code;
  giveArray("durix_providers_get", Stage::current()->providers, providers, count);
  return 0;
}
durix_return_code durix_provider_mount(const durix_provider* provider) {
  return note("durix_provider_mount", name(provider));
}
durix_return_code durix_provider_unmount(const durix_provider* provider) {
  return note("durix_provider_unmount", name(provider));
}
durix_return_code durix_provider_activate(const durix_provider* provider) {
  return note("durix_provider_activate", name(provider));
}
durix_return_code durix_provider_deactivate(const durix_provider* provider) {
  return note("durix_provider_deactivate", name(provider));
}
durix_return_code durix_provider_match(const durix_provider* provider, durix_provider_protocol protocol,
                                       durix_device_receiver_type receiver_type) {
  const auto code = note("durix_provider_match", name(provider) + "," + number(protocol) + "," + number(receiver_type));
  return code != 0 ? code : static_cast<durix_return_code>(provider->receiver_type != receiver_type);
}

durix_return_code durix_services_get(const durix_provider* provider, durix_esg_object** services, uint32_t* count) {
  if (const auto code = note("durix_services_get", name(provider)); code != 0) return code;
  const Stage& stage = *Stage::current();
  if (handsOutNothing("durix_services_get")) {
    *count = 3;
    return 0;
  }
  const auto& given = stage.services.empty() && nothingHidden() ? stage.hiddenServices : stage.services;
  *services = static_cast<durix_esg_object*>(std::calloc(given.size() + 1, sizeof(durix_esg_object)));
  std::copy(given.begin(), given.end(), *services);
  *count = static_cast<std::uint32_t>(given.size());
  return 0;
}

durix_return_code durix_discover_start(durix_handle* /*handle*/, durix_provider_protocol protocol,
                                       durix_device_receiver_type receiver_type,
                                       const durix_scan_configuration* configuration, bool flag) {
  return note("durix_discover_start",
              number(protocol) + "," + number(receiver_type) + "," + number(configuration->count) + "," + number(flag));
}
durix_return_code durix_discover_cancel(durix_handle* /*handle*/) {
  return note("durix_discover_cancel");
}

durix_return_code durix_device_get(durix_handle* /*handle*/, durix_device** devices, uint32_t* count) {
  if (const auto code = note("durix_device_get"); code != 0) return code;
  giveArray("durix_device_get", std::vector<durix_device>(1), devices, count);
  return 0;
}
durix_return_code durix_device_execute_request(void* /*device*/, uint32_t request, void* data) {
  ostiv_mem_free(data);
  return note("durix_device_execute_request", number(request));
}

// ---- guide objects ----

durix_return_code durix_attribute_get_str(const durix_esg_object* object, durix_attribute attribute, char** value) {
  if (const auto code = note("durix_attribute_get_str", name(object) + "." + number(attribute)); code != 0) return code;
  giveText(valueOf(Stage::current()->texts, object, attribute), value);
  return 0;
}
durix_return_code durix_attribute_get_int(const durix_esg_object* object, durix_attribute attribute, int32_t* value) {
  if (const auto code = note("durix_attribute_get_int", name(object) + "." + number(attribute)); code != 0) return code;
  *value = valueOf(Stage::current()->numbers, object, attribute);
  return 0;
}
durix_return_code durix_attribute_get_bool(const durix_esg_object* object, durix_attribute attribute, uint8_t* value) {
  if (const auto code = note("durix_attribute_get_bool", name(object) + "." + number(attribute)); code != 0)
    return code;
  *value = static_cast<std::uint8_t>(valueOf(Stage::current()->numbers, object, attribute));
  return 0;
}
durix_return_code durix_attribute_get_array_int(const durix_esg_object* object, durix_attribute attribute,
                                                int32_t** values, uint32_t* count) {
  const auto code = note("durix_attribute_get_array_int", name(object) + "." + number(attribute));
  if (code != 0) return code;
  const Stage& stage = *Stage::current();
  const auto found = stage.arrays.find({object->id, attribute});
  giveArray("durix_attribute_get_array_int",
            found != stage.arrays.end() ? found->second : std::vector{valueOf(stage.numbers, object, attribute)},
            values, count);
  return 0;
}
durix_return_code durix_program_events_get(const durix_esg_object* service, durix_esg_object** events,
                                           uint32_t* count) {
  if (const auto code = note("durix_program_events_get", name(service)); code != 0) return code;
  const auto found = Stage::current()->events.find(service->id);
  if (found == Stage::current()->events.end()) return DURIX_NO_PROGRAMS;
  giveArray("durix_program_events_get", found->second, events, count);
  return 0;
}
durix_return_code durix_esg_object_feeds_get(const durix_esg_object* object, durix_esg_object** feeds,
                                             uint32_t* count) {
  if (const auto code = note("durix_esg_object_feeds_get", name(object)); code != 0) return code;
  const auto found = Stage::current()->feeds.find(object->id);
  giveArray("durix_esg_object_feeds_get",
            found != Stage::current()->feeds.end() ? found->second : std::vector<durix_esg_object>{}, feeds, count);
  return 0;
}
durix_return_code durix_feed_open(const durix_esg_object* feed, uint32_t /*flags*/) {
  return note("durix_feed_open", name(feed));
}
durix_return_code durix_feeds_close(const durix_esg_object* feeds, uint32_t count, uint32_t /*flags*/) {
  return note("durix_feeds_close", name(feeds) + "," + number(count));
}

// ---- players ----

durix_return_code durix_player_init(void) {
  return note("durix_player_init");
}
durix_return_code durix_player_deinit(void) {
  return note("durix_player_deinit");
}
durix_return_code durix_player_create(durix_player** player, const durix_render_data* render_data, void* /*user*/) {
  if (const auto code = note("durix_player_create", number(render_data->kind)); code != 0) return code;
  *player = PLAYER;
  return 0;
}
durix_return_code durix_player_destroy(durix_player* player) {
  return note("durix_player_destroy", name(player));
}
durix_return_code durix_player_render_data_set(durix_player* player, const durix_render_data* /*render_data*/) {
  return note("durix_player_render_data_set", name(player));
}
durix_return_code durix_player_feed_add(durix_player* /*player*/, const durix_esg_object* feed) {
  return note("durix_player_feed_add", name(feed));
}
durix_return_code durix_player_feed_remove(durix_player* /*player*/, const durix_esg_object* feed) {
  return note("durix_player_feed_remove", name(feed));
}
durix_return_code durix_player_start(durix_player* player, bool /*flag*/) {
  return note("durix_player_start", name(player));
}
durix_return_code durix_player_stop(durix_player* player) {
  return note("durix_player_stop", name(player));
}
durix_return_code durix_player_pause(durix_player* /*player*/, bool on) {
  return note("durix_player_pause", number(on));
}
durix_return_code durix_player_seek(durix_player* /*player*/, uint32_t position) {
  return note("durix_player_seek", number(position));
}
durix_return_code durix_player_get_position(durix_player* /*player*/, uint32_t* position) {
  *position = 0;
  return note("durix_player_get_position");
}
durix_return_code durix_player_get_duration(durix_player* /*player*/, uint32_t* duration) {
  *duration = 0;
  return note("durix_player_get_duration");
}
durix_return_code durix_player_size_set(durix_player* /*player*/, uint32_t width, uint32_t height) {
  return note("durix_player_size_set", number(width) + "," + number(height));
}
durix_return_code durix_player_volume_set(durix_player* /*player*/, uint8_t volume) {
  return note("durix_player_volume_set", number(volume));
}
durix_return_code durix_player_teletext_set_page(durix_player* /*player*/, uint32_t page, uint32_t subpage) {
  return note("durix_player_teletext_set_page", number(page) + "," + number(subpage));
}
durix_return_code durix_player_teletext_change_page(durix_player* /*player*/, uint32_t command) {
  return note("durix_player_teletext_change_page", number(command));
}

// ---- recorder ----

durix_return_code durix_recorder_create(durix_recorder** recorder) {
  if (const auto code = note("durix_recorder_create"); code != 0) return code;
  *recorder = RECORDER;
  return 0;
}
durix_return_code durix_recorder_close(durix_recorder* /*recorder*/) {
  return note("durix_recorder_close");
}
durix_return_code durix_recorder_activate(durix_recorder* /*recorder*/, const durix_provider* provider) {
  return note("durix_recorder_activate", name(provider));
}
durix_return_code durix_recorder_deactivate(durix_recorder* /*recorder*/, const durix_provider* provider) {
  return note("durix_recorder_deactivate", name(provider));
}
durix_return_code durix_recorder_list_recordings(durix_recorder* /*recorder*/, durix_esg_object** recordings,
                                                 uint32_t* count) {
  if (const auto code = note("durix_recorder_list_recordings"); code != 0) return code;
  giveArray("durix_recorder_list_recordings", std::vector<durix_esg_object>{}, recordings, count);
  return 0;
}
durix_return_code durix_recorder_list_timers(durix_recorder* /*recorder*/, durix_esg_object** timers, uint32_t* count) {
  if (const auto code = note("durix_recorder_list_timers"); code != 0) return code;
  giveArray("durix_recorder_list_timers", std::vector<durix_esg_object>{}, timers, count);
  return 0;
}
durix_return_code durix_recorder_add_timer(durix_recorder* /*recorder*/, durix_provider_protocol protocol,
                                           const durix_esg_object* service, uint32_t type, int32_t start, int32_t end,
                                           uint32_t value, const char* title, durix_esg_object** timer) {
  const auto code =
      note("durix_recorder_add_timer", number(protocol) + "," + name(service) + "," + number(type) + "," +
                                           number(start) + "," + number(end) + "," + number(value) + "," + title);
  static durix_esg_object added{DURIX_OBJECT_TIMER, 900, 0};
  if (code == 0) *timer = &added;
  return code;
}
durix_return_code durix_recorder_modify_timer(durix_recorder* /*recorder*/, const durix_esg_object* timer,
                                              int32_t start, int32_t end, uint32_t value, const char* title) {
  return note("durix_recorder_modify_timer",
              name(timer) + "," + number(start) + "," + number(end) + "," + number(value) + "," + title);
}
durix_return_code durix_recorder_remove_timer(durix_recorder* /*recorder*/, const durix_esg_object* timer) {
  return note("durix_recorder_remove_timer", name(timer));
}
durix_return_code durix_recorder_remove_recording(durix_recorder* /*recorder*/, const durix_esg_object* recording) {
  return note("durix_recorder_remove_recording", name(recording));
}
durix_return_code durix_recorder_get_recording(durix_recorder* /*recorder*/, const durix_esg_object* timer,
                                               durix_esg_object** recording) {
  static durix_esg_object written{9, 901, 0};
  const auto code = note("durix_recorder_get_recording", name(timer));
  if (code == 0) *recording = &written;
  return code;
}

}  // extern "C"

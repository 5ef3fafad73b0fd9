// The calls of libdurix, answered by the scripted middleware that stands.
#include <cstdlib>

#include "tests/support/ScriptedAnswers.h"

using namespace scripted;

namespace {

durix_handle* const HANDLE = reinterpret_cast<durix_handle*>(0x10);

bool nothingHidden() {
  const auto is = [](durix_property property) { return valueOf(middleware().properties, property) == "false"; };
  return is(DURIX_PROPERTY_HIDE_PROTECTED) && is(DURIX_PROPERTY_HIDE_RADIO);
}

durix_return_code noteRead(const char* call, const durix_esg_object* object, durix_attribute attribute) {
  return note(call, name(object) + "." + number(attribute));
}

bool writesOnFailure() {
  return ScriptedMiddleware::current() != nullptr && middleware().failuresWrite;
}

}  // namespace

extern "C" {

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
  const auto lock = world();
  for (std::uint32_t i = 0; i < callback_count; ++i) {
    middleware().registrations.push_back({callbacks[i].event, callbacks[i].handler, nullptr});
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
  if (code != 0) return code;
  const auto lock = world();
  middleware().registrations.push_back({event, handler, user});
  return 0;
}

durix_return_code durix_callback_remove(durix_handle* handle, uint32_t event, durix_event_handler handler) {
  const auto code = note("durix_callback_remove", (handle == nullptr ? "null," : "handle,") + number(event));
  if (ScriptedMiddleware::current() == nullptr) return code;
  {
    const auto lock = world();
    std::erase_if(middleware().registrations,
                  [&](const auto& entry) { return entry.event == event && entry.handler == handler; });
  }
  middleware().waitUntilLeft(handler);
  return code;
}

durix_return_code durix_property_set(durix_handle* /*handle*/, durix_property property, const char* value) {
  const auto code = note("durix_property_set", number(property) + "," + text(value));
  if (code != 0) return code;
  const auto lock = world();
  middleware().properties[property] = value;
  return 0;
}

durix_return_code durix_property_get(durix_handle* /*handle*/, durix_property property, char** value) {
  if (const auto code = note("durix_property_get", number(property)); code != 0) return code;
  const auto lock = world();
  const auto found = middleware().properties.find(property);
  if (found == middleware().properties.end()) return 1;
  if (handsOutNothing("durix_property_get")) return 0;
  *value = copyOf(found->second);
  return 0;
}

// ---- providers, services, scans, devices ----

durix_return_code durix_providers_get(durix_handle* /*handle*/, durix_provider** providers, uint32_t* count) {
  if (const auto code = note("durix_providers_get"); code != 0) return code;
  const auto lock = world();
  giveArray("durix_providers_get", middleware().providers, providers, count);
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
  const auto lock = world();
  const ScriptedMiddleware& script = middleware();
  giveArray("durix_services_get", script.services.empty() && nothingHidden() ? script.hiddenServices : script.services,
            services, count, std::calloc);
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
  const auto lock = world();
  giveArray("durix_device_get", middleware().devices, devices, count);
  return 0;
}
durix_return_code durix_device_execute_request(void* /*device*/, uint32_t request, void* data) {
  const auto* const bytes = static_cast<std::uint8_t*>(data);
  const std::size_t size = request == DURIX_REQUEST_SET_ADDRESS ? sizeof(durix_request_address)
                           : request == DURIX_REQUEST_SELECT    ? sizeof(durix_request_select)
                                                                : 0;
  {
    const auto lock = world();
    middleware().request.assign(bytes, bytes + size);
  }
  ostiv_mem_free(data);
  return note("durix_device_execute_request", number(request)) == 0 ? 7 : 1;  // of this call 1 alone is a failure
}

// ---- guide objects ----

durix_return_code durix_attribute_get_str(const durix_esg_object* object, durix_attribute attribute, char** value) {
  const auto code = noteRead("durix_attribute_get_str", object, attribute);
  if (code != 0 && !writesOnFailure()) return code;
  const auto lock = world();
  *value = copyOf(valueOf(middleware().texts, {object->id, attribute}));
  return code;
}
durix_return_code durix_attribute_get_int(const durix_esg_object* object, durix_attribute attribute, int32_t* value) {
  const auto code = noteRead("durix_attribute_get_int", object, attribute);
  if (code != 0 && !writesOnFailure()) return code;
  const auto lock = world();
  *value = valueOf(middleware().numbers, {object->id, attribute});
  return code;
}
durix_return_code durix_attribute_get_bool(const durix_esg_object* object, durix_attribute attribute, uint8_t* value) {
  const auto code = noteRead("durix_attribute_get_bool", object, attribute);
  if (code != 0 && !writesOnFailure()) return code;
  const auto lock = world();
  *value = static_cast<std::uint8_t>(valueOf(middleware().numbers, {object->id, attribute}));
  return code;
}
durix_return_code durix_attribute_get_array_int(const durix_esg_object* object, durix_attribute attribute,
                                                int32_t** values, uint32_t* count) {
  if (const auto code = noteRead("durix_attribute_get_array_int", object, attribute); code != 0) return code;
  const auto lock = world();
  const ScriptedMiddleware::Attribute key{object->id, attribute};
  const auto found = middleware().arrays.find(key);
  const bool isArray = found != middleware().arrays.end();
  giveArray("durix_attribute_get_array_int", isArray ? found->second : std::vector{valueOf(middleware().numbers, key)},
            values, count);
  return 0;
}
durix_return_code durix_program_events_get(const durix_esg_object* service, durix_esg_object** events,
                                           uint32_t* count) {
  const auto code = note("durix_program_events_get", name(service));
  if (ScriptedMiddleware::current() == nullptr) return code;
  const auto lock = world();
  const auto found = middleware().events.find(service->id);
  if (found == middleware().events.end()) return code != 0 ? code : durix_return_code{DURIX_NO_PROGRAMS};
  giveArray("durix_program_events_get", found->second, events, count);  // by a call that failed too
  return code;
}
durix_return_code durix_esg_object_feeds_get(const durix_esg_object* object, durix_esg_object** feeds,
                                             uint32_t* count) {
  if (const auto code = note("durix_esg_object_feeds_get", name(object)); code != 0) return code;
  const auto lock = world();
  giveArray("durix_esg_object_feeds_get", valueOf(middleware().feeds, object->id), feeds, count);
  return 0;
}
durix_return_code durix_feed_open(const durix_esg_object* feed, uint32_t /*flags*/) {
  return note("durix_feed_open", name(feed));
}
durix_return_code durix_feeds_close(const durix_esg_object* feeds, uint32_t count, uint32_t /*flags*/) {
  return note("durix_feeds_close", name(feeds) + "," + number(count));
}

}  // extern "C"

// Calls of durix.h: instance, events, properties.

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "middleware/api/Guard.h"
#include "middleware/api/Instance.h"
#include "middleware/portability/Memory.h"

using durix::Code;
using durix::EventQueue;
using durix::Failure;
using durix::guarded;
using durix::Instance;
using durix::need;

namespace {

constexpr std::uint32_t LAST_EVENT = DURIX_PLAYER_EVENT_END_OF_MEDIA;
constexpr std::uint32_t MOST_CALLBACKS = 1024;
constexpr std::size_t LONGEST_PROPERTY = 4096;

constexpr std::array<durix_property, 10> PROPERTIES{
    DURIX_PROPERTY_ESG_LANGUAGE,         DURIX_PROPERTY_AUDIO_LANGUAGE, DURIX_PROPERTY_RECORD_ALL_AUDIO_CHANNELS,
    DURIX_PROPERTY_RECORDINGS_DIRECTORY, DURIX_PROPERTY_HIDE_PROTECTED, DURIX_PROPERTY_HIDE_RADIO,
    DURIX_PROPERTY_ESG_UPDATE,           DURIX_PROPERTY_PROTOCOL_TYPE,  DURIX_PROPERTY_CONNECTION_TYPE,
    DURIX_PROPERTY_RECEIVER_ADDRESS};

bool isReadOnly(durix_property property) {
  return property == DURIX_PROPERTY_PROTOCOL_TYPE || property == DURIX_PROPERTY_CONNECTION_TYPE;
}

void checkProperty(durix_property property) {
  if (std::find(PROPERTIES.begin(), PROPERTIES.end(), property) == PROPERTIES.end()) {
    throw Failure(Code::InvalidArgument);
  }
}

void checkEvent(std::uint32_t event) {
  if (event == 0 || event > LAST_EVENT) throw Failure(Code::InvalidArgument);
}

std::string propertyText(Instance& instance, durix_property property) {
  if (property == DURIX_PROPERTY_PROTOCOL_TYPE) {
    const auto active = instance.providers().active();
    return active ? durix::nameOf(*active) : "";
  }
  if (property == DURIX_PROPERTY_CONNECTION_TYPE) return instance.receivers().broadcasts().empty() ? "" : "Local";
  return instance.store().property(property).value_or("");
}

// Where a registration belongs, and the queue that keeps it: a null handle stands for whatever instance runs.
std::pair<std::shared_ptr<Instance>, EventQueue::Scope> registrar(const durix_handle* handle) {
  if (handle == nullptr) return {Instance::current(), EventQueue::Scope::All};
  return {Instance::find(handle), EventQueue::Scope::Instance};
}

}  // namespace

extern "C" {

durix_return_code durix_init(durix_handle** handle, uint32_t, const char* data_directory, const char*,
                             const durix_callback_entry* callbacks, uint32_t callback_count, const durix_client*) {
  return guarded([&] {
    need(handle);
    try {
      if (data_directory == nullptr || *data_directory == '\0') {
        throw Failure(Code::InvalidArgument, "no data directory is given");
      }
      if (callback_count > 0) need(callbacks);
      if (callback_count > MOST_CALLBACKS) throw Failure(Code::InvalidArgument, "the callback table is too long");
      const std::span entries(callbacks, callback_count);
      for (const auto& entry : entries) {
        if (entry.handler == nullptr) throw Failure(Code::InvalidArgument, "the callback table has no handler");
        checkEvent(entry.event);
      }
      *handle = Instance::start(std::filesystem::absolute(data_directory), entries);
      Instance::setStartFailure({});
    } catch (const std::exception& failure) {
      Instance::setStartFailure(*failure.what() != '\0' ? failure.what() : "invalid arguments");
      throw;
    }
  });
}

durix_return_code durix_deinit(durix_handle* handle) {
  return guarded([&] { Instance::stop(handle); });
}

durix_return_code durix_allow_updates(durix_handle* handle) {
  return guarded([&] { Instance::find(handle)->events().allow(); });
}

durix_return_code durix_callback_add(durix_handle* handle, uint32_t event, durix_event_handler handler, void* user) {
  return guarded([&] {
    if (handler == nullptr) throw Failure(Code::InvalidArgument);
    checkEvent(event);
    const auto [instance, scope] = registrar(handle);
    instance->events().add(event, handler, user, scope);
  });
}

durix_return_code durix_callback_remove(durix_handle* handle, uint32_t event, durix_event_handler handler) {
  return guarded([&] {
    const auto [instance, scope] = registrar(handle);
    if (!instance->events().remove(event, handler, scope)) throw Failure(Code::UnknownObject);
  });
}

durix_return_code durix_property_set(durix_handle* handle, durix_property property, const char* value) {
  return guarded([&] {
    const auto instance = Instance::find(handle);
    need(value);
    checkProperty(property);
    const std::string_view text(value);
    if (isReadOnly(property) || text.size() > LONGEST_PROPERTY) throw Failure(Code::InvalidArgument);
    instance->store().setProperty(property, text);
    if (property == DURIX_PROPERTY_ESG_LANGUAGE) instance->guide().setLanguage(std::string(text));
  });
}

durix_return_code durix_property_get(durix_handle* handle, durix_property property, char** value) {
  return guarded([&] {
    const auto instance = Instance::find(handle);
    need(value);
    checkProperty(property);
    *value = durix::copyForCaller(propertyText(*instance, property));
  });
}
}

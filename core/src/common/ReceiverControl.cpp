#include "ReceiverControl.h"

#include "durix/durix.h"
#include "velmora/Logger.h"

namespace {

Logger* const LOG = Logger::loggerFactory("VM_RECEIVERCONTROL");
constexpr const char* SOURCE = "core/src/common/ReceiverControl";

/// Data, when there is any, passes to the middleware with the call. Of this one call 1 alone means failure.
bool execute(void* handle, std::uint32_t request, void* data = nullptr) {
  return durix_device_execute_request(handle, request, data) != 1;
}

/// A zero-filled request record; null when there is no memory.
template <typename Record>
Record* makeRecord() {
  return static_cast<Record*>(ostiv_mem_calloc(1, sizeof(Record)));
}

/// A text that fills its field has no NUL.
template <std::size_t size>
void fill(char (&field)[size], const std::string& text) {
  text.copy(field, size);
}

bool sendSelection(void* handle, ReceiverType type, const std::string& first, const std::string& second) {
  if (handle == nullptr || type == RECEIVER_NONE) return false;
  auto* const record = makeRecord<durix_request_select>();
  if (record == nullptr) return false;
  record->receiver_type = type;
  fill(record->first, first);
  fill(record->second, second);
  return execute(handle, DURIX_REQUEST_SELECT, record);
}

bool sendAddress(void* handle, const std::string& address, int port) {
  if (handle == nullptr || address.empty()) return false;
  auto* const record = makeRecord<durix_request_address>();
  if (record == nullptr) return false;
  fill(record->address, address);
  record->port = static_cast<std::uint16_t>(port);
  return execute(handle, DURIX_REQUEST_SET_ADDRESS, record);
}

}  // namespace

ReceiverControl::ReceiverControl(void* handle) : _handle(handle) {}

ReceiverControl::~ReceiverControl() = default;

bool ReceiverControl::listSelectedReceivers() {
  if (_handle != nullptr && execute(_handle, DURIX_REQUEST_LIST_SELECTED)) return true;
  LOG->_log("ERR", SOURCE, __LINE__, "Failed to list selected receivers");
  return false;
}

bool ReceiverControl::listReceivers() {
  if (_handle != nullptr && execute(_handle, DURIX_REQUEST_LIST_AVAILABLE)) return true;
  LOG->_log("ERR", SOURCE, __LINE__, "Failed to list available receivers");
  return false;
}

// Texts come by value: that is how the host knows the operation.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool ReceiverControl::selectReceiver(ReceiverType type, std::string first, std::string second) {
  if (sendSelection(_handle, type, first, second)) return true;
  LOG->_log("ERR", SOURCE, __LINE__, "Failed to add access point");
  return false;
}

bool ReceiverControl::resetReceiversToDefaults() {
  if (_handle != nullptr && execute(_handle, DURIX_REQUEST_RESET)) return true;
  LOG->_log("ERR", SOURCE, __LINE__, "Failed to reset receivers to defaults");
  return false;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool ReceiverControl::setAddress(std::string address, int port) {
  if (sendAddress(_handle, address, port)) return true;
  LOG->_log("ERR", SOURCE, __LINE__, "Failed to set address");
  return false;
}

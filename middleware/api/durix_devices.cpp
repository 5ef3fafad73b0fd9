// Calls of durix.h: devices and their requests.

#include <memory>

#include "middleware/api/Devices.h"
#include "middleware/api/Guard.h"
#include "middleware/api/Instance.h"
#include "middleware/portability/Memory.h"
#include "middleware/portability/Text.h"

using durix::boundedText;
using durix::Code;
using durix::Failure;
using durix::guarded;
using durix::Instance;
using durix::need;
using durix::Store;

namespace {

constexpr durix_return_code REQUEST_FAILED = 1;  // the one code that means failure here

struct MemoryFree {
  void operator()(void* memory) const { ostiv_mem_free(memory); }
};

// The record of a request; there is one only when the data is as large.
template <typename Record>
const Record& recordIn(const void* data) {
  if (durix::sizeOfBlock(data) < sizeof(Record)) throw Failure(Code::InvalidArgument);
  return *static_cast<const Record*>(data);
}

void setAddress(Instance& instance, const void* data) {
  const auto& request = recordIn<durix_request_address>(data);
  const auto address = boundedText(static_cast<const char*>(request.address), sizeof request.address);
  if (address.empty()) throw Failure(Code::InvalidArgument);
  instance.store().setProperty(DURIX_PROPERTY_RECEIVER_ADDRESS,
                               std::string(address) + ":" + std::to_string(request.port));
}

// Used by the next start that is given no receivers.
void select(Instance& instance, const void* data) {
  const auto& request = recordIn<durix_request_select>(data);
  const Store::Selection selection{
      static_cast<durix::ReceiverType>(request.receiver_type),
      std::string(boundedText(static_cast<const char*>(request.first), sizeof request.first)),
      std::string(boundedText(static_cast<const char*>(request.second), sizeof request.second))};
  durix::parseSelection(selection.type, selection.source, selection.options);
  instance.store().setSelection(selection);
}

void listSelected(Instance& instance) {
  const auto selected = instance.store().selection();
  durix::logLine(!selected ? "no receiver is selected"
                           : std::string("selected receiver: ") + durix::nameOf(selected->type) + " " +
                                 selected->source + " " + selected->options);
}

void listAvailable(Instance& instance) {
  for (const auto& device : durix::devicesOf(instance.receivers())) {
    durix::logLine("available receiver: " + durix::deviceText(device));
  }
}

void execute(std::uint32_t request, const void* data) {
  const auto instance = Instance::current();
  switch (request) {
    case DURIX_REQUEST_SET_ADDRESS:
      return setAddress(*instance, data);
    case DURIX_REQUEST_LIST_SELECTED:
      return listSelected(*instance);
    case DURIX_REQUEST_LIST_AVAILABLE:
      return listAvailable(*instance);
    case DURIX_REQUEST_SELECT:
      return select(*instance, data);
    case DURIX_REQUEST_RESET:
      return instance->store().forgetSelection();
    default:
      throw Failure(Code::InvalidArgument);
  }
}

}  // namespace

extern "C" {

durix_return_code durix_device_get(durix_handle* handle, durix_device** devices, uint32_t* count) {
  return guarded([&] {
    const auto instance = Instance::find(handle);
    need(devices, count);
    const auto records = durix::devicesOf(instance->receivers());
    *devices = durix::copyForCaller(std::span<const durix_device>(records));
    *count = static_cast<std::uint32_t>(records.size());
  });
}

// The device is never looked at: the requests are about all receivers, and the pointer may be a copy of a record as
// well as a handle.
durix_return_code durix_device_execute_request(void* device, uint32_t request, void* data) {
  const std::unique_ptr<void, MemoryFree> owned(data);
  const auto code = guarded([&] {
    need(device);
    execute(request, owned.get());
  });
  return code == DURIX_OK ? code : REQUEST_FAILED;
}
}

#include "middleware/api/Devices.h"

namespace durix {
namespace {
constexpr std::uint32_t MARK = 0x64757278;  // "durx"
}

std::vector<durix_device> devicesOf(const ReceiverPool& receivers) {
  std::vector<durix_device> devices;
  for (const auto& broadcast : receivers.broadcasts()) {
    const auto type = broadcast->settings().type;
    for (std::uint32_t i = 0; i < broadcast->settings().tuners; ++i) {
      const auto number = static_cast<std::uint32_t>(devices.size() + 1);
      devices.push_back(
          {{MARK, number, static_cast<std::uint32_t>(type), static_cast<std::uint32_t>(protocolOf(type))}});
    }
  }
  return devices;
}

std::string deviceText(const durix_device& device) {
  if (device.words[0] != MARK) return {};
  return std::string(nameOf(static_cast<ReceiverType>(device.words[2]))) + " receiver " +
         std::to_string(device.words[1]);
}

}  // namespace durix

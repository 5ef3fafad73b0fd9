#include "middleware/api/Providers.h"

#include <algorithm>

#include "middleware/api/Failure.h"

namespace durix {

durix_provider Providers::record(ReceiverType type) {
  const auto number = static_cast<std::uint32_t>(type);
  return {static_cast<std::uint32_t>(protocolOf(type)), number, number, nameOf(type), {0, 0}};
}

ReceiverType Providers::typeOf(const durix_provider* provider, const Catalogue& catalogue) {
  if (provider == nullptr) throw Failure(Code::InvalidArgument);
  for (const ReceiverType type : catalogue.providers) {
    const durix_provider known = record(type);
    if (known.identity == provider->identity && known.protocol == provider->protocol &&
        known.receiver_type == provider->receiver_type) {
      return type;
    }
  }
  throw Failure(Code::UnknownObject);
}

void Providers::mount(ReceiverType type) {
  const std::scoped_lock lock(_mutex);
  _mounted.insert(type);
}

void Providers::unmount(ReceiverType type) {
  const std::scoped_lock lock(_mutex);
  _mounted.erase(type);
  if (_active == type) _active.reset();
}

bool Providers::activate(ReceiverType type) {
  const std::scoped_lock lock(_mutex);
  if (!_mounted.contains(type)) return false;
  _active = type;
  return true;
}

void Providers::deactivate(ReceiverType type) {
  const std::scoped_lock lock(_mutex);
  if (_active == type) _active.reset();
}

std::optional<ReceiverType> Providers::active() const {
  const std::scoped_lock lock(_mutex);
  return _active;
}

}  // namespace durix

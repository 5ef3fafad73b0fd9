// Calls of durix.h: providers, services, scans.

#include <algorithm>
#include <span>
#include <vector>

#include "middleware/api/Guard.h"
#include "middleware/api/Instance.h"
#include "middleware/portability/Memory.h"
#include "middleware/store/ServiceFilter.h"

using durix::Code;
using durix::Failure;
using durix::guarded;
using durix::Instance;
using durix::need;
using durix::Providers;
using durix::ReceiverType;
using durix::ServiceFilter;

namespace {

// Calls about a provider name no instance; the running one is meant.
template <typename Call>
durix_return_code withProvider(const durix_provider* provider, Call call) {
  return guarded([&] {
    const auto instance = Instance::current();
    call(*instance, Providers::typeOf(provider, *instance->store().catalogue()));
  });
}

// More than any raster has: 1 GHz in steps of 1 kHz. A greater number is no list but a mistake.
constexpr std::uint32_t MOST_FREQUENCIES = 1U << 20;

bool matches(std::uint32_t wanted, std::uint32_t own) {
  return wanted == 0 || wanted == own;
}

}  // namespace

extern "C" {

durix_return_code durix_providers_get(durix_handle* handle, durix_provider** providers, uint32_t* count) {
  return guarded([&] {
    const auto instance = Instance::find(handle);
    need(providers, count);
    const auto catalogue = instance->store().catalogue();
    std::vector<durix_provider> records;
    for (const auto type : catalogue->providers) records.push_back(Providers::record(type));
    *providers = durix::copyForCaller(std::span<const durix_provider>(records));
    *count = static_cast<std::uint32_t>(records.size());
  });
}

durix_return_code durix_provider_mount(const durix_provider* provider) {
  return withProvider(provider, [](Instance& instance, ReceiverType type) { instance.providers().mount(type); });
}

durix_return_code durix_provider_unmount(const durix_provider* provider) {
  return withProvider(provider, [](Instance& instance, ReceiverType type) { instance.providers().unmount(type); });
}

durix_return_code durix_provider_activate(const durix_provider* provider) {
  return withProvider(provider, [](Instance& instance, ReceiverType type) {
    if (!instance.providers().activate(type))
      throw Failure(Code::Failed, "a provider is activated that is not mounted");
  });
}

durix_return_code durix_provider_deactivate(const durix_provider* provider) {
  return withProvider(provider, [](Instance& instance, ReceiverType type) { instance.providers().deactivate(type); });
}

durix_return_code durix_provider_match(const durix_provider* provider, durix_provider_protocol protocol,
                                       durix_device_receiver_type receiver_type) {
  return withProvider(provider, [&](Instance&, ReceiverType type) {
    const durix_provider own = Providers::record(type);
    if (!matches(protocol, own.protocol) || !matches(receiver_type, own.receiver_type)) {
      throw Failure(Code::UnknownObject);
    }
  });
}

durix_return_code durix_services_get(const durix_provider* provider, durix_esg_object** services, uint32_t* count) {
  return withProvider(provider, [&](Instance& instance, ReceiverType type) {
    need(services, count);
    const auto catalogue = instance.store().catalogue();
    const ServiceFilter filter(instance.store());
    std::vector<durix_esg_object> objects;
    for (const auto& [id, service] : catalogue->services) {
      if (service.receiver != type || filter.judge(service) != ServiceFilter::Verdict::Shown) continue;
      objects.push_back({static_cast<std::uint32_t>(durix::ObjectKind::Service), id, 0});
    }
    const std::size_t size = objects.size() * sizeof(durix_esg_object);
    auto* const array = objects.empty() ? nullptr : static_cast<durix_esg_object*>(durix::systemBytes(size));
    std::copy(objects.begin(), objects.end(), array);
    *services = array;
    *count = static_cast<std::uint32_t>(objects.size());
  });
}

// The flag has no meaning here: a scan always adds to what is known.
durix_return_code durix_discover_start(durix_handle* handle, durix_provider_protocol protocol,
                                       durix_device_receiver_type receiver_type,
                                       const durix_scan_configuration* configuration, bool) {
  return guarded([&] {
    const auto instance = Instance::find(handle);
    need(configuration);
    if (configuration->count > 0) need(configuration->frequencies);
    if (configuration->count > MOST_FREQUENCIES) throw Failure(Code::InvalidArgument, "a scan of too many frequencies");
    const ReceiverType type = instance->receivers().type();
    if (type == ReceiverType::Any || !matches(receiver_type, static_cast<std::uint32_t>(type)) ||
        !matches(protocol, static_cast<std::uint32_t>(protocolOf(type)))) {
      throw Failure(Code::NoReceiver, "a scan is asked for, but there is no receiver of that type");
    }
    const std::span frequencies(configuration->frequencies, configuration->count);
    instance->scan().start({frequencies.begin(), frequencies.end()});
  });
}

durix_return_code durix_discover_cancel(durix_handle* handle) {
  return guarded([&] {
    if (!Instance::find(handle)->scan().cancel()) throw Failure(Code::Failed);
  });
}
}

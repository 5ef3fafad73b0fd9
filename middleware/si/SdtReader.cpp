#include <algorithm>

#include "middleware/si/DescriptorTags.h"
#include "middleware/si/Descriptors.h"
#include "middleware/si/TableReaders.h"

#include <dvbpsi/dr_48.h>

namespace durix {

namespace {
constexpr std::size_t TABLE_HEADER_SIZE = 3;  // original network and a reserved byte
constexpr std::size_t ENTRY_HEADER_SIZE = 5;

void readServiceDescriptor(const Descriptor& descriptor, DefaultTable table, DescribedService& service) {
  const Decoded content(descriptor, dvbpsi_DecodeServiceDr);
  if (!content) return;
  const auto text = [table](const std::uint8_t* bytes, std::size_t size) {
    return canonicalName(decodeDvbText({bytes, size}, table));
  };
  service.serviceType = content->i_service_type;
  service.provider = text(content->i_service_provider_name, content->i_service_provider_name_length);
  service.name = text(content->i_service_name, content->i_service_name_length);
}

void readSection(const Section& section, DefaultTable table, std::vector<DescribedService>& services) {
  auto rest = section.body();
  if (rest.size() < TABLE_HEADER_SIZE) return;
  const auto originalNetworkId = static_cast<std::uint16_t>(rest[0] << 8 | rest[1]);
  rest = rest.subspan(TABLE_HEADER_SIZE);
  while (rest.size() >= ENTRY_HEADER_SIZE) {
    DescribedService service{.originalNetworkId = originalNetworkId,
                             .transportStreamId = section.extension(),
                             .serviceId = static_cast<std::uint16_t>(rest[0] << 8 | rest[1]),
                             .runningStatus = static_cast<std::uint8_t>(rest[3] >> 5),
                             .freeCaMode = (rest[3] & 0x10) != 0,
                             .eitSchedule = (rest[2] & 2) != 0,
                             .eitPresentFollowing = (rest[2] & 1) != 0};
    const std::size_t length = (rest[3] & 0x0FU) << 8 | rest[4];
    rest = rest.subspan(ENTRY_HEADER_SIZE);
    for (const auto& descriptor : readDescriptors(rest.first(std::min(length, rest.size())))) {
      if (descriptor.tag == SERVICE_DESCRIPTOR) readServiceDescriptor(descriptor, table, service);
    }
    rest = rest.subspan(std::min(length, rest.size()));
    const auto isSame = [&](const DescribedService& other) { return other.serviceId == service.serviceId; };
    if (std::ranges::none_of(services, isSame)) services.push_back(std::move(service));
  }
}
}  // namespace

std::vector<DescribedService> readSdt(std::span<const Section> sections, DefaultTable table) {
  std::vector<DescribedService> services;
  for (const auto& section : sections) readSection(section, table, services);
  return services;
}

}  // namespace durix

#include <algorithm>

#include "middleware/si/DescriptorTags.h"
#include "middleware/si/Descriptors.h"
#include "middleware/si/TableReaders.h"

namespace durix {

namespace {
constexpr std::size_t TABLE_HEADER_SIZE = 3;  // original network and a reserved byte
constexpr std::size_t ENTRY_HEADER_SIZE = 5;

using Bytes = std::span<const std::uint8_t>;

// A text behind its length, as far as it is there; the rest stays in `bytes`.
Bytes takeText(Bytes& bytes) {
  if (bytes.empty()) return {};
  const std::size_t size = std::min<std::size_t>(bytes[0], bytes.size() - 1);
  const Bytes text = bytes.subspan(1, size);
  bytes = bytes.subspan(1 + size);
  return text;
}

// EN 300 468, 6.2.33. Not libdvbpsi's reading, which takes the lengths of the texts as they are told.
void readServiceDescriptor(Bytes data, DefaultTable table, DescribedService& service) {
  if (data.empty()) return;
  service.serviceType = data[0];
  data = data.subspan(1);
  service.provider = canonicalName(decodeDvbText(takeText(data), table));
  service.name = canonicalName(decodeDvbText(takeText(data), table));
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
      if (descriptor.tag == SERVICE_DESCRIPTOR) readServiceDescriptor(descriptor.data, table, service);
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

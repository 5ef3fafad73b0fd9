#include <algorithm>

#include "middleware/si/DeliveryReader.h"
#include "middleware/si/DescriptorTags.h"
#include "middleware/si/Descriptors.h"
#include "middleware/si/TableReaders.h"

#include <dvbpsi/dr_41.h>

namespace durix {

namespace {
constexpr std::uint32_t NORDIG = 0x00000029;

using Channels = std::map<std::uint16_t, LogicalChannel>;

std::uint16_t word(std::span<const std::uint8_t> bytes, std::size_t at) {
  return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

void readChannels(std::span<const std::uint8_t> data, std::uint16_t numberMask, Channels& channels) {
  for (; data.size() >= 4; data = data.subspan(4)) {
    const auto number = static_cast<std::uint16_t>(word(data, 2) & numberMask);
    channels[word(data, 0)] = {.number = number, .isVisible = (data[2] & 0x80) != 0};
  }
}

// The second form of NorDig: several lists, of which the first counts.
void readNordigList(std::span<const std::uint8_t> data, Channels& channels) {
  if (data.size() < 2 || data.size() < 2U + data[1] + 4U) return;
  data = data.subspan(2U + data[1] + 3U);  // list number and name, country
  const std::size_t length = data[0];
  data = data.subspan(1);
  Channels list;
  readChannels(data.first(std::min(length, data.size())), 0x03FF, list);
  channels.merge(list);
}

void readServiceList(const Descriptor& descriptor, NetworkStream& stream) {
  const Decoded content(descriptor, dvbpsi_DecodeServiceListDr);
  if (!content) return;
  for (std::size_t i = 0; i < content->i_service_count; ++i) {
    stream.serviceList[content->i_service[i].i_service_id] = content->i_service[i].i_service_type;
  }
}

void readStreamDescriptors(std::span<const std::uint8_t> loop, NetworkStream& stream) {
  std::uint32_t specifier = 0;  // of the private descriptors that follow it
  for (const auto& descriptor : readDescriptors(loop)) {
    const auto data = descriptor.data;
    switch (descriptor.tag) {
      case PRIVATE_DATA_SPECIFIER_DESCRIPTOR:
        if (data.size() >= 4) specifier = std::uint32_t{word(data, 0)} << 16 | word(data, 2);
        break;
      case SERVICE_LIST_DESCRIPTOR:
        readServiceList(descriptor, stream);
        break;
      case LOGICAL_CHANNEL_DESCRIPTOR:
        readChannels(data, specifier == NORDIG ? 0x3FFF : 0x03FF, stream.channels);
        break;
      case NORDIG_CHANNEL_LIST_DESCRIPTOR:
        if (specifier == NORDIG) readNordigList(data, stream.channels);
        break;
      case HD_SIMULCAST_CHANNEL_DESCRIPTOR:
        if (specifier != NORDIG) readChannels(data, 0x03FF, stream.highDefinitionChannels);
        break;
      default:
        readDelivery(descriptor, stream.deliveries);
    }
  }
}

void readStreams(std::span<const std::uint8_t> rest, Network& network) {
  constexpr std::size_t ENTRY_HEADER_SIZE = 6;
  while (rest.size() >= ENTRY_HEADER_SIZE) {
    NetworkStream stream{.transportStreamId = word(rest, 0), .originalNetworkId = word(rest, 2)};
    const std::size_t length = word(rest, 4) & 0x0FFFU;
    rest = rest.subspan(ENTRY_HEADER_SIZE);
    readStreamDescriptors(rest.first(std::min(length, rest.size())), stream);
    network.streams.push_back(std::move(stream));
    rest = rest.subspan(std::min(length, rest.size()));
  }
}

void readSection(const Section& section, DefaultTable table, Network& network) {
  const auto body = section.body();
  if (body.size() < 2) return;
  const std::size_t length = word(body, 0) & 0x0FFFU;
  const auto loop = body.subspan(2, std::min(length, body.size() - 2));
  for (const auto& descriptor : readDescriptors(loop)) {
    if (descriptor.tag == NETWORK_NAME_DESCRIPTOR && network.name.empty()) {
      network.name = canonicalName(decodeDvbText(descriptor.data, table));
    }
  }
  if (body.size() < 2 + length + 2) return;
  const auto rest = body.subspan(2 + length);
  const std::size_t streamsLength = word(rest, 0) & 0x0FFFU;
  readStreams(rest.subspan(2, std::min(streamsLength, rest.size() - 2)), network);
}
}  // namespace

Network readNit(std::span<const Section> sections, DefaultTable table) {
  Network network;
  for (const auto& section : sections) {
    network.id = section.extension();
    network.version = section.version();
    readSection(section, table, network);
  }
  return network;
}

}  // namespace durix

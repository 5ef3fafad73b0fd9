#include "middleware/si/ScannedService.h"

#include <algorithm>

namespace durix {

namespace {
constexpr std::uint8_t TELEVISION_TYPE = 0x01;
constexpr std::uint8_t RADIO_TYPE = 0x02;

bool hasKind(const std::vector<Component>& components, bool (*is)(StreamKind)) {
  return std::ranges::any_of(components, [is](const Component& component) { return is(component.kind); });
}

void addProgram(const MultiplexTables& tables, ScannedService& service) {
  if (const auto entry = tables.pat.find(service.serviceId); entry != tables.pat.end()) service.pmtPid = entry->second;
  const auto isIts = [&](const Program& program) { return program.number == service.serviceId; };
  const auto program = std::ranges::find_if(tables.programs, isIts);
  if (program == tables.programs.end()) return;
  service.hasProgram = true;
  service.pmtPid = program->pmtPid;
  service.pcrPid = program->pcrPid;
  service.components = program->components;
}

// Receivers of high definition take the simulcast number where there is one.
void addChannel(const NetworkStream& stream, ScannedService& service) {
  for (const auto* channels : {&stream.highDefinitionChannels, &stream.channels}) {
    const auto channel = channels->find(service.serviceId);
    if (channel == channels->end()) continue;
    service.isVisible = channel->second.isVisible;
    if (channel->second.number != 0) service.channelNumber = channel->second.number;
    return;
  }
}

// What the network says about the transport stream; without an SDT its original network, too, is only known from there.
void addNetwork(const MultiplexTables& tables, ScannedService& service) {
  for (const auto& network : tables.networks) {
    for (const auto& stream : network.streams) {
      if (stream.transportStreamId != service.transportStreamId) continue;
      if (tables.hasSdt && stream.originalNetworkId != service.originalNetworkId) continue;
      service.originalNetworkId = stream.originalNetworkId;
      service.networkId = network.id;
      service.networkName = network.name;
      addChannel(stream, service);
      if (service.channelNumber) return;
    }
  }
}

ScannedService fromSdt(const DescribedService& described) {
  return {.originalNetworkId = described.originalNetworkId,
          .transportStreamId = described.transportStreamId,
          .serviceId = described.serviceId,
          .name = described.name,
          .provider = described.provider,
          .kind = kindOfServiceType(described.serviceType),
          .serviceType = described.serviceType,
          .runningStatus = described.runningStatus,
          .isProtected = described.freeCaMode};
}

ScannedService fromProgram(const MultiplexTables& tables, const Program& program) {
  ScannedService service{.transportStreamId = tables.transportStreamId,
                         .serviceId = program.number,
                         .name = "Service " + std::to_string(program.number),
                         .isProtected = !program.caSystems.empty()};
  if (hasKind(program.components, isVideo)) {
    service.serviceType = TELEVISION_TYPE;
  } else if (hasKind(program.components, isAudio)) {
    service.serviceType = RADIO_TYPE;
  }
  service.kind = kindOfServiceType(service.serviceType);
  return service;
}

enum Resolution : std::int32_t { NO_PICTURE = 0, STANDARD = 1, HIGH = 2, ULTRA_HIGH = 3 };

Resolution resolutionOf(const ScannedService& service) {
  constexpr std::uint8_t MPEG2_HD = 0x11;
  constexpr std::uint8_t H264_HD = 0x19;
  constexpr std::uint8_t HEVC_TV = 0x1F;
  constexpr std::uint8_t HEVC_UHD = 0x20;
  if (service.kind != ServiceKind::Television) return NO_PICTURE;
  const auto isNew = [](StreamKind kind) { return kind == StreamKind::Hevc || kind == StreamKind::Vvc; };
  switch (service.serviceType) {
    case HEVC_UHD:
      return ULTRA_HIGH;
    case MPEG2_HD:
    case H264_HD:
    case HEVC_TV:
      return HIGH;
    default:
      return hasKind(service.components, isNew) ? HIGH : STANDARD;
  }
}

std::int32_t efficiencyOf(StreamKind kind) {
  switch (kind) {
    case StreamKind::Vvc:
    case StreamKind::Ac4:
      return 4;
    case StreamKind::Hevc:
    case StreamKind::AacLatm:
    case StreamKind::AacAdts:
    case StreamKind::Eac3:
      return 3;
    case StreamKind::H264:
    case StreamKind::Mpeg4Video:
    case StreamKind::Ac3:
    case StreamKind::Dts:
      return 2;
    case StreamKind::Mpeg1Video:
    case StreamKind::Mpeg2Video:
    case StreamKind::Mpeg1Audio:
    case StreamKind::Mpeg2Audio:
      return 1;
    default:
      return 0;
  }
}
}  // namespace

ServiceKind kindOfServiceType(std::uint8_t serviceType) {
  switch (serviceType) {
    case TELEVISION_TYPE:
    case 0x11:
    case 0x16:
    case 0x19:
    case 0x1F:
    case 0x20:
      return ServiceKind::Television;
    case RADIO_TYPE:
    case 0x0A:
      return ServiceKind::Radio;
    default:
      return ServiceKind::Other;
  }
}

std::vector<ScannedService> offeredServices(const MultiplexTables& tables) {
  std::vector<ScannedService> services;
  if (tables.hasSdt) {
    for (const auto& described : tables.services) {
      const bool isOffered = !tables.hasPat || tables.pat.contains(described.serviceId);
      if (isOffered && !described.name.empty()) services.push_back(fromSdt(described));
    }
  } else if (tables.hasPat) {
    for (const auto& program : tables.programs) services.push_back(fromProgram(tables, program));
  }
  for (auto& service : services) {
    addProgram(tables, service);
    addNetwork(tables, service);
  }
  return services;
}

std::int32_t qualityRank(const ScannedService& service, const Reception& reception) {
  constexpr std::int32_t RESOLUTION_WEIGHT = 10000;
  constexpr std::int32_t CODEC_WEIGHT = 1000;
  constexpr double BEST_RECEPTION = 999;
  std::int32_t efficiency = 0;
  for (const auto& component : service.components) {
    const bool counts = service.kind == ServiceKind::Radio ? isAudio(component.kind) : isVideo(component.kind);
    if (counts) efficiency = std::max(efficiency, efficiencyOf(component.kind));
  }
  return resolutionOf(service) * RESOLUTION_WEIGHT + efficiency * CODEC_WEIGHT +
         static_cast<std::int32_t>(BEST_RECEPTION * (1.0 - reception.lostShare()));
}

}  // namespace durix

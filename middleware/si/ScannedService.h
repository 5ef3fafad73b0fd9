#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "middleware/si/Multiplex.h"

namespace durix {

/// The kind of a service as the channel list shows it; the values are those of stream types.
enum class ServiceKind : std::uint8_t { Television = 1, Radio = 2, Other = 3 };

/// A service that a multiplex offers, with all that the scan found about it. Texts are canonical UTF-8.
struct ScannedService {
  std::uint16_t originalNetworkId = 0;
  std::uint16_t transportStreamId = 0;
  std::uint16_t serviceId = 0;
  std::string name{};
  std::string provider{};
  ServiceKind kind = ServiceKind::Other;
  std::uint8_t serviceType = 0;  // EN 300 468, table 89; 0 unknown
  std::uint8_t runningStatus = 0;
  bool isProtected = false;  // free_CA_mode
  bool isVisible = true;     // what the logical channel descriptor says
  std::optional<std::uint16_t> channelNumber{};
  std::uint16_t networkId = 0;  // of the network that describes the multiplex; 0 unknown
  std::string networkName{};
  bool hasProgram = false;  // whether its PMT was seen; the rest is empty without
  std::uint16_t pmtPid = 0;
  std::uint16_t pcrPid = 0x1FFF;
  std::vector<Component> components{};
};

/// The services of a multiplex, in the order of its SDT. With an SDT: those that it describes under a name and the PAT,
/// where there is one, lists. Without: the programmes of the PAT whose PMT was seen, as "Service N". PMTs alone make no
/// services.
std::vector<ScannedService> offeredServices(const MultiplexTables& tables);

/// The kind of a service type: television 0x01, 0x11, 0x16, 0x19, 0x1F, 0x20; radio 0x02, 0x0A.
ServiceKind kindOfServiceType(std::uint8_t serviceType);

/// A rank among services of one name, higher is better: 10000 times the resolution (3 UHD, 2 HD, 1 SD, 0 none), 1000
/// times the video or, for radio, audio codec's efficiency (0 to 4), and the share of packets received in order, in
/// tenths of a percent (0 to 999). HD is what the service type or the codec says; a service of an SD type with a
/// picture in H.264 counts as SD.
std::int32_t qualityRank(const ScannedService& service, const Reception& reception);

}  // namespace durix

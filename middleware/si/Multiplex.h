#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "middleware/si/Network.h"
#include "middleware/si/Program.h"
#include "middleware/stream/Reception.h"

namespace durix {

/// A service as the service description table describes it (EN 300 468, 5.2.3). Texts are canonical UTF-8.
struct DescribedService {
  std::uint16_t originalNetworkId = 0;
  std::uint16_t transportStreamId = 0;
  std::uint16_t serviceId = 0;
  std::string name{};
  std::string provider{};
  std::uint8_t serviceType = 0;    // table 89; 0 without a service descriptor
  std::uint8_t runningStatus = 0;  // table 6
  bool freeCaMode = false;         // true: controlled by a conditional access system
  bool eitSchedule = false;
  bool eitPresentFollowing = false;
};

/// The local time of a region (EN 300 468, 6.2.20). Offsets are seconds east of UTC, times UTC seconds since 1970.
struct LocalTimeOffset {
  std::string country{};  // ISO 3166, three letters
  std::uint8_t region = 0;
  std::int32_t offset = 0;
  std::int64_t timeOfChange = 0;
  std::int32_t nextOffset = 0;
};

/// One moment of broadcast time from a TDT or TOT: UTC seconds since 1970.
struct BroadcastTime {
  std::int64_t utc = 0;
  std::vector<LocalTimeOffset> offsets{};  // none from a TDT
};

/// What one frequency has told of itself so far. Plain data, a copy of the reader's.
struct MultiplexTables {
  bool hasPat = false;         // with at least one programme, ever
  bool hasSdt = false;         // of this transport stream
  bool hasNit = false;         // of this network
  bool isPatComplete = false;  // every section of the PAT that counts, or of the SDT of this transport stream
  bool isSdtComplete = false;

  std::uint16_t transportStreamId = 0;                   // of the PAT, else of the SDT
  std::map<std::uint16_t, std::uint16_t> pat{};          // PMT PID by programme number, without the network's entry
  std::vector<Program> programs{};                       // those whose PMT was seen, by number; without a PAT any PMT
  std::vector<DescribedService> services{};              // of SDT actual, in the order of the table
  std::vector<Network> networks{};                       // of NIT actual
  std::optional<BroadcastTime> firstTime{}, lastTime{};  // the offsets are those of the last TOT
  Reception reception;
};

}  // namespace durix

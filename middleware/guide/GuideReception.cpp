#include "middleware/guide/GuideReception.h"

#include <algorithm>
#include <utility>

#include "middleware/si/TableReaders.h"

namespace durix {
namespace {

constexpr std::uint16_t TIME_PID = 0x14;

bool isActual(std::uint8_t table) {
  return table == EIT_PRESENT_ACTUAL_TABLE || (table >= EIT_SCHEDULE_ACTUAL_TABLE && table < EIT_SCHEDULE_OTHER_TABLE);
}

}  // namespace

GuideReception::GuideReception(Guide& guide, std::shared_ptr<const Catalogue> catalogue, std::uint32_t multiplex,
                               std::int64_t shift)
    : _guide(guide),
      _catalogue(std::move(catalogue)),
      _reception{.multiplex = multiplex, .shift = shift},
      _carousel([this](EventTableUpdate&& update) { take(std::move(update)); }),
      _demux([this](std::uint16_t pid, const Section& section) { takeSection(pid, section); }) {
  const auto own = _catalogue->multiplexes.find(multiplex);
  for (const auto& [id, service] : _catalogue->services) {
    const bool isSameReceiver = own != _catalogue->multiplexes.end() && service.receiver == own->second.receiver;
    if (!isSameReceiver || service.isHidden) continue;
    _services.emplace(std::tuple(service.originalNetworkId, service.transportStreamId, service.serviceId), id);
  }
  _demux.select(EIT_PID);
  _demux.select(TIME_PID);
}

bool GuideReception::isWanted(const PacketView& packet) {
  return packet.pid() == EIT_PID || packet.pid() == TIME_PID;
}

void GuideReception::takeSection(std::uint16_t pid, const Section& section) {
  if (pid == EIT_PID) {
    _carousel.take(section);
  } else if (section.tableId() == TDT_TABLE || section.tableId() == TOT_TABLE) {
    if (const auto time = readTime(section)) _reception.told = time->utc + _reception.shift;
  }
}

void GuideReception::take(EventTableUpdate&& update) {
  if (const auto service = serviceOf(update.key)) {
    _reception.isHome = _catalogue->services.at(*service).multiplex == _reception.multiplex;
    const auto end = _guide.take(*service, std::move(update), _reception);
    if (end) _lastEnd = std::max(*end - _reception.shift, _lastEnd.value_or(*end - _reception.shift));
  } else {
    for (const auto& [number, events] : update.sections) _strangers += events.size();
  }
}

// A multiplex without a description of its services has no network's number for them.
std::optional<std::uint32_t> GuideReception::serviceOf(const EventTableKey& key) const {
  for (const std::uint16_t network : {key.originalNetworkId, std::uint16_t{0}}) {
    if (network != key.originalNetworkId && !isActual(key.table)) break;
    const auto known = _services.find({network, key.transportStreamId, key.serviceId});
    if (known != _services.end()) return known->second;
  }
  return std::nullopt;
}

}  // namespace durix

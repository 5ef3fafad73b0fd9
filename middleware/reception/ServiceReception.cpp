#include "middleware/reception/ServiceReception.h"

#include "middleware/api/Failure.h"
#include "middleware/events/EventQueue.h"
#include "middleware/portability/Log.h"
#include "middleware/store/Store.h"

namespace durix {
namespace {

const StoredService& serviceIn(const Catalogue& catalogue, std::uint32_t id) {
  const auto* const service = catalogue.service(id);
  if (service == nullptr || !catalogue.multiplexes.contains(service->multiplex)) throw Failure(Code::UnknownObject);
  return *service;
}

}  // namespace

ServiceReception::ServiceReception(Parts parts, std::uint32_t service, ReceiverUse use, ServiceTaker& taker)
    : _parts(parts),
      _service(service),
      _taker(taker),
      _watch(serviceIn(*parts.store.catalogue(), service).serviceId,
             [this](const Program& program) { takeProgram(program); }) {
  const auto catalogue = _parts.store.catalogue();
  const auto& multiplex = catalogue->multiplexes.at(serviceIn(*catalogue, service).multiplex);
  _share = _parts.tuners.open(multiplex, use, *this);
}

void ServiceReception::take(const PacketView& packet) {
  _watch.feed(packet);
  if (_hasProgram) _taker.takePacket(packet);
}

void ServiceReception::takeProgram(const Program& program) {
  bool hasChanged = false;
  try {
    hasChanged = _parts.store.takeProgram(_service, program);
  } catch (const Failure& failure) {  // it is received all the same
    logLine(std::string("reception: ") + failure.what());
  }
  _taker.takeProgram(program);
  _hasProgram = true;
  if (!hasChanged) return;
  EventRecord changed(DURIX_EVENT_FEEDS_CHANGED);
  changed.put(DURIX_OFFSET_FEEDS_CHANGED_STATE, std::uint32_t{1});
  changed.put(DURIX_OFFSET_FEEDS_CHANGED_SERVICE, _service);
  _parts.events.post(std::move(changed));
}

void ServiceReception::end(End reason) {
  _taker.end(reason);
}

}  // namespace durix

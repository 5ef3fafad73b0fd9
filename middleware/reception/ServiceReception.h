#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

#include "middleware/reception/Tuners.h"
#include "middleware/si/Program.h"
#include "middleware/si/ProgramWatch.h"

namespace durix {

class EventQueue;
class Store;

/// Somebody who receives one service; called as a PacketTaker is.
class ServiceTaker {
 public:
  ServiceTaker() = default;
  ServiceTaker(const ServiceTaker&) = delete;
  ServiceTaker& operator=(const ServiceTaker&) = delete;
  virtual ~ServiceTaker() = default;

  /// What the service consists of, now and each time that it changes; comes before the packets that it is about, and
  /// after the store has the service's new feeds.
  virtual void takeProgram(const Program& program) = 0;

  /// Every packet of the multiplex since the first programme.
  virtual void takePacket(const PacketView& packet) = 0;

  /// As a PacketTaker's.
  virtual void beginAgain() {}

  /// The last call.
  virtual void end(PacketTaker::End reason) = 0;
};

/// The reception of one service, as long as this lives: follows its PAT and PMT, keeps the service's feeds in the store
/// up to date, and posts DURIX_EVENT_FEEDS_CHANGED when they have changed. Owned by who receives; when it is gone,
/// nobody is inside the taker.
class ServiceReception : private PacketTaker {
 public:
  /// All outlive this. Throws Failure as Tuners::open, or UnknownObject when there is no such service.
  struct Parts {
    Tuners& tuners;
    Store& store;
    EventQueue& events;
  };
  ServiceReception(Parts parts, std::uint32_t service, ReceiverUse use, ServiceTaker& taker);

 private:
  void take(const PacketView& packet) override;
  void beginAgain() override { _taker.beginAgain(); }
  void end(End reason) override;
  void takeProgram(const Program& program);

  const Parts _parts;
  const std::uint32_t _service;
  ServiceTaker& _taker;
  ProgramWatch _watch;  // the receiving thread's, as the next
  bool _hasProgram = false;
  std::unique_ptr<TunedShare> _share;  // last: its end is the end of all calls
};

}  // namespace durix

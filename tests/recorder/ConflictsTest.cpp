// Which timers stand in the way of another one.
#include "middleware/recordings/Conflicts.h"

#include <gtest/gtest.h>

namespace durix::test {
namespace {

TEST(Conflicts, AreCountedByReceiversAndMultiplexesAtEveryMoment) {
  struct Row {
    std::string why;
    std::uint32_t receivers;
    std::vector<Demand> others;
    std::vector<std::uint32_t> inTheWay;
  };
  const Demand wanted{9, 1, 100, 200};
  const std::vector<Row> rows{
      {"nobody else", 1, {}, {}},
      {"the same multiplex is shared", 1, {{1, 1, 0, 300}, {2, 1, 150, 160}}, {}},
      {"another multiplex", 1, {{1, 2, 150, 160}}, {1}},
      {"it begins where this ends", 1, {{1, 2, 200, 300}}, {}},
      {"it ends where this begins", 1, {{1, 2, 0, 100}}, {}},
      {"it ends a second later", 1, {{1, 2, 0, 101}}, {1}},
      {"it began before and ends after", 1, {{1, 2, 0, 300}}, {1}},
      {"two receivers for two multiplexes", 2, {{1, 2, 0, 300}}, {}},
      {"three multiplexes, but never at once", 2, {{1, 2, 100, 150}, {2, 3, 150, 200}}, {}},
      {"three multiplexes for a second", 2, {{1, 2, 100, 151}, {2, 3, 150, 200}}, {1, 2}},
      {"two of the others share one", 2, {{1, 2, 100, 200}, {2, 2, 120, 180}}, {}},
      {"what is in the way elsewhere is left out",
       2,
       {{1, 2, 0, 120}, {2, 3, 110, 300}, {3, 4, 210, 300}, {4, 3, 130, 140}},
       {1, 2}},
      {"others in each other's way do not matter before", 1, {{1, 2, 0, 50}, {2, 3, 0, 50}}, {}},
  };
  for (const auto& row : rows) EXPECT_EQ(conflictsOf(wanted, row.others, row.receivers), row.inTheWay) << row.why;
}

TEST(Conflicts, AreOfRecordingTimersOfTheReceiver) {
  Catalogue catalogue;
  for (const std::uint32_t id : {1U, 2U}) {
    catalogue.services[id].id = id;
    catalogue.services[id].multiplex = id + 10;
  }
  const auto timer = [](std::uint32_t id, std::uint32_t service, TimerType type, ReceiverType receiver) {
    Timer made;
    made.id = id;
    made.type = type;
    made.service.id = service;
    made.service.receiver = receiver;
    return made;
  };
  const std::vector<Timer> timers{
      timer(1, 1, TimerType::Recording, ReceiverType::DvbT), timer(2, 2, TimerType::Recording, ReceiverType::DvbT),
      timer(3, 1, TimerType::TimeShift, ReceiverType::DvbT), timer(4, 1, TimerType::Recording, ReceiverType::DvbC),
      timer(5, 77, TimerType::Recording, ReceiverType::DvbT)};  // its service has gone
  std::vector<std::uint32_t> multiplexes;
  for (const auto& demand : demandsOf(timers, catalogue, ReceiverType::DvbT, 1))
    multiplexes.push_back(demand.multiplex);
  EXPECT_EQ(multiplexes, std::vector<std::uint32_t>{12}) << "without the one that is to be changed";
}

}  // namespace
}  // namespace durix::test

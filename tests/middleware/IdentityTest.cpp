#include <gtest/gtest.h>

#include "middleware/store/ServiceIdentity.h"

namespace durix::test {
namespace {

struct Known {
  std::uint32_t id;
  std::uint32_t multiplex;
  std::uint16_t network, stream, service;
  std::string name;
  bool isHidden = false;
};
struct Found {
  std::uint32_t multiplex;
  std::uint16_t network, stream, service;
  std::string name;
  int quality = 0;
};
struct Row {
  std::string why;
  std::vector<Known> known;
  std::vector<Found> found;
  std::set<std::uint32_t> received;
  std::string result;  // for each found one its identifier, "new" or "dup"; behind "|" those that are gone
};

std::string identified(const Row& row) {
  std::vector<StoredService> stored;
  for (const auto& one : row.known) {
    StoredService service;
    service.id = one.id;
    service.multiplex = one.multiplex;
    service.originalNetworkId = one.network;
    service.transportStreamId = one.stream;
    service.serviceId = one.service;
    service.name = one.name;
    service.isHidden = one.isHidden;
    stored.push_back(service);
  }
  std::vector<const StoredService*> known;
  for (const auto& service : stored) known.push_back(&service);
  std::vector<FoundService> found;
  for (const auto& one : row.found) {
    FoundService service{one.multiplex, {}, one.quality};
    service.service.originalNetworkId = one.network;
    service.service.transportStreamId = one.stream;
    service.service.serviceId = one.service;
    service.service.name = one.name;
    found.push_back(std::move(service));
  }
  const auto identities = identify(known, found, row.received);
  std::string text;
  for (std::size_t i = 0; i < found.size(); ++i) {
    text += identities.isDuplicate[i] ? "dup "
            : identities.known[i]     ? std::to_string(*identities.known[i]) + " "
                                      : "new ";
  }
  text += "|";
  for (const auto id : identities.gone) text += " " + std::to_string(id);
  return text;
}

TEST(ServiceIdentity, FollowsServicesThroughWhatBroadcastersDo) {
  const Known one{10, 1, 100, 1, 1, "One"};
  const Known two{11, 1, 100, 1, 2, "Two"};
  const Known old{12, 1, 100, 1, 3, "Old", true};
  for (const Row& row : {
           Row{"found again", {one, two}, {{1, 100, 1, 1, "One"}, {1, 100, 1, 2, "Two"}}, {1}, "10 11 |"},
           Row{"renamed", {one}, {{1, 100, 1, 1, "One HD"}}, {1}, "10 |"},
           Row{"gone", {one, two}, {{1, 100, 1, 1, "One"}}, {1}, "10 | 11"},
           Row{"no signal: nothing is gone", {one, two}, {}, {}, "|"},
           Row{"received in part: nothing is gone", {one, two}, {{1, 100, 1, 1, "One"}}, {}, "10 |"},
           Row{"moved to another frequency", {one}, {{2, 100, 1, 1, "One"}}, {1, 2}, "10 |"},
           Row{"moved, and the old frequency is silent", {one}, {{2, 100, 1, 1, "One"}}, {2}, "10 |"},
           Row{"back after it was hidden", {old}, {{1, 100, 1, 3, "Old"}}, {1}, "12 |"},
           Row{"gone stays gone without being told again", {old}, {}, {1}, "|"},
           Row{"another stream, same network, number and name", {one}, {{1, 100, 2, 1, "One"}}, {1}, "10 |"},
           Row{"the same, hidden before", {old}, {{2, 100, 9, 3, "Old"}}, {2}, "12 |"},
           Row{"another stream, but the old one is still there",
               {one},
               {{1, 100, 1, 1, "One"}, {2, 100, 2, 1, "One"}},
               {1, 2},
               "10 new |"},
           Row{"another stream, and the old one may be there", {one}, {{2, 100, 2, 1, "One"}}, {2}, "new |"},
           Row{"another stream and another name", {one}, {{1, 100, 2, 1, "Uno"}}, {1}, "new | 10"},
           Row{"another stream and another network", {one}, {{1, 200, 2, 1, "One"}}, {1}, "new | 10"},
           Row{"one that is gone stands for one only",
               {one},
               {{1, 100, 2, 1, "One"}, {2, 100, 3, 1, "One"}},
               {1, 2},
               "10 new |"},
           Row{"received twice: the better one",
               {},
               {{1, 100, 1, 1, "One", 5}, {2, 100, 1, 1, "One", 9}},
               {1, 2},
               "dup new |"},
           Row{"received twice alike: where it was",
               {one},
               {{2, 100, 1, 1, "One", 5}, {1, 100, 1, 1, "One", 5}},
               {1, 2},
               "dup 10 |"},
           Row{"received twice alike, new: the first",
               {},
               {{2, 100, 1, 1, "One"}, {1, 100, 1, 1, "One"}},
               {1, 2},
               "new dup |"},
       }) {
    EXPECT_EQ(identified(row), row.result) << row.why;
  }
}

}  // namespace
}  // namespace durix::test

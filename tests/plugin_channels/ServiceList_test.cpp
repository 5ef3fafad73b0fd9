#include "guide/ServiceList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <future>
#include <thread>

#include "TestPlugin.h"
#include "tests/support/ScriptedMiddleware.h"
#include "velmora/PluginListener.h"

namespace {

Lines names(const std::vector<Service*>& services) {
  Lines all;
  for (Service* const service : services) all.push_back(std::to_string(service->getId()) + service->getName());
  return all;
}

class Channels : public testing::Test {
 protected:
  ~Channels() override {
    plugin.list.deleteAll([](const std::vector<Service*>&) {});
    EXPECT_EQ(middleware.liveAllocations(), 0);
  }

  void addService(std::uint32_t id, const std::string& name, const std::vector<int>& types, int number) {
    middleware.addService(id, name, 0, number);
    middleware.arrays[{id, DURIX_ATTRIBUTE_STREAM_TYPES}] = types;
  }
  /// The reads since the last time, such as "25 of 7" (an attribute) or "services".
  Lines reads() {
    Lines reads;
    for (const std::string& line : middleware.take()) {
      unsigned id = 0, attribute = 0;
      if (line.starts_with("durix_services_get")) reads.emplace_back("services");
      const auto open = line.find('(');
      if (!line.starts_with("durix_attribute_") ||
          std::sscanf(line.c_str() + open, "(%u.%u)", &id, &attribute) != 2) {  // NOLINT(cert-err34-c)
        continue;
      }
      reads.push_back(std::to_string(attribute) + " of " + std::to_string(id));
    }
    return reads;
  }
  std::vector<Service*> load() {
    plugin.list.setServiceDataValid(false);
    middleware.drop();
    return plugin.list.getServices();
  }

  ScriptedMiddleware middleware;
  TestPlugin plugin;
};

TEST_F(Channels, LoadWithTheFewestReads) {
  addService(10, "B", {1}, 5);
  addService(11, "A", {1, 2, 7}, 5);
  addService(12, "R", {2}, 2);
  addService(13, "X", {9}, 1);
  middleware.services.push_back({1, 10, 0});  // reported twice
  EXPECT_EQ(names(load()), (Lines{"11A", "10B", "12R"}));
  EXPECT_EQ(reads(),
            (Lines{"services", "25 of 10", "41 of 10", "21 of 10", "22 of 10", "25 of 11", "41 of 11", "21 of 11",
                   "22 of 11", "41 of 11", "21 of 11", "22 of 11", "25 of 12", "41 of 12", "21 of 12", "22 of 12",
                   "25 of 13",                                      // fetched
                   "25 of 10", "25 of 11", "25 of 11", "25 of 12",  // sorted
                   "43 of 11", "43 of 11"}));                       // the doubles
  plugin.list.getServices();
  EXPECT_EQ(reads(), Lines()) << "valid: nothing is asked";

  middleware.numbers[{10, DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID}] = 2;
  middleware.files["service_order.dat"] = std::string(256 - 17, '\n') + "10.2\n10.3\n99.1\n13";
  addService(14, "", {1}, 9);
  load();
  const std::vector<Service*> again = load();
  EXPECT_EQ(reads(), (Lines{"services", "25 of 13", "25 of 10", "25 of 11", "25 of 11", "25 of 14", "22 of 14",
                            "25 of 12", "48 of 10"}))
      << "a known service costs one read, and more only for the order and its missing name";
  EXPECT_EQ(names(again), (Lines{"10B", "11A", "14", "12R"}));
  const int parts = middleware.calls("ostiv_file_read");
  EXPECT_EQ(load(), again);
  EXPECT_EQ(middleware.calls("ostiv_file_read") - parts, 2);
  middleware.lostBytes = 1;
  EXPECT_EQ(load(), again);
  EXPECT_EQ(middleware.calls("ostiv_file_read") - parts, 2 + 3) << "a file that shrank ends where it ends";
}

TEST_F(Channels, ConflictWithWhatUsesUpTheReceivers) {
  for (std::uint32_t id = 10; id < 15; ++id) {
    addService(id, "S" + std::to_string(id), {1}, static_cast<int>(id));
    middleware.numbers[{id, DURIX_ATTRIBUTE_SOURCE_ID}] = static_cast<int>(id / 2);  // 10 11, 12 13, 14
  }
  const std::vector<Service*> all = load();
  const auto pick = [&](const std::vector<std::size_t>& positions) {
    std::vector<Service*> picked(positions.size());
    std::transform(positions.begin(), positions.end(), picked.begin(), [&](std::size_t i) { return all[i]; });
    return picked;
  };
  struct Row {
    const char* reason;
    int receivers;
    std::vector<std::size_t> selected;
    std::vector<std::size_t> conflicts;
  };
  const Row rows[] = {
      {"nothing selected", 1, {}, {}},
      {"one receiver: every other source", 1, {0}, {2, 3, 4}},
      {"no receiver counts as one", 0, {0}, {2, 3, 4}},
      {"a receiver is left", 2, {0}, {}},
      {"two of one source need one receiver", 2, {0, 1}, {}},
      {"both receivers are used", 2, {0, 2}, {4}},
      {"more selected than receivers: the first count", 1, {4, 0}, {0, 1, 2, 3}},
  };
  for (const Row& row : rows) {
    plugin.receivers = row.receivers;
    EXPECT_EQ(plugin.list.getConflicting(pick(row.selected)), pick(row.conflicts)) << row.reason;
  }
  plugin.receivers = 1;
  middleware.failing = {{"durix_attribute_get_int(13.36)", 3}};
  EXPECT_EQ(plugin.list.getConflicting(pick({0})), pick({2, 4})) << "one that cannot be read is left out";
  EXPECT_TRUE(plugin.list.getConflicting(pick({0, 3})).empty()) << "unless it was selected";
  EXPECT_TRUE(plugin.list.getConflicting({all[0], nullptr}).empty());
}

/// Asks back from another thread while it is being told.
class CallsBack : public PluginListener {
 public:
  explicit CallsBack(TestPlugin& plugin) : _plugin(plugin) {}
  void notifyServiceUpdate(Plugin*, std::vector<Service*>* services) override {
    std::async(std::launch::async, [&] { _plugin.list.getConflicting(*services); }).get();
    told = names(*services);
  }

  Lines told;

 private:
  TestPlugin& _plugin;
};

TEST_F(Channels, ListenersMayCallBackFromAnyThread) {
  addService(10, "A", {1}, 1);
  CallsBack listener(plugin);
  plugin.addListener(&listener);
  plugin.list.setPlayableStatus({});
  EXPECT_EQ(listener.told, Lines{"10A"});
}

TEST_F(Channels, AnInvalidationDuringALoadIsNotLost) {
  middleware.during["durix_services_get"] = [&] { plugin.list.setServiceDataValid(false); };
  load();
  EXPECT_FALSE(plugin.list.isServiceDataValid());
  middleware.during.clear();
  plugin.list.getServices();
  EXPECT_TRUE(plugin.list.isServiceDataValid());
}

TEST_F(Channels, AreOutOfReachBeforeTheyDie) {
  addService(10, "A", {1}, 1);
  addService(11, "A", {1}, 2);
  load();
  Lines leaving;
  plugin.list.deleteAll([&](const std::vector<Service*>& services) {
    EXPECT_TRUE(plugin.list.getServices().empty()) << "still valid, and empty";
    EXPECT_FALSE(plugin.list.serviceExists(10));
    leaving = names(services);
  });
  EXPECT_EQ(leaving, (Lines{"10A", "11A"})) << "doubles too";
  EXPECT_EQ(load().size(), 1U) << "and are made anew";
}

TEST_F(Channels, LoadFromManyThreadsMakesEachServiceOnce) {
  for (std::uint32_t id = 0; id < 50; ++id) addService(id, std::to_string(id), {1}, 1);
  std::array<std::thread, 4> threads;
  for (std::size_t i = 0; i < threads.size(); ++i) {
    threads[i] = std::thread([this, i] {
      for (int round = 0; round < 20; ++round) {
        if (i == 0) plugin.list.setServiceDataValid(false);
        if (i == 1) plugin.list.updateServiceList();
        if (i == 2) plugin.list.setPlayableStatus(plugin.list.services());
        plugin.list.getServices();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(load().size(), 50U);
  EXPECT_EQ(plugin.list.services().size(), 50U);
}

}  // namespace

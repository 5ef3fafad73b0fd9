#include "tuning/ProviderRegistry.h"

#include <gtest/gtest.h>

#include "ScriptedPlatform.h"

namespace {

durix_provider record(std::uint32_t identity) {
  return {.protocol = 1, .receiver_type = 1, .identity = identity, .name = nullptr, .reserved = {}};
}

class ProviderRegistryTest : public testing::Test {
 protected:
  ScriptedPlatform platform;
  ScriptedPlugin plugin;
  ProviderRegistry registry{plugin};
};

TEST_F(ProviderRegistryTest, KnowsAProviderByItsIdentityOverFetches) {
  platform.providers = {record(7), record(8)};
  ASSERT_TRUE(registry.fetchProviders());
  BroadcastProvider* const old = registry.providers()[1];
  registry.setActive(old);
  ASSERT_TRUE(registry.fetchProviders());
  EXPECT_FALSE(registry.isActiveProvider(registry.providers()[0]));
  EXPECT_TRUE(registry.isActiveProvider(registry.providers()[1]));
  EXPECT_EQ(registry.activeInProviders(), old);
  EXPECT_EQ(registry.listed(old), registry.providers()[1]);

  platform.providers = {record(7)};
  ASSERT_TRUE(registry.fetchProviders());
  EXPECT_EQ(registry.activeInProviders(), nullptr);
  EXPECT_EQ(registry.active()->getProviderData()->identity, 8U);  // the object of the first fetch is still there
}

TEST_F(ProviderRegistryTest, ChoosesAndMountsAProviderAfterAScan) {
  struct Row {
    const char* reason;
    std::uint32_t matchedBefore;  // 0: none
    BroadcastProtocolType protocol;
    std::set<std::uint32_t> matching;
    std::map<std::string, durix_return_code> failing;
    bool found;
    std::uint32_t matchedAfter;
    Lines calls;  // after the fetch
  };
  const Row rows[] = {
      {"the matched one comes first",
       8,
       BROADCAST_PROTOCOL_DVB,
       {7},
       {},
       true,
       8,
       {"durix_provider_mount(provider 8)"}},
      {"the first that matches and can be mounted",
       0,
       BROADCAST_PROTOCOL_DVB,
       {8, 9},
       {{"durix_provider_mount(provider 8)", 3}},
       true,
       9,
       {"durix_provider_match(provider 7,1,1)", "durix_provider_match(provider 8,1,1)",
        "durix_provider_mount(provider 8)", "durix_provider_match(provider 9,1,1)",
        "durix_provider_mount(provider 9)"}},
      {"a matched one that cannot be mounted",
       7,
       BROADCAST_PROTOCOL_DVB,
       {9},
       {{"durix_provider_mount(provider 7)", 3}},
       true,
       9,
       {"durix_provider_mount(provider 7)", "durix_provider_match(provider 7,1,1)",
        "durix_provider_match(provider 8,1,1)", "durix_provider_match(provider 9,1,1)",
        "durix_provider_mount(provider 9)"}},
      {"a matched one that is gone is left for others",
       5,
       BROADCAST_PROTOCOL_DVB,
       {7},
       {},
       true,
       7,
       {"durix_provider_match(provider 7,1,1)", "durix_provider_mount(provider 7)"}},
      {"no receiver was announced", 0, BROADCAST_PROTOCOL_NONE, {7}, {}, false, 0, {}},
      {"the last candidate stays matched",
       0,
       BROADCAST_PROTOCOL_DVB,
       {8},
       {{"durix_provider_mount(provider 8)", 3}},
       false,
       8,
       {"durix_provider_match(provider 7,1,1)", "durix_provider_match(provider 8,1,1)",
        "durix_provider_mount(provider 8)", "durix_provider_match(provider 9,1,1)"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    BroadcastProvider before(record(row.matchedBefore));
    registry.setMatched(row.matchedBefore == 0 ? nullptr : &before);
    plugin.protocol = row.protocol;
    platform.providers = {record(7), record(8), record(9)};
    platform.failing = row.failing;
    platform.setMatching(row.matching);
    platform.take();
    EXPECT_EQ(registry.init_provider(), row.found);
    const BroadcastProvider* const after = registry.matched();
    EXPECT_EQ(after == nullptr ? 0 : const_cast<BroadcastProvider*>(after)->getProviderData()->identity,
              row.matchedAfter);
    Lines calls = platform.take();
    std::erase_if(calls,
                  [](const std::string& line) { return line.starts_with("INFO") || line == "durix_providers_get()"; });
    EXPECT_EQ(calls, row.calls);
    registry.forgetChoices();
  }
}

TEST_F(ProviderRegistryTest, LeavesTheMatchedOneWhenNothingMatches) {
  platform.providers = {record(7), record(8)};
  platform.setMatching({8});
  ASSERT_TRUE(registry.fetchProviders());
  EXPECT_EQ(registry.firstMatching(BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T), registry.providers()[1]);
  platform.setMatching({});
  EXPECT_EQ(registry.firstMatching(BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T), nullptr);
  EXPECT_EQ(registry.matched(), registry.providers()[1]);
}

TEST(BroadcastProviderTest, TakesUnknownTypesForNone) {
  EXPECT_EQ(BroadcastProvider::getProtocolType(12), BROADCAST_PROTOCOL_LAST);
  EXPECT_EQ(BroadcastProvider::getProtocolType(13), BROADCAST_PROTOCOL_NONE);
  EXPECT_EQ(BroadcastProvider::getReceiverType(5), RECEIVER_ISDB_T);
  EXPECT_EQ(BroadcastProvider::getReceiverType(0xFFFFFFFF), RECEIVER_NONE);
  EXPECT_EQ(BroadcastProvider::getDurixReceiverType(static_cast<ReceiverType>(6)), 0U);
  EXPECT_EQ(BroadcastProvider::getDurixProtocolType(static_cast<BroadcastProtocolType>(13)), 0U);
}

}  // namespace

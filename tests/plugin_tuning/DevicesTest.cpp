#include <gtest/gtest.h>

#include "ReceiverControl.h"
#include "ScriptedPlatform.h"
#include "velmora/Velmora.h"

namespace {

class DevicesTest : public testing::Test {
 protected:
  std::string requestText(std::size_t offset, std::size_t size) {
    return {platform.request.begin() + static_cast<std::ptrdiff_t>(offset),
            platform.request.begin() + static_cast<std::ptrdiff_t>(offset + size)};
  }

  ScriptedPlatform platform;
  ScriptedPlugin plugin;
  DeviceCache cache{plugin};
  int device = 0;
  ReceiverControl control{&device};
};

TEST_F(DevicesTest, AsksForTheDevicesOnce) {
  platform.devices.clear();
  platform.failing = {{"durix_device_get()", 1}};
  EXPECT_TRUE(cache.getDevices().empty());
  platform.failing = {};
  EXPECT_TRUE(cache.getDevices().empty());  // none yet: the next call asks again
  platform.devices = {{}, {{1}}};
  const std::vector<Device*> devices = cache.getDevices();
  ASSERT_EQ(devices.size(), 2U);
  EXPECT_EQ(static_cast<const durix_device*>(devices[1]->getRecord())->words[0], 1U);
  platform.devices.resize(3);
  EXPECT_EQ(cache.getDevices(), devices);
  EXPECT_EQ(platform.liveAllocations(), 1);  // the records stay as long as the cache
  cache.clear();
  EXPECT_EQ(platform.take(),
            (Lines{"durix_device_get()", "ERR Could not get devices", "durix_device_get()", "durix_device_get()"}));
  plugin.hasHandle = false;
  EXPECT_TRUE(cache.getDevices().empty());
  EXPECT_EQ(platform.take(), Lines{"ERR Invalid durix handle"});
}

TEST_F(DevicesTest, KnowsOnlyWiFiAsATunerType) {
  EXPECT_EQ(cache.getTunerType(), "");
  for (const char* other : {"", "Wi-Fi ", "wi-fi", "Local"}) {
    platform.properties = {{19, other}};
    EXPECT_EQ(cache.getTunerType(), "") << other;
  }
  platform.properties = {{19, "Wi-Fi"}};
  EXPECT_EQ(cache.getTunerType(), "Wi-Fi");
}

TEST_F(DevicesTest, FillsRequestFieldsToTheLastByte) {
  ASSERT_TRUE(control.setAddress(std::string(60, 'a'), 0x12345));
  EXPECT_EQ(requestText(0, 48), std::string(48, 'a'));
  EXPECT_EQ(platform.request[48] + platform.request[49] * 256, 0x2345);
  ASSERT_TRUE(control.selectReceiver(RECEIVER_DVB_S, "first", std::string(300, 'b')));
  EXPECT_EQ(platform.request[0], 3);
  EXPECT_EQ(requestText(4, 256), "first" + std::string(251, '\0'));
  EXPECT_EQ(requestText(260, 256), std::string(256, 'b'));
}

TEST_F(DevicesTest, SaysWhichRequestFailed) {
  ReceiverControl nobody(nullptr);
  using Call = std::function<bool(ReceiverControl&)>;
  struct Row {
    Call call;
    const char* request;
    const char* error;
  };
  const Row rows[] = {
      {[](ReceiverControl& c) { return c.listSelectedReceivers(); }, "durix_device_execute_request(11)",
       "ERR Failed to list selected receivers"},
      {[](ReceiverControl& c) { return c.listReceivers(); }, "durix_device_execute_request(12)",
       "ERR Failed to list available receivers"},
      {[](ReceiverControl& c) { return c.selectReceiver(RECEIVER_ATSC, "", ""); }, "durix_device_execute_request(13)",
       "ERR Failed to add access point"},
      {[](ReceiverControl& c) { return c.resetReceiversToDefaults(); }, "durix_device_execute_request(14)",
       "ERR Failed to reset receivers to defaults"},
      {[](ReceiverControl& c) { return c.setAddress("::1", 1); }, "durix_device_execute_request(1)",
       "ERR Failed to set address"},
  };
  for (const Row& row : rows) {
    EXPECT_TRUE(row.call(control));
    platform.failing = {{row.request, 1}};
    EXPECT_FALSE(row.call(control));
    platform.failing = {};
    EXPECT_FALSE(row.call(nobody));
    EXPECT_EQ(platform.take(), (Lines{row.request, row.request, row.error, row.error}));
  }
}

TEST_F(DevicesTest, SendsNothingIncomplete) {
  EXPECT_FALSE(control.selectReceiver(RECEIVER_NONE, "a", "b"));
  EXPECT_FALSE(control.setAddress("", 1));
  platform.hasMemory = false;
  EXPECT_FALSE(control.selectReceiver(RECEIVER_ATSC, "a", "b"));
  EXPECT_FALSE(control.setAddress("a", 1));
  EXPECT_EQ(platform.take(), (Lines{"ERR Failed to add access point", "ERR Failed to set address",
                                    "ERR Failed to add access point", "ERR Failed to set address"}));
}

}  // namespace

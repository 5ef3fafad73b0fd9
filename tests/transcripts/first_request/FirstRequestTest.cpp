#include <gtest/gtest.h>

#include "Stage.h"
#include "velmora/Option.h"

namespace {

// Whether a user has asked for a scan holds for the life of a process: this test has one of its own.
TEST(FirstRequest, IsWaitedForByAReadyReceiver) {
  Stage stage;
  stage.addLocations(
      "place.xml", "<locations><location><name>Here</name><frequencies><single/></frequencies></location></locations>");
  BroadcastPlugin* const plugin = stage.startedPlugin();
  // A place that the settings chose is no request.
  plugin->getOptions()->front()->getOption("settings.option.id.location")->setValue("Here");
  stage.drop();
  stage.receiverOn();
  EXPECT_EQ(asText(stage.take()), expected("receiver_without_providers"));
  EXPECT_FALSE(plugin->requestDiscover("RECEIVER_READY", true));
  EXPECT_EQ(stage.take(), Lines{"INFO requestSpecificDiscover VM, location = RECEIVER_READY"});
  EXPECT_TRUE(plugin->requestDiscover("Here", false));
  EXPECT_EQ(asText(stage.take()), expected("request_after_receiver"));
}

}  // namespace

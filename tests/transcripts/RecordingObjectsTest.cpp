#include <gtest/gtest.h>

#include "BroadcastRecording.h"
#include "BroadcastScheduling.h"
#include "RecordingRoom.h"
#include "recording/StoredClips.h"
#include "velmora/ParentalRating.h"

namespace {

constexpr std::uint32_t ID = 50;
constexpr int NOW = 1000000;

class RecordingObjects : public testing::Test, protected RecordingRoom {
 protected:
  RecordingObjects() { openRecorder(); }
  static durix_esg_object object(std::uint32_t kind) { return {kind, ID, 77}; }
};

TEST_F(RecordingObjects, AreReadAttributeByAttribute) {
  describe(ID, "Film", NOW, NOW + 90);
  stage.texts[{ID, DURIX_ATTRIBUTE_DESCRIPTION}] = "Long";
  stage.texts[{ID, DURIX_ATTRIBUTE_PARENTAL_RATING}] = "12 years";
  stage.numbers[{ID, DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID}] = 7;
  durix_esg_object record = object(9);
  BroadcastRecording recording(&record, plugin);
  record.id = 0;  // copied
  EXPECT_FALSE(recording.isScheduled());
  recording.setScheduled(true);
  EXPECT_TRUE(recording.isScheduled());
  EXPECT_EQ(recording.getAvType(), AvContent::AV_RECORDING);
  EXPECT_EQ(recording.getHandle()->kind, 9U);
  EXPECT_EQ(recording.getHandle()->id, ID);
  recording.fillMetadata();
  std::string order;
  for (const int attribute : {22, 16}) order += "durix_attribute_get_str(50." + std::to_string(attribute) + ")\n";
  for (const int attribute : {2, 1}) order += "durix_attribute_get_int(50." + std::to_string(attribute) + ")\n";
  for (const int attribute : {4, 3, 18}) order += "durix_attribute_get_str(50." + std::to_string(attribute) + ")\n";
  order += "durix_attribute_get_int(50.48)\n";
  EXPECT_EQ(lines(), order + "durix_attribute_get_str(50.23)\n");
  EXPECT_EQ(recording.getName() + "|" + recording.getDescription() + "|" + recording.getTargetServiceName(),
            "Film|Long|One");
  EXPECT_EQ(recording.getTargetServiceNetworkId(), 7U);
  EXPECT_EQ(recording.getStartTime() + " " + recording.getEndTime(), "1000000Z 1000090Z");
  EXPECT_EQ(recording.getStartTimeT(), NOW);
  EXPECT_EQ(recording.getEndTimeT(), NOW + 90);
  EXPECT_EQ(recording.getDuration(), 90);
  EXPECT_EQ(recording.propertyGet("uri:friendly", ""), "::bcastrecording::Film::1000000::1000090");
  ParentalRating* const rating = recording.getParentalRating();
  ASSERT_NE(rating, nullptr);
  EXPECT_EQ(rating->getValue(), 12);
  stage.texts[{ID, DURIX_ATTRIBUTE_PARENTAL_RATING}] = "18";
  recording.fillMetadata();
  EXPECT_EQ(recording.getParentalRating(), rating) << "the object stays";
  EXPECT_EQ(rating->getValue(), 18);

  stage.drop();
  record = object(DURIX_OBJECT_TIMER);
  BroadcastScheduling scheduling(&record, plugin);
  scheduling.fillMetadata();
  EXPECT_EQ(lines(), order) << "without a rating";
  EXPECT_EQ(scheduling.getAvType(), AvContent::AV_SCHEDULING);
  EXPECT_EQ(scheduling.getHandle()->id, ID);
  EXPECT_EQ(scheduling.propertyGet("uri:friendly", ""), "::bcastscheduling::Film::1000000::1000090");
}

TEST_F(RecordingObjects, OfNothingAreEmpty) {
  durix_esg_object record = object(DURIX_OBJECT_TIMER);
  BroadcastRecording recording(&record, plugin);
  EXPECT_TRUE(recording.isScheduled()) << "the timer of a timeshift";
  stage.failing["durix_attribute_get_str"] = stage.failing["durix_attribute_get_int"] = 1;
  recording.fillMetadata();
  const Lines errors = stage.takeIf([](const std::string& line) { return line.starts_with("ERR durix_attribute"); });
  EXPECT_EQ(errors.size(), 9U) << "a line for each attribute";
  EXPECT_EQ(recording.getStartTime() + recording.getEndTime(), "ZZ");
  EXPECT_EQ(recording.getDuration(), 0);
  EXPECT_EQ(recording.propertyGet("uri:friendly", ""), "::bcastrecording::::0::0");
}

/// A middleware may take a timer and hand out none.
TEST_F(RecordingObjects, AreNotMadeOfNothing) {
  struct NoChannels final : RecorderHost {
    Service* getService(const std::string&, unsigned) override { return nullptr; }
  } host;
  ClipRegistry clips;
  const std::atomic<durix_recorder*> none = nullptr;
  StoredClips stored(*plugin, host, clips, none);
  EXPECT_EQ(stored.createRecording(nullptr), nullptr);
  EXPECT_EQ(stored.createScheduling(nullptr), nullptr);
  EXPECT_EQ(told(),
            "ERR Given recording handle is null, cannot create recording\n"
            "ERR Given scheduling handle is null, cannot create scheduling\n");
}

TEST_F(RecordingObjects, GiveTheirFeedsBack) {
  durix_esg_object record = object(9);
  BroadcastRecording recording(&record, plugin);
  const int before = stage.liveAllocations();
  EXPECT_TRUE(recording.getFeeds().empty());
  give(ID, {{200, 7, "fin"}, {210, 6, ""}});
  const std::vector<durix_esg_object> feeds = recording.getFeeds();
  ASSERT_EQ(feeds.size(), 2U);
  EXPECT_EQ(feeds.front().id, 200U);
  EXPECT_EQ(feeds.back().id, 210U);
  stage.failing["durix_esg_object_feeds_get"] = 1;
  EXPECT_TRUE(recording.getFeeds().empty());
  EXPECT_EQ(stage.liveAllocations(), before);
}

}  // namespace

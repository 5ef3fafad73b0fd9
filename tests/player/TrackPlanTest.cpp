// What of a programme goes to the decoder, and when the decoder must be told.
#include <gtest/gtest.h>

#include "middleware/player/TrackPlan.h"

namespace durix {
namespace {

Component component(std::uint16_t pid, std::uint8_t type, StreamKind kind, std::vector<std::uint8_t> descriptors = {}) {
  return {.pid = pid, .streamType = type, .kind = kind, .descriptors = std::move(descriptors)};
}

ChosenFeed chosen(std::int32_t type, std::uint16_t pid, const std::string& language = {}, std::uint16_t page = 0) {
  ChosenFeed feed;
  feed.record = {3, static_cast<std::uint32_t>(pid) * 10U + page, 0};
  feed.feed.type = type;
  feed.feed.pid = pid;
  feed.feed.language = language;
  feed.feed.page = page;
  return feed;
}

Program programme(std::uint16_t video, std::uint16_t audio, StreamKind sound = StreamKind::Mpeg1Audio) {
  Program program{.number = 7, .pmtPid = 0x20, .pcrPid = video};
  program.components = {component(video, 2, StreamKind::Mpeg2Video), component(audio, 3, sound)};
  return program;
}

TEST(TrackPlan, HasOneShapeAsLongAsTheDecoderCanGoOn) {
  const std::vector<ChosenFeed> feeds{chosen(DURIX_FEED_VIDEO, 100), chosen(DURIX_FEED_AUDIO, 200)};
  const auto plan = planTracks(programme(100, 200), feeds);
  EXPECT_TRUE(plan.hasAll);
  const std::vector<ChosenFeed> moved{chosen(DURIX_FEED_VIDEO, 300), chosen(DURIX_FEED_AUDIO, 400)};
  const auto elsewhere = planTracks(programme(300, 400), moved);
  EXPECT_EQ(elsewhere.shape, plan.shape) << "other packet identifiers";
  ASSERT_EQ(elsewhere.contents.parts.size(), 2U);
  EXPECT_EQ(elsewhere.contents.parts[0].outPid, plan.contents.parts[0].outPid);
  EXPECT_NE(planTracks(programme(100, 200, StreamKind::Ac3), feeds).shape, plan.shape) << "another codec";
  const auto stale = planTracks(programme(300, 200), feeds);
  EXPECT_FALSE(stale.hasAll);
  EXPECT_EQ(stale.find(DURIX_FEED_VIDEO), nullptr);
  EXPECT_NE(stale.shape, plan.shape) << "no picture";
}

TEST(TrackPlan, KeepsOutOfTheWayOfAClockOfItsOwn) {
  for (std::uint16_t clock = 0x100; clock < 0x104; ++clock) {
    auto program = programme(500, 600);
    program.pcrPid = clock;
    const std::vector<ChosenFeed> feeds{chosen(DURIX_FEED_VIDEO, 500), chosen(DURIX_FEED_AUDIO, 600)};
    const auto contents = planTracks(program, feeds).contents;
    EXPECT_NE(contents.pmtPid, clock);
    for (const auto& part : contents.parts) EXPECT_NE(part.outPid, clock);
  }
}

TEST(TrackPlan, AnnouncesTheChosenEntryAlone) {
  auto program = programme(100, 200);
  program.components.push_back(
      component(300, 6, StreamKind::DvbSubtitle, {0x52, 1,   9,   0x59, 16, 'f', 'r', 'a', 0x10, 0, 1, 0, 1,  //
                                                  'E',  'N', 'G', 0x20, 0,  2,   0,   2}));
  program.components.push_back(component(400, 6, StreamKind::Teletext,
                                         {0x56, 10, 'c', 'e', 's', 1 << 3 | 1, 0x00, 'c', 'e', 's', 2 << 3, 0x88}));
  struct Row {
    ChosenFeed feed;
    std::vector<std::uint8_t> announced;
    const char* why;
  };
  const std::vector<Row> rows{
      {chosen(DURIX_FEED_SUBTITLES, 300, "eng", 2),
       {0x52, 1, 9, 0x59, 8, 'E', 'N', 'G', 0x20, 0, 2, 0, 2},
       "a language, and what else was said"},
      {chosen(DURIX_FEED_SUBTITLES, 400, "ces", 0x888), {0x56, 5, 'c', 'e', 's', 2 << 3, 0x88}, "a page of teletext"},
      {chosen(DURIX_FEED_SUBTITLES, 300, "deu", 3), {0x52, 1, 9}, "none that is there"},
  };
  for (const auto& row : rows) {
    const std::vector<ChosenFeed> feeds{row.feed};
    const auto plan = planTracks(program, feeds);
    ASSERT_EQ(plan.contents.parts.size(), 1U) << row.why;
    EXPECT_EQ(plan.contents.parts[0].component.descriptors, row.announced) << row.why;
  }
  const std::vector<ChosenFeed> two{rows[0].feed, rows[1].feed};
  const auto plan = planTracks(program, two);
  ASSERT_NE(plan.find(DURIX_FEED_SUBTITLES), nullptr);
  EXPECT_EQ(plan.find(DURIX_FEED_SUBTITLES)->pid, 400U) << "the last one wins";
}

}  // namespace
}  // namespace durix

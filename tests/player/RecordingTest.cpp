// Players of recordings: while one is written, to its end, from any second.
#include <gtest/gtest.h>

#include "Screen.h"
#include "durix/durix_recorder.h"

namespace durix::test {
namespace {

const std::filesystem::path AIR = TV_TEST_AIR;

durix_esg_object record(const Television& television, const std::string& channel, std::int32_t seconds) {
  const auto& middleware = television.middleware();
  const auto provider = middleware.provider();
  durix_recorder* recorder = nullptr;
  EXPECT_EQ(durix_recorder_create(&recorder), DURIX_OK);
  EXPECT_EQ(durix_recorder_activate(recorder, &provider), DURIX_OK);
  std::int64_t now = 0;
  ostiv_time_get_system_time(&now);
  const auto start = static_cast<std::int32_t>(now);
  const auto service = television.channel(channel);
  durix_esg_object* timer = nullptr;
  EXPECT_EQ(durix_recorder_add_timer(recorder, provider.protocol, &service, DURIX_TIMER_RECORDING, start,
                                     start + seconds, 30, "Recorded", &timer),
            DURIX_OK);
  durix_esg_object recording{};
  EXPECT_TRUE(eventually([&] {
    durix_esg_object* made = nullptr;
    if (durix_recorder_get_recording(recorder, timer, &made) != DURIX_OK || made == nullptr) return false;
    recording = *made;
    return television.feeds(recording).size() >= 3;
  }));
  return recording;
}

std::uint32_t durationOf(const Screen& screen) {
  std::uint32_t duration = 0;
  EXPECT_EQ(durix_player_get_duration(screen.player(), &duration), DURIX_OK);
  return duration;
}

TEST(RecordingPlayer, PlaysWhatIsBeingWrittenToItsEnd) {
  const Television television({AIR / "474000000.ts"});
  const auto recording = record(television, "Télé Rivière", 7);
  Screen screen;
  ASSERT_TRUE(screen.add(television.feed(recording, DURIX_FEED_VIDEO_SECOND)));
  ASSERT_TRUE(screen.add(television.feed(recording, DURIX_FEED_AUDIO_SECOND, "fra")));
  ASSERT_TRUE(screen.start());
  ASSERT_TRUE(screen.waitFor(DURIX_PLAYER_EVENT_STARTED)) << screen.state().failure;
  const auto begin = durationOf(screen);
  EXPECT_TRUE(screen.waitForPosition(2));
  EXPECT_TRUE(eventually([&] { return durationOf(screen) > begin; })) << "it grows";
  const auto picture = screen.waitForPicture();
  EXPECT_TRUE(picture && picture->colours() > 1);
  EXPECT_TRUE(screen.waitFor(DURIX_PLAYER_EVENT_END_OF_MEDIA)) << "once nobody writes it any more";
  EXPECT_EQ(screen.count(DURIX_PLAYER_EVENT_STARTED), 1U);
  EXPECT_GE(durationOf(screen), 5U);
  EXPECT_GE(screen.position() + 2, durationOf(screen)) << "all of it was played";
  EXPECT_TRUE(screen.stop());

  // And once more, from another place, with another sound.
  ASSERT_TRUE(screen.start());
  ASSERT_TRUE(eventually([&] { return screen.count(DURIX_PLAYER_EVENT_STARTED) == 2; }));
  EXPECT_EQ(durix_player_seek(screen.player(), 3), DURIX_OK);
  EXPECT_TRUE(eventually([&] { return screen.position() >= 3; }));
  EXPECT_TRUE(screen.remove(television.feed(recording, DURIX_FEED_AUDIO_SECOND, "fra")));
  EXPECT_TRUE(screen.add(television.feed(recording, DURIX_FEED_AUDIO_SECOND, "eng")));
  EXPECT_TRUE(eventually([&] {
    const auto state = screen.state();
    const auto* const sound = state.track(DURIX_FEED_AUDIO);
    return sound != nullptr && sound->codec == "ac3";
  }));
  EXPECT_EQ(durix_player_seek(screen.player(), 100'000), DURIX_OK) << "there is no such second";
  EXPECT_TRUE(eventually([&] { return screen.count(DURIX_PLAYER_EVENT_END_OF_MEDIA) == 2; }));
  EXPECT_EQ(screen.count(DURIX_PLAYER_EVENT_FAILED) + screen.count(DURIX_PLAYER_EVENT_CLOSED), 0U);
}

}  // namespace
}  // namespace durix::test

#include <gtest/gtest.h>

#include "BroadcastPlayer.h"
#include "BroadcastRecording.h"
#include "ServiceImpl.h"
#include "Theatre.h"
#include "velmora/Recorder.h"

namespace {

constexpr int AC3 = DURIX_FEED_CONTENT_AC3;
constexpr std::uint32_t EVENT = 500;

const std::vector<Feed> FEEDS = {{100, 1, "fin"}, {101, 1, "eng"},  {102, 1, "eng", AC3},
                                 {110, 2, ""},    {120, 3, "swe"},  {121, 3, "fin"},
                                 {130, 11, ""},   {140, 12, "eng"}, {141, 13, "fin", AC3}};
const std::vector<Feed> RECORDED = {
    {200, 7, "fin"}, {201, 7, "eng", AC3}, {210, 6, ""}, {220, 8, "swe"}, {221, 8, "fin"}};

class Players : public testing::Test, protected Theatre {
 protected:
  Players() { give(ONE, FEEDS); }

  std::string joined(const Lines& languages) {
    std::string all;
    for (const std::string& language : languages) all += (all.empty() ? "" : ", ") + language;
    return all;
  }
  std::string selected(Player& player) {
    return player.getSelectedAudioLanguage() + "|" + player.getSelectedSubtitleLanguage();
  }
  BroadcastPlayer& live(Player& player) { return dynamic_cast<BroadcastPlayer&>(player); }
};

TEST_F(Players, ShowWhatTheSettingsAskFor) {
  open();
  prefer("eng", "fin", true);
  enableSubtitles(true);
  Service* const one = channel(ONE);
  one->setIntProperty("duration", 77);
  stage.drop();
  std::unique_ptr<Player> player = create(one);
  EXPECT_EQ(player->getDuration(), 77U);
  EXPECT_TRUE(player->start(true));
  EXPECT_TRUE(one->isPlaying());
  EXPECT_EQ(selected(*player), "eng / AC-3|fin");
  send(DURIX_PLAYER_EVENT_STARTED, 1);
  send(DURIX_PLAYER_EVENT_STARTED, 1);  // registered once
  give(ONE, {{103, 1, "eng"}, {113, 2, ""}, {123, 3, "fin"}});
  changeFeeds(ONE);
  EXPECT_EQ(selected(*player), "eng|fin");
  send(DURIX_PLAYER_EVENT_FAILED, 1);
  send(DURIX_PLAYER_EVENT_END_OF_MEDIA, 1);
  EXPECT_TRUE(player->stop());
  EXPECT_TRUE(player->stop()) << "once is enough";
  EXPECT_FALSE(one->isPlaying());
  send(DURIX_PLAYER_EVENT_CLOSED, 1);
  send(DURIX_PLAYER_EVENT_STARTED, 1);  // of a player that was stopped: nothing is registered
  player.reset();
  send(DURIX_PLAYER_EVENT_CLOSED, 1);
  EXPECT_EQ(lines(), expected("player_life"));
  for (const char* const message : {"BroadcastPlayer::start()", "playerStarted", "Changing feeds...", "Feed 103 added",
                                    "sendNotifyPlayer isStarted 1, hasError 0"}) {
    EXPECT_EQ(stage.originOf(message), "BC_PLAYER plugins/dvbt/src/BroadcastPlayer") << message;
  }
}

TEST_F(Players, AreSteeredByTheHost) {
  open();
  prefer("eng", "fin");
  Service* const one = channel(ONE);
  std::unique_ptr<Player> player = create(one);
  player->changeAudioLanguage("fin");  // not started yet: written only
  player->changeSubtitleLanguage("fin");
  live(*player).enableSubtitles(true);
  live(*player).enableSubtitles(false);
  EXPECT_TRUE(player->start(false));
  EXPECT_TRUE(player->start(false)) << "its content is playing";
  EXPECT_EQ(selected(*player), "eng|");
  stage.note("-- steering");
  EXPECT_TRUE(player->pause(true));
  player->seek(30);
  stage.position = 31;
  EXPECT_EQ(player->getCurrentPos(), 31U);
  stage.duration = 100;
  EXPECT_EQ(player->getBufferBegin(), 0U);
  EXPECT_EQ(player->getBufferEnd(), 100U);
  EXPECT_EQ(player->getDuration(), 100U);
  EXPECT_TRUE(player->setSize(720, 576));
  stage.note("-- languages");
  EXPECT_EQ(joined(player->getAudioLanguages()), "fin, eng, eng / AC-3");
  EXPECT_EQ(joined(player->getSubtitleLanguages()), "swe, fin, eng, fin");
  player->changeAudioLanguage("eng / AC-3");
  player->changeAudioLanguage("fin / none");
  EXPECT_EQ(selected(*player), "fin|");
  player->changeSubtitleLanguage("swe");  // with none yet: the middleware is asked to remove an empty record
  EXPECT_EQ(selected(*player), "fin|swe");
  stage.note("-- subtitles");
  live(*player).enableSubtitles(false);
  live(*player).enableSubtitles(false);
  live(*player).enableSubtitles(true);
  EXPECT_EQ(selected(*player), "fin|swe") << "shown is what was chosen last";
  give(ONE, {});
  player->changeAudioLanguage("eng");
  player->changeSubtitleLanguage("fin");
  live(*player).enableSubtitles(true);
  EXPECT_EQ(joined(player->getAudioLanguages()) + joined(player->getSubtitleLanguages()), "");
  stage.note("-- subtitles that are not there are off");
  live(*player).enableSubtitles(false);
  live(*player).enableSubtitles(true);
  player->stop();
  give(ONE, {{110, 2, ""}, {121, 3, "fin"}});
  EXPECT_TRUE(player->start(false));
  EXPECT_EQ(selected(*player), "|") << "nothing of what was shown before";
  EXPECT_EQ(lines(), expected("player_steered"));
}

TEST_F(Players, SayWhatTheMiddlewareRefuses) {
  open();
  prefer("eng", "fin");
  enableSubtitles(true);
  Service* const one = channel(ONE);
  std::unique_ptr<Player> player = create(one);
  stage.position = 31;
  stage.duration = 100;
  player->getCurrentPos();
  player->getBufferEnd();
  stage.drop();
  stage.failing = {{"durix_player_feed_add(player 1,110)", 5}};
  EXPECT_FALSE(player->start(true));
  EXPECT_FALSE(one->isPlaying());
  EXPECT_TRUE(player->stop()) << "it has not started";
  stage.failing = {{"durix_player_start", 6}};
  EXPECT_FALSE(player->start(true));
  EXPECT_TRUE(player->stop()) << "nor now";
  stage.failing = {{"durix_player_volume_set", 7}};
  EXPECT_TRUE(player->start(true)) << "without the volume that was asked for";
  send(DURIX_PLAYER_EVENT_STARTED, 1);
  stage.note("-- steering");
  stage.failing = {{"durix_player_volume_set", 7},    {"durix_player_pause", 8},         {"durix_player_seek", 9},
                   {"durix_player_get_position", 10}, {"durix_player_get_duration", 11}, {"durix_player_size_set", 12},
                   {"durix_player_stop", 13},         {"durix_player_feed_remove", 14}};
  stage.position = 99;
  stage.duration = 99;
  EXPECT_FALSE(player->setMute(true));
  EXPECT_FALSE(player->setMute(false));
  EXPECT_FALSE(player->setVolume(20));
  EXPECT_EQ(player->getVolume(), 60) << "not stored";
  EXPECT_FALSE(player->setMute(false)) << "nor for the others";
  EXPECT_FALSE(player->pause(false));
  player->seek(1);
  EXPECT_EQ(player->getCurrentPos(), 31U);
  EXPECT_EQ(player->getBufferEnd(), 96U) << "the last end without the margin";
  EXPECT_EQ(player->getDuration(), 96U);
  EXPECT_FALSE(player->setSize(1, 2));
  stage.note("-- feeds that stay");
  changeFeeds(ONE);  // neither the refusals nor what follows are written
  player->changeAudioLanguage("fin");
  EXPECT_EQ(selected(*player), "fin|fin");
  player->changeSubtitleLanguage("swe");
  live(*player).enableSubtitles(false);
  stage.note("-- feeds that do not come");
  stage.failing.erase("durix_player_feed_remove");
  stage.failing["durix_player_feed_add"] = 15;
  player->changeAudioLanguage("eng");
  EXPECT_EQ(selected(*player), "fin|swe");
  player->changeSubtitleLanguage("fin");
  live(*player).enableSubtitles(true);
  changeFeeds(ONE);
  EXPECT_FALSE(player->stop());
  EXPECT_FALSE(one->isPlaying());
  EXPECT_EQ(lines(), expected("player_refused"));
}

TEST_F(Players, ThatCouldNotBeMadeAreThereAllTheSame) {
  open();
  stage.failing = {{"durix_player_create", 3}, {"durix_player_volume_set", 4}, {"durix_player_destroy", 5}};
  std::unique_ptr<Player> player = create(channel(ONE));
  ASSERT_NE(player, nullptr);
  stage.failing = {{"durix_player_start", 6}};
  EXPECT_FALSE(player->start(true));
  player->setCanvas(nullptr);
  EXPECT_EQ(player->getCanvas(), nullptr);
  send(DURIX_PLAYER_EVENT_STARTED, 1);                              // what the failed call wrote is nobody's
  BroadcastPlayer::sendNotifyPlayer(nullptr, plugin, true, false);  // and no player at all is not this one
  player.reset();
  stage.failing = {{"durix_player_create", 3}, {"durix_player_volume_set", 4}};
  EXPECT_TRUE(plugin->destroySecondaryPlayer(createSecondary(channel(ONE))));
  stage.failing.clear();
  stage.note("-- no content");
  player = create(nullptr);
  EXPECT_FALSE(player->start(true));
  player.reset();
  EXPECT_EQ(lines(), expected("player_not_made"));
}

TEST_F(Players, OfOneChannelStartOnce) {
  open();
  Service* const one = channel(ONE);
  const std::unique_ptr<Player> first = create(one);
  const std::unique_ptr<Player> second = create(one);
  ASSERT_NE(first, second);
  EXPECT_TRUE(first->start(true));
  Player* const beside = createSecondary(one);
  EXPECT_TRUE(beside->start(true)) << "this one all the same";
  EXPECT_TRUE(beside->stop());
  EXPECT_TRUE(one->isPlaying()) << "which is the main one's";
  EXPECT_TRUE(plugin->destroySecondaryPlayer(beside));
  stage.drop();
  EXPECT_TRUE(second->start(true));
  EXPECT_EQ(stage.take(), Lines{"INFO BroadcastPlayer::start()"});
  plugin->setState(PLUGIN_INACTIVE);
  stage.drop();
  EXPECT_TRUE(second->start(true)) << "with a recorder the state does not count";
  EXPECT_EQ(stage.take(), Lines{"INFO BroadcastPlayer::start()"});
}

TEST_F(Players, TakeFeedsOfBothKinds) {
  give(TWO, {{301, 7, "fin", AC3},
             {302, 7, "eng"},
             {300, 1, "eng"},
             {321, 8, "swe"},
             {320, 3, "fin"},
             {311, 6, ""},
             {310, 2, ""}});
  open();
  prefer("eng", "fin", true);
  enableSubtitles(true);
  const std::unique_ptr<Player> player = create(channel(TWO));
  EXPECT_TRUE(player->start(true));
  EXPECT_EQ(selected(*player), "fin / AC-3|swe") << "the later kind is the one that is shown";
  Lines added = stage.takeIf([](const std::string& line) { return line.starts_with("durix_player_feed_add"); });
  for (std::string& line : added) line = line.substr(line.find(',') + 1, 3);
  EXPECT_EQ(added, (Lines{"300", "310", "301", "311", "320", "321"}));
  EXPECT_EQ(joined(player->getAudioLanguages()), "fin / AC-3, eng, eng");
  EXPECT_EQ(joined(player->getSubtitleLanguages()), "swe, fin");
}

TEST_F(Players, OfRecordingsAndEventsTakeTheirOwnFeeds) {
  stage.addProgram(ONE, EVENT, "News", 999000, 1001000);
  give(EVENT, FEEDS);
  give(900, RECORDED);
  open();
  prefer("eng", "fin");
  enableSubtitles(true);
  durix_esg_object object{9, 900, 0};
  BroadcastRecording recording(&object, plugin);
  recording.setIntProperty("duration", 55);
  {
    std::unique_ptr<Player> player = create(&recording);
    stage.duration = 300;
    EXPECT_EQ(player->getDuration(), 300U) << "recordings grow";
    EXPECT_TRUE(player->start(true));
    EXPECT_EQ(selected(*player), "fin|fin") << "not AC-3, whatever its language";
    player->changeAudioLanguage("eng / AC-3");
    player->changeSubtitleLanguage("swe");
    live(*player).enableSubtitles(true);
    send(DURIX_PLAYER_EVENT_STARTED, 1);
    stage.note("-- feeds of a recording do not change");
    changeFeeds(900);
  }
  stage.note("-- an event");
  Program* const program = plugin->getProgram(EVENT);
  program->setIntProperty("duration", 33);
  std::unique_ptr<Player> player = create(program);
  EXPECT_EQ(player->getDuration(), 33U);
  EXPECT_TRUE(player->start(true));
  send(DURIX_PLAYER_EVENT_STARTED, 2);
  stage.note("-- its feeds are those of its channel");
  changeFeeds(EVENT);
  give(ONE, {{113, 2, ""}});
  changeFeeds(ONE);
  EXPECT_EQ(lines(), expected("player_contents"));
}

TEST_F(Players, FollowChangesOfTheirOwnChannelOnly) {
  open();
  prefer("eng", "fin");
  Service* const one = channel(ONE);
  const std::unique_ptr<Player> player = create(one);
  const auto change = [&](std::uint32_t service, std::uint32_t state = 1) {
    stage.drop();
    changeFeeds(service, state);
    return stage.take();
  };
  const Lines ignored = {"INFO DURIX_EVENT_FEEDS_CHANGED, id:12"};
  const Lines unread = {"INFO DURIX_EVENT_FEEDS_CHANGED, id:11", "durix_esg_object_feeds_get(11)"};
  EXPECT_EQ(change(ONE), Lines{}) << "nothing is registered";
  send(DURIX_PLAYER_EVENT_STARTED, 1);
  EXPECT_EQ(change(ONE), Lines{}) << "registered, but not started";
  player->start(true);
  EXPECT_EQ(change(TWO), ignored);
  EXPECT_EQ(change(4294967295U), Lines{"INFO DURIX_EVENT_FEEDS_CHANGED, id:-1"}) << "numbers are shown signed";
  EXPECT_EQ(change(ONE, 2), Lines{"INFO DURIX_EVENT_FEEDS_CHANGED, id:11"});
  give(ONE, {});
  EXPECT_EQ(change(ONE), unread) << "none at all";
  one->setPlaying(false);
  EXPECT_EQ(change(ONE), Lines{});
  one->setPlaying(true);
  BroadcastPlayer::handleFeedsChanged(Event(DURIX_EVENT_FEEDS_CHANGED).data(), nullptr);
  BroadcastPlayer::handleFeedsChanged(nullptr, ScriptedMiddleware::playerOf(1));
  BroadcastPlayer::handleFeedsChanged(Event(DURIX_EVENT_FEEDS_CHANGED).data(), ScriptedMiddleware::playerOf(9));
  EXPECT_EQ(stage.take(), Lines{});
  give(ONE, {{120, 3, "swe"}});
  changeFeeds(ONE);
  EXPECT_EQ(lines(), asText({"INFO DURIX_EVENT_FEEDS_CHANGED, id:11", "durix_esg_object_feeds_get(11)",
                             "INFO Changing feeds...", "INFO Feed type=3 found"}))
      << "no picture, no sound: what is on stays on";
  player->stop();
  EXPECT_EQ(change(ONE), Lines{});
}

TEST_F(Players, OfSoundAloneFollowToo) {
  give(ONE, {{4294967290U, 1, "eng", AC3}});
  open();
  prefer("eng", "fin", true);
  const std::unique_ptr<Player> player = create(channel(ONE));
  player->start(true);
  send(DURIX_PLAYER_EVENT_STARTED, 1);
  give(ONE, {{4294967291U, 1, "fin"}, {4294967292U, 1, "eng", AC3}, {4294967293U, 1, "eng"}});
  changeFeeds(ONE);
  EXPECT_EQ(selected(*player), "eng|") << "the language stays, the wish for AC-3 is one of the start";
  EXPECT_EQ(stage.takeIf([](const std::string& line) { return line.starts_with("INFO Feed -"); }),
            (Lines{"INFO Feed -6 removed", "INFO Feed -3 added"}));
  give(ONE, {{4294967294U, 1, "eng", AC3}});
  changeFeeds(ONE);
  EXPECT_EQ(selected(*player), "eng / AC-3|");
}

TEST_F(Players, WithoutPictureAndSoundDoNotFollow) {
  give(ONE, {{120, 3, "swe"}});
  open();
  const std::unique_ptr<Player> player = create(channel(ONE));
  player->start(true);
  send(DURIX_PLAYER_EVENT_STARTED, 1);
  stage.drop();
  changeFeeds(ONE);
  EXPECT_EQ(stage.take(), Lines{});
  give(ONE, {{100, 1, "eng"}});
  player->changeAudioLanguage("eng");
  EXPECT_EQ(stage.calls("durix_player_feed_remove"), 1) << "the middleware is asked to remove an empty record";
}

TEST_F(Players, BesideTheMainOneAreSilent) {
  give(TWO, FEEDS);
  stage.numbers[{ONE, DURIX_ATTRIBUTE_SOURCE_ID}] = 1;
  stage.numbers[{TWO, DURIX_ATTRIBUTE_SOURCE_ID}] = 2;
  open();
  prefer("eng", "fin");
  enableSubtitles(true);
  Service* const one = channel(ONE);
  const std::unique_ptr<Player> main = create(one);
  main->start(true);
  send(DURIX_PLAYER_EVENT_STARTED, 1);
  stage.drop();
  Player* const second = createSecondary(channel(TWO));
  EXPECT_FALSE(one->isPlayable()) << "of another multiplex";
  EXPECT_TRUE(channel(TWO)->isPlayable());
  EXPECT_TRUE(second->start(true));
  EXPECT_FALSE(channel(TWO)->isPlaying());
  send(DURIX_PLAYER_EVENT_STARTED, 2);
  give(TWO, {{105, 1, "eng"}, {115, 2, ""}, {125, 3, "fin"}});
  changeFeeds(TWO);
  EXPECT_EQ(selected(*second), "|");
  stage.note("-- the main one goes: the registration of the second is made again");
  main->stop();
  changeFeeds(TWO);
  EXPECT_TRUE(plugin->destroySecondaryPlayer(second));
  EXPECT_TRUE(one->isPlayable());
  stage.note("-- its registration stays and does nothing");
  changeFeeds(TWO);
  EXPECT_TRUE(plugin->destroySecondaryPlayer(nullptr));
  EXPECT_EQ(lines(), expected("player_second"));
}

TEST_F(Players, KeepAMarginToTheEndThatTheyKnew) {
  open();
  const std::unique_ptr<Player> player = create(channel(ONE));
  for (const auto& [duration, known] : {std::pair{100U, 96U}, {4U, 0U}, {3U, 0U}, {5U, 1U}}) {
    stage.failing.clear();
    stage.duration = duration;
    EXPECT_EQ(player->getBufferEnd(), duration);
    stage.failing = {{"durix_player_get_duration", 1}};
    EXPECT_EQ(player->getBufferEnd(), known) << duration;
  }
}

TEST_F(Players, BesideARecordingLeaveItItsReceiver) {
  stage.addProgram(TWO, EVENT, "News", 999000, 1001000);
  stage.numbers[{ONE, DURIX_ATTRIBUTE_SOURCE_ID}] = 1;
  stage.numbers[{TWO, DURIX_ATTRIBUTE_SOURCE_ID}] = 2;
  open();
  Service* const one = channel(ONE);
  Service* const two = channel(TWO);
  Player* second = createSecondary(plugin->getProgram(EVENT));
  EXPECT_FALSE(one->isPlayable()) << "an event takes the receiver of its channel";
  plugin->destroySecondaryPlayer(second);
  EXPECT_TRUE(one->isPlayable());
  plugin->getRecorder()->init();
  const Scheduling* const timer = plugin->getRecorder()->record("Now", one, 1000010, 1000070);
  ASSERT_NE(timer, nullptr);
  stage.deliver(Event(DURIX_EVENT_TIMER_ACTIVE).put(DURIX_OFFSET_TIMER_ID, timer->getId()));
  second = createSecondary(two);
  EXPECT_FALSE(two->isPlayable()) << "the recording has the receiver";
  plugin->setPlayableStatus({});
  plugin->destroySecondaryPlayer(second);
  EXPECT_FALSE(two->isPlayable()) << "and keeps it";
}

TEST_F(Players, ShareVolumeAndMute) {
  struct Row {
    const char* property;
    int volume;
  };
  for (const Row& row : {Row{"60", 60}, Row{"0", 0}, Row{"", 0}, Row{"loud", 0}, Row{"7%", 7}, Row{"300", 44},
                         Row{" 12", 12}, Row{"99999999999", 255}}) {
    Theatre other;
    other.open();
    setHostProperty("system.player_volume", row.property);
    EXPECT_EQ(other.create(other.channel(ONE))->getVolume(), row.volume) << row.property;
  }
}

TEST_F(Players, HearOneVolume) {
  open();
  setHostProperty("system.player_mute", "true");
  const std::unique_ptr<Player> first = create(channel(ONE));
  const std::unique_ptr<Player> second = create(channel(TWO));
  EXPECT_TRUE(second->isMuted());
  first->setVolume(30);  // not heard, but kept
  EXPECT_EQ(hostProperty("system.player_volume"), "30");
  EXPECT_EQ(first->getVolume(), 30);
  EXPECT_EQ(second->getVolume(), 60) << "its own";
  second->setMute(false);
  EXPECT_FALSE(first->isMuted());
  EXPECT_EQ(hostProperty("system.player_mute"), "false");
  first->setVolume(150);
  EXPECT_EQ(hostProperty("system.player_volume"), "");
  first->setVolume(100);
  EXPECT_EQ(hostProperty("system.player_volume"), "100");
  setHostProperty("system.player_volume", "45");
  second->start(true);
  EXPECT_EQ(second->getVolume(), 45);
  EXPECT_EQ(lines(), expected("player_volume"));
}

TEST_F(Players, CloseTheGuidesFeedFirst) {
  open();
  plugin->openEsgDataFeeds();
  stage.drop();
  const auto said = [this] {
    return stage.takeIf([](const std::string& line) {
      return line.starts_with("durix_feed") || line.starts_with("durix_player_create");
    });
  };
  const std::string makes = "durix_player_create(0,window 7,a listener)";
  const std::unique_ptr<Player> pages = createTeletext(channel(ONE));
  plugin->destroySecondaryPlayer(createSecondary(channel(ONE)));
  EXPECT_EQ(said(), (Lines{"durix_player_create(1,window 7,pictures,a listener)", makes})) << "only main ones do";
  for (const Lines& wanted : {Lines{"durix_feeds_close(100,1)", makes}, Lines{makes}}) {
    const std::unique_ptr<Player> player = create(channel(ONE));
    EXPECT_EQ(said(), wanted);
  }
}

}  // namespace

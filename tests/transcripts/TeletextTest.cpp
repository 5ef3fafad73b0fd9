#include <gtest/gtest.h>

#include "BroadcastTeletextPlayer.h"
#include "FFPic.h"
#include "Theatre.h"
#include "velmora/Program.h"
#include "velmora/Service.h"

namespace {

constexpr std::uint32_t EVENT = 500;

class Paper : public Canvas {
 public:
  void* getWindowId() override { return reinterpret_cast<void*>(9); }
  unsigned getWidth() override { return 720; }
  unsigned getHeight() override { return 576; }
};

class Teletext : public testing::Test, protected Theatre {
 protected:
  Teletext() { give(ONE, {{110, 2, ""}, {130, 11, ""}, {131, 11, ""}}); }

  /// A page, handed over as the middleware was asked to.
  void show(std::uintptr_t player, std::uint32_t width) {
    const durix_render_data render = stage.renders.at(ScriptedMiddleware::playerOf(player));
    FFPic picture{};
    picture.width = width;
    render.picture(&picture, render.user);
  }

  Paper paper;
};

TEST_F(Teletext, ShowsPages) {
  open();
  std::unique_ptr<Player> player = createTeletext(channel(ONE));
  show(1, 1);
  EXPECT_TRUE(player->start(true));
  EXPECT_FALSE(channel(ONE)->isPlaying());
  EXPECT_TRUE(player->setTeletextPage(100, 2));
  for (int command = 0; command < 4; ++command) {
    EXPECT_TRUE(player->changeTeletextPage(static_cast<VmTeletextPageCmd>(command)));
  }
  player->setCanvas(&paper);
  EXPECT_EQ(player->getCanvas(), &paper);
  show(1, 2);
  EXPECT_TRUE(player->pause(true));
  stage.note("-- neither size nor sound");
  EXPECT_FALSE(player->setSize(1, 2) || player->setVolume(50) || player->setMute(true) || player->isMuted());
  EXPECT_EQ(player->getVolume(), 0);
  EXPECT_EQ(hostProperty("system.player_volume") + hostProperty("system.player_mute"), "60false");
  stage.note("-- events reach players of pictures only by hand");
  send(DURIX_PLAYER_EVENT_STARTED, 1);
  durix_player* const handle = ScriptedMiddleware::playerOf(1);
  BroadcastTeletextPlayer::sendNotifyPlayer(handle, plugin, true, false);
  BroadcastTeletextPlayer::sendNotifyPlayer(handle, plugin, false, true);
  BroadcastTeletextPlayer::sendNotifyPlayer(handle, plugin, false, false);
  EXPECT_TRUE(player->stop());
  EXPECT_TRUE(player->stop());
  const durix_render_data render = stage.renders.at(handle);
  player.reset();
  FFPic late{};
  render.picture(&late, render.user);
  BroadcastTeletextPlayer::imageReceivedEvent(&late, nullptr);
  BroadcastTeletextPlayer::sendNotifyPlayer(handle, plugin, true, false);
  EXPECT_EQ(lines(), expected("teletext"));
  for (const char* const message :
       {"BroadcastTeletextPlayer::start()", "playerError", "Setting canvas  h = 576, w = 720,  window_id=9"}) {
    EXPECT_EQ(stage.originOf(message), "BC_TELETEXT_PLAYER plugins/dvbt/src/BroadcastTeletextPlayer") << message;
  }
}

TEST_F(Teletext, SaysWhatTheMiddlewareRefuses) {
  open();
  const std::unique_ptr<Player> player = createTeletext(channel(ONE));
  stage.failing = {{"durix_player_feed_add(player 1,131)", 5}};
  EXPECT_FALSE(player->start(true));
  EXPECT_TRUE(player->stop()) << "it has not started";
  stage.failing = {{"durix_player_start", 6}};
  EXPECT_FALSE(player->start(false));
  EXPECT_TRUE(player->stop()) << "nor now";
  stage.failing = {{"durix_player_stop", 7},
                   {"durix_player_pause", 8},
                   {"durix_player_teletext_set_page", 9},
                   {"durix_player_teletext_change_page", 10},
                   {"durix_player_render_data_set", 11}};
  EXPECT_TRUE(player->start(true));
  EXPECT_FALSE(player->pause(false));
  EXPECT_FALSE(player->setTeletextPage(899, 0));
  EXPECT_FALSE(player->changeTeletextPage(static_cast<VmTeletextPageCmd>(3)));
  EXPECT_FALSE(player->changeTeletextPage(static_cast<VmTeletextPageCmd>(4)));
  player->setCanvas(&paper);
  EXPECT_FALSE(player->stop());
  EXPECT_EQ(lines(), expected("teletext_refused"));
}

TEST_F(Teletext, WithoutAMiddlewarePlayerOrContentIsThereAllTheSame) {
  open();
  stage.failing = {{"durix_player_create", 3}};
  std::unique_ptr<Player> player = createTeletext(channel(ONE));
  EXPECT_FALSE(player->pause(true));
  EXPECT_FALSE(player->setTeletextPage(100, 0));
  EXPECT_FALSE(player->changeTeletextPage(static_cast<VmTeletextPageCmd>(0)));
  EXPECT_FALSE(player->changeTeletextPage(static_cast<VmTeletextPageCmd>(4)));
  player->setCanvas(&paper);
  stage.failing = {{"durix_player_feed_add", 4}};
  EXPECT_FALSE(player->start(true));
  player.reset();
  stage.note("-- no content");
  player = createTeletext(nullptr);
  EXPECT_FALSE(player->start(true));
  player.reset();
  EXPECT_EQ(lines(), expected("teletext_not_made"));
}

TEST_F(Teletext, StartsInAnActivePluginOnly) {
  open();
  const std::unique_ptr<Player> player = createTeletext(channel(ONE));
  plugin->setState(PLUGIN_INACTIVE);
  stage.drop();
  EXPECT_FALSE(player->start(true)) << "a recorder makes no difference";
  EXPECT_EQ(stage.take(), (Lines{"INFO BroadcastTeletextPlayer::start()",
                                 "INFO Tried to start BroadcastTeletextPlayer when plugin was NOT ACTIVE!"}));
}

TEST_F(Teletext, OfAnEventIsItsOwnAndOfNothingIsNone) {
  stage.addProgram(ONE, EVENT, "News", 999000, 1001000);
  give(EVENT, {{132, 11, ""}});
  give(TWO, {{110, 2, ""}});
  open();
  struct Row {
    const char* reason;
    AvContent* content;
    Lines added;
  };
  std::uintptr_t number = 0;
  for (const Row& row : {Row{"an event", plugin->getProgram(EVENT), {"132"}}, Row{"no pages", channel(TWO), {}},
                         Row{"two sets of pages", channel(ONE), {"130", "131"}}}) {
    const std::unique_ptr<Player> player = createTeletext(row.content);
    EXPECT_TRUE(player->start(true)) << row.reason;
    Lines wanted;
    const std::string call = "durix_player_feed_add(player " + std::to_string(++number) + ",";
    for (const std::string& feed : row.added) wanted.push_back(call + feed + ")");
    EXPECT_EQ(stage.takeIf([&](const std::string& line) { return line.starts_with("durix_player_feed_add"); }), wanted)
        << row.reason;
  }
}

TEST_F(Teletext, MayBeDeletedFromInsideAPicture) {
  open();
  std::unique_ptr<Player> player = createTeletext(channel(ONE));
  screen.onCall = [&] { player.reset(); };
  show(1, 3);
  EXPECT_EQ(player, nullptr);
  player.reset(plugin->createTeletextPlayer(channel(ONE), nullptr, nullptr));
  show(2, 3);  // to nobody
}

}  // namespace

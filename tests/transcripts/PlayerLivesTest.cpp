// Players whose content, plugin or own life ends at the worst moments. What is freed too early shows under the
// sanitizers; what must balance is counted here.
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <utility>

#include "BroadcastPlayer.h"
#include "BroadcastTeletextPlayer.h"
#include "FFPic.h"
#include "Theatre.h"
#include "support/Gate.h"
#include "velmora/Option.h"
#include "velmora/Program.h"
#include "velmora/Service.h"

namespace {

constexpr std::uintptr_t ROUNDS = 36;

/// A listener that notices calls after its end.
class Mortal : public PlayerListener {
 public:
  ~Mortal() override { _isAlive = false; }
  void imageReceived(FFPic*) override { live(); }
  void playerStarted() override { live(); }
  void playerError() override { live(); }
  void playerStopped() override { live(); }
  void playerBlocked() override { live(); }
  void playerUnblocked() override { live(); }
  std::atomic<int> calls = 0;

 private:
  void live() {
    ++calls;
    std::this_thread::yield();
    EXPECT_TRUE(_isAlive);
  }
  std::atomic<bool> _isAlive = true;
};

class PlayerLives : public testing::Test, protected Theatre {
 protected:
  PlayerLives() { give(ONE, {{100, 1, "eng"}, {110, 2, ""}, {120, 3, "fin"}, {130, 11, ""}}); }

  void scan() {
    const durix_scan_configuration nothing{0, nullptr};
    EXPECT_TRUE(plugin->discover(&nothing, BROADCAST_PROTOCOL_DVB, RECEIVER_DVB_T, true));
  }
  void expectBalance() {
    EXPECT_EQ(stage.calls("durix_player_create"), stage.calls("durix_player_destroy"));
    EXPECT_EQ(stage.liveAllocations(), 0);
  }
};

TEST_F(PlayerLives, GoOnWhenTheirContentHasGone) {
  open();
  const std::unique_ptr<Player> player = create(channel(ONE));
  const std::unique_ptr<Player> teletext = createTeletext(channel(ONE));
  EXPECT_TRUE(player->start(true));
  EXPECT_TRUE(teletext->start(true));
  send(DURIX_PLAYER_EVENT_STARTED, 1);
  scan();
  EXPECT_EQ(player->getContent(), nullptr);
  EXPECT_EQ(teletext->getContent(), nullptr);
  stage.drop();
  changeFeeds(ONE);
  EXPECT_TRUE(player->getAudioLanguages().empty());
  EXPECT_TRUE(player->getSubtitleLanguages().empty());
  player->changeAudioLanguage("eng");
  player->changeSubtitleLanguage("fin");
  dynamic_cast<BroadcastPlayer&>(*player).enableSubtitles(true);
  protectChildren(true);
  EXPECT_TRUE(player->pause(true));
  EXPECT_TRUE(player->stop()) << "the middleware has been playing on";
  EXPECT_FALSE(player->start(true));
  EXPECT_TRUE(teletext->stop());
  plugin->setState(PLUGIN_ACTIVE);
  EXPECT_FALSE(teletext->start(true));
  EXPECT_EQ(lines(), expected("player_without_content"));
}

TEST_F(PlayerLives, LetGoOfContentThatDiesWhileTheyAreMade) {
  stage.addProgram(ONE, 500, "News", 999000, 1001000);
  open();
  const std::unique_ptr<Player> ofEvent = create(plugin->getProgram(500));
  const std::unique_ptr<Player> pagesOfEvent = createTeletext(plugin->getProgram(500));
  stage.during["durix_player_create"] = [this] { std::thread([this] { scan(); }).join(); };
  const std::unique_ptr<Player> player = create(channel(ONE));
  for (Player* const each : {player.get(), ofEvent.get(), pagesOfEvent.get()}) EXPECT_EQ(each->getContent(), nullptr);
  EXPECT_FALSE(player->start(true));
  stage.scanFinished({"One"});
  const std::unique_ptr<Player> teletext = createTeletext(channel(ONE));
  EXPECT_EQ(teletext->getContent(), nullptr);
  EXPECT_FALSE(teletext->start(true));
}

TEST_F(PlayerLives, GoOnWhenThePluginHasGone) {
  open();
  std::unique_ptr<Player> player = create(channel(ONE));
  std::unique_ptr<Player> teletext = createTeletext(channel(ONE));
  EXPECT_TRUE(player->start(true));
  EXPECT_TRUE(teletext->start(true));
  send(DURIX_PLAYER_EVENT_STARTED, 1);
  const std::vector<Stage::Registration> registered = stage.registrations;
  bool hadContent = true;
  stage.during["durix_recorder_close"] = [&] { hadContent = player->getContent() != nullptr; };
  stage.close();
  EXPECT_FALSE(hadContent) << "recordings die with the recorder, and players may be playing one";
  stage.drop();
  stage.registrations = registered;
  changeFeeds(ONE);
  send(DURIX_PLAYER_EVENT_STARTED, 1);
  FFPic picture{};
  BroadcastTeletextPlayer::imageReceivedEvent(&picture, teletext.get());
  protectChildren(true);
  EXPECT_TRUE(player->setMute(true));
  player->changeAudioLanguage("eng");
  EXPECT_EQ(dynamic_cast<BroadcastPlayer&>(*player).getPreferredAudioType(), 0U);
  EXPECT_TRUE(player->stop());
  EXPECT_FALSE(player->start(true));
  EXPECT_TRUE(teletext->stop());
  EXPECT_FALSE(teletext->start(true));
  player.reset();
  teletext.reset();
  EXPECT_EQ(lines(), expected("player_without_plugin"));
}

TEST_F(PlayerLives, StartNoMoreOnceThePluginCloses) {
  open();
  const std::unique_ptr<Player> player = create(channel(ONE));
  const std::unique_ptr<Player> teletext = createTeletext(channel(ONE));
  Lines said;
  std::thread host;
  screen.onCall = [&] {  // the plugin waits for the end of this call before it forgets them
    host = std::thread([this] { stage.close(); });
    while (gate::Pass()) std::this_thread::yield();
    stage.drop();
    EXPECT_FALSE(player->start(true));
    EXPECT_FALSE(teletext->start(true));
    said = stage.take();
  };
  send(DURIX_PLAYER_EVENT_FAILED, 1);
  host.join();
  EXPECT_EQ(said, (Lines{"INFO BroadcastPlayer::start()", "INFO BroadcastTeletextPlayer::start()"}));
}

TEST_F(PlayerLives, MayEndInsideTheirListener) {
  open();
  struct Row {
    std::uint32_t event;
    const char* told;
  };
  std::uintptr_t number = 0;
  for (const Row& row : {Row{DURIX_PLAYER_EVENT_STARTED, "> started"}, Row{DURIX_PLAYER_EVENT_FAILED, "> error"},
                         Row{DURIX_PLAYER_EVENT_CLOSED, "> stopped"}}) {
    std::unique_ptr<Player> player = create(channel(ONE));
    EXPECT_TRUE(player->start(true));
    stage.drop();
    screen.onCall = [&] { player.reset(); };
    send(row.event, ++number);
    const Lines lines = stage.take();
    const std::string name = "player " + std::to_string(number);
    ASSERT_GE(lines.size(), 4U);
    EXPECT_EQ(Lines(lines.end() - 4, lines.end()),
              (Lines{row.told, "INFO BroadcastPlayer::stop()", "durix_player_stop(" + name + ")",
                     "durix_player_destroy(" + name + ")"}))
        << "and nothing is registered for it";
  }
}

TEST_F(PlayerLives, MayEndInsideANoticeOfThePlugin) {
  open();
  std::unique_ptr<Player> player = create(channel(ONE));
  stage.onNotice = [&] { player.reset(); };
  send(DURIX_PLAYER_EVENT_FAILED, 1);  // the stage was there before the player's own listener, which goes now
  EXPECT_EQ(player, nullptr);
  stage.onNotice = [] { throw std::runtime_error("careless"); };
  player = create(channel(ONE));
  stage.drop();
  send(DURIX_PLAYER_EVENT_FAILED, 2);
  EXPECT_EQ(stage.take(),
            (Lines{"INFO DURIX_PLAYER_EVENT_FAILED", "> player 0 1", "ERR DURIX_PLAYER_EVENT_FAILED: careless",
                   "INFO sendNotifyPlayer isStarted 0, hasError 1", "INFO playerError", "> error"}))
      << "the player hears of it all the same";
  stage.onNotice = nullptr;
}

TEST_F(PlayerLives, MayEndInsideASettingThatReachesThem) {
  open();
  std::unique_ptr<Player> player = create(channel(ONE));
  EXPECT_TRUE(player->start(true));
  player.reset();
  stage.drop();
  enableSubtitles(true);  // of the main player, which is no more
  prefer("deu", "deu");
  EXPECT_EQ(stage.calls("durix_player_feed_add"), 2);
  player = create(channel(ONE));
  const std::unique_ptr<Player> newer = create(channel(ONE));
  player.reset();
  plugin->destroySecondaryPlayer(createSecondary(channel(ONE)));
  stage.drop();
  Option option;
  option.init(OPTION_BOOL, OPTION_CATEGORY_PLAYBACK, "", "settings.option.id.enable.subtitles", "", false);
  plugin->optionChanged(&option);
  EXPECT_EQ(stage.take(), Lines{"INFO BroadcastPlayer::enableSubtitles: 0"}) << "the newest main player that lives";
}

TEST_F(PlayerLives, SeeFeedsThatChangeWhileTheyStart) {
  open();
  const std::unique_ptr<Player> player = create(channel(ONE));
  bool isFirst = true;
  stage.during["durix_player_volume_set"] = [&] {
    if (!std::exchange(isFirst, false)) return;
    std::thread([&] {
      send(DURIX_PLAYER_EVENT_STARTED, 1);
      changeFeeds(ONE);
    }).join();
  };
  EXPECT_TRUE(player->start(true));
  EXPECT_EQ(stage.calls("durix_player_feed_remove"), 2) << "picture and sound";
}

/// A middleware may wait for all callbacks that are under way before it takes a registration away.
TEST_F(PlayerLives, StartAndEndWhileRegistrationsAreMade) {
  give(TWO, {{210, 2, ""}});
  open();
  std::unique_ptr<Player> first = create(channel(ONE));
  std::unique_ptr<Player> second = create(channel(TWO));
  EXPECT_TRUE(first->start(true) && second->start(true));
  send(DURIX_PLAYER_EVENT_STARTED, 1);
  stage.during["durix_callback_remove(null,24)"] = [&] {
    std::thread([&] { send(DURIX_PLAYER_EVENT_STARTED, 2); }).join();
  };
  stage.drop();
  EXPECT_TRUE(first->stop());
  EXPECT_EQ(stage.take(), (Lines{"durix_callback_remove(null,24)", "durix_callback_add(null,24)",
                                 "INFO BroadcastPlayer::stop()", "durix_player_stop(player 1)"}));
  changeFeeds(TWO);
  EXPECT_EQ(stage.calls("durix_player_feed_remove"), 1) << "the second one hears of it";
  first = create(channel(ONE));
  EXPECT_TRUE(first->start(true));
  stage.during = {{"durix_callback_add(null,24)", [&] { std::thread([&] { first.reset(); }).join(); }}};
  send(DURIX_PLAYER_EVENT_STARTED, 3);
  EXPECT_EQ(stage.calls("durix_callback_remove"), 2);
  EXPECT_EQ(stage.registrations.back().user, ScriptedMiddleware::playerOf(2)) << "which is registered again";
}

TEST_F(PlayerLives, EndWhileEventsAreOnTheirWay) {
  open();
  std::atomic<bool> isOver = false;
  std::atomic<std::uintptr_t> newest = 0;
  std::thread events([&] {
    while (!isOver) {
      for (const std::uint32_t id : {DURIX_PLAYER_EVENT_STARTED, DURIX_PLAYER_EVENT_FAILED}) send(id, newest);
      changeFeeds(ONE);
    }
  });
  std::thread pictures([&] {
    FFPic picture{};
    while (!isOver) {
      std::vector<durix_render_data> known;
      {
        const std::scoped_lock lock(stage.world);
        for (const auto& [player, render] : stage.renders) known.push_back(render);
      }
      for (const durix_render_data& render : known) {
        if (render.picture != nullptr) render.picture(&picture, render.user);
      }
      std::this_thread::yield();
    }
  });
  for (std::uintptr_t round = 0; round < ROUNDS; ++round) {
    auto listener = std::make_unique<Mortal>();
    std::unique_ptr<Player> player(plugin->createPlayer(channel(ONE), nullptr, listener.get()));
    std::unique_ptr<Player> teletext(plugin->createTeletextPlayer(channel(ONE), nullptr, listener.get()));
    newest = 2 * round + 1;
    player->start(true);
    teletext->start(true);
    while (listener->calls < 3) std::this_thread::yield();
    if (round % 2 == 0) player->stop();
    player.reset();
    teletext.reset();
    listener.reset();
  }
  isOver = true;
  events.join();
  pictures.join();
  stage.close();
  expectBalance();
}

TEST_F(PlayerLives, EndWhileThePluginCloses) {
  for (std::uintptr_t round = 0; round < ROUNDS / 6; ++round) {
    Theatre theatre;
    theatre.open();
    std::vector<std::unique_ptr<Player>> players;
    players.reserve(8);
    for (int i = 0; i < 8; ++i) {
      players.push_back(i % 2 == 0 ? theatre.create(theatre.channel(ONE))
                                   : theatre.createTeletext(theatre.channel(ONE)));
    }
    std::thread host([&] {
      for (auto& player : players) {
        player->start(true);
        player->stop();
        player.reset();
      }
    });
    theatre.stage.close();
    host.join();
    EXPECT_EQ(theatre.stage.calls("durix_player_destroy"), 8);
  }
}

TEST_F(PlayerLives, PlayWhileTheirContentGoes) {
  open();
  std::atomic<bool> isOver = false;
  std::mutex choosing;  // a host starts no scan while it makes a player for a channel of the list
  std::thread host([&] {
    while (!isOver) {
      std::unique_ptr<Player> player;
      {
        const std::scoped_lock lock(choosing);
        Service* const one = channel(ONE);
        if (one != nullptr) player = create(one);
      }
      if (player == nullptr) continue;
      player->start(true);
      player->getAudioLanguages();
      player->changeAudioLanguage("eng");
      protectChildren(true);
      protectChildren(false);
      player->stop();
    }
  });
  for (std::uintptr_t round = 0; round < ROUNDS / 6; ++round) {
    {
      const std::scoped_lock lock(choosing);
      scan();
    }
    stage.scanFinished({"One"});
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  isOver = true;
  host.join();
  stage.close();
  expectBalance();
}

}  // namespace

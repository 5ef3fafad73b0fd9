#include <gtest/gtest.h>

#include "BroadcastPlayer.h"
#include "Theatre.h"
#include "velmora/Program.h"
#include "velmora/Service.h"

namespace {

constexpr std::uint32_t NOW = 500;
constexpr std::uint32_t NEXT = 501;
const std::string ADULT = "18";
const std::string CHILD = "0";

const Lines STOPS = {"WARN BroadcastPlayer detected ParentalControl!",
                     "WARN BroadcastPlayer stopping playback based on ParentalControl!",
                     "INFO BroadcastPlayer::stop()",
                     "durix_player_stop(player 1)",
                     "WARN BroadcastPlayer call PlayerListener.playerBlocked() by parental control",
                     "> blocked"};
const std::string UNBLOCKS = "INFO true, notifyProgramEnded() , next program is not blocked and block is enabled";

class ParentalControl : public testing::Test, protected Theatre {
 protected:
  /// Two programmes of the first channel, one on the air and one after it, with their ratings.
  void open(const std::string& now, const std::string& next) {
    stage.addProgram(ONE, NOW, "Now", 999000, 1001000);
    stage.addProgram(ONE, NEXT, "Next", 1001000, 1002000);
    stage.texts[{NOW, DURIX_ATTRIBUTE_PARENTAL_RATING}] = now;
    stage.texts[{NEXT, DURIX_ATTRIBUTE_PARENTAL_RATING}] = next;
    give(ONE, {{110, 2, ""}});
    Theatre::open();
    channel(ONE)->getParentalRating();  // read once and kept
    for (const std::uint32_t id : {NOW, NEXT}) plugin->getProgram(static_cast<int>(id))->getParentalRating();
    stage.drop();
  }
  Program* program(std::uint32_t id) { return plugin->getProgram(static_cast<int>(id)); }
  /// Without what looking at ratings writes.
  Lines take() {
    Lines lines = stage.take();
    std::erase_if(lines, [](const std::string& line) {
      return line.find("arental control = ") != std::string::npos || line.find("limit = ") != std::string::npos ||
             line == "INFO Program";
    });
    return lines;
  }
  std::unique_ptr<Player> started(AvContent* content) {
    std::unique_ptr<Player> player = create(content);
    EXPECT_TRUE(player->start(true));
    stage.drop();
    return player;
  }
};

TEST_F(ParentalControl, RefusesTheStart) {
  open(ADULT, CHILD);
  protectChildren(true);
  const std::unique_ptr<Player> player = create(channel(ONE));
  stage.drop();
  EXPECT_TRUE(player->start(true)) << "the host has been told";
  EXPECT_EQ(take(), (Lines{"INFO BroadcastPlayer::start()", STOPS[4], "> blocked"}));
  EXPECT_FALSE(channel(ONE)->isPlaying());
  EXPECT_TRUE(player->stop());
  const std::unique_ptr<Player> deaf(plugin->createPlayer(channel(ONE), nullptr, nullptr));
  stage.drop();
  EXPECT_FALSE(deaf->start(true)) << "nobody to tell";
  EXPECT_EQ(take(), Lines{"INFO BroadcastPlayer::start()"});
  plugin->sendNotifyProgramEnded(plugin, channel(ONE), program(NOW));
  EXPECT_EQ(take(), (Lines{UNBLOCKS, "> unblocked"})) << "of the first alone: the second was never blocked";
}

TEST_F(ParentalControl, StopsWhenAProgrammeStartsThatItForbids) {
  open(ADULT, CHILD);
  const std::unique_ptr<Player> player = started(channel(ONE));
  protectChildren(true);
  EXPECT_EQ(take(), STOPS) << "the one on the air";
  EXPECT_FALSE(channel(ONE)->isPlaying());
  plugin->sendNotifyCurrentProgram(plugin, channel(ONE), program(NOW));
  Lines again = {"INFO BroadcastPlayer received current program: One : Now"};
  for (const std::size_t line : {0U, 1U, 4U, 5U}) again.push_back(STOPS[line]);
  EXPECT_EQ(take(), again) << "told although it is off";
  plugin->sendNotifyProgramStarted(plugin, channel(TWO), program(NOW));
  plugin->sendNotifyProgramStarted(plugin, channel(ONE), program(NEXT));
  EXPECT_EQ(take(), Lines{}) << "another channel; a programme for all";
  for (const std::string& message : {STOPS[0].substr(5), again[0].substr(5)}) {
    EXPECT_EQ(stage.originOf(message), "BC_PLAYER plugins/dvbt/src/BroadcastPlayer");
  }
}

TEST_F(ParentalControl, GivesWayToTheNextProgramme) {
  open(ADULT, CHILD);
  const std::unique_ptr<Player> player = started(channel(ONE));
  const auto end = [&](std::uint32_t service) {
    plugin->sendNotifyProgramEnded(plugin, channel(service), program(NOW));
    return take();
  };
  protectChildren(true);
  stage.drop();
  EXPECT_EQ(end(TWO), Lines{"INFO notifyProgramEnded() , was not for this service we are playing here "});
  EXPECT_EQ(end(ONE), (Lines{UNBLOCKS, "> unblocked"}));
  EXPECT_EQ(end(ONE), Lines{}) << "blocked no more";
  protectChildren(false);
  EXPECT_EQ(take(), Lines{});
  protectChildren(true);
  stage.drop();
  protectChildren(false);
  EXPECT_EQ(take(), (Lines{UNBLOCKS, "> unblocked"}));
  EXPECT_FALSE(channel(ONE)->isPlaying()) << "to start again is the host's";
}

TEST_F(ParentalControl, StaysWhileTheNextProgrammeIsForbiddenOrUnknown) {
  open(ADULT, ADULT);
  const std::unique_ptr<Player> player = started(channel(ONE));
  protectChildren(true);
  stage.drop();
  plugin->sendNotifyProgramEnded(plugin, channel(ONE), program(NOW));
  EXPECT_EQ(take(), Lines{});
  stage.setTime(1001500);  // the second is on the air, nothing after it
  take();
  plugin->sendNotifyProgramEnded(plugin, channel(ONE), program(NEXT));
  EXPECT_EQ(take(), Lines{"WARN Could not find the next program"});
}

TEST_F(ParentalControl, OfAProgrammeDoesNotStopIt) {
  open(ADULT, CHILD);
  const std::unique_ptr<Player> player = started(program(NOW));
  protectChildren(true);
  EXPECT_EQ(take(), Lines{});
  protectChildren(false);
  EXPECT_EQ(take(), Lines{"INFO notifyProgramEnded() , was not for this service we are playing here "});
}

TEST_F(ParentalControl, LooksAtItsOwnGroupOnly) {
  open(ADULT, CHILD);
  const std::unique_ptr<Player> player = started(channel(ONE));
  Option other;
  other.init(OPTION_BOOL, OPTION_CATEGORY_PLAYBACK, "", "velmora.option.parentalcontrol.enabled.id", "", false);
  dynamic_cast<BroadcastPlayer&>(*player).optionChanged(&other);
  dynamic_cast<BroadcastPlayer&>(*player).optionChanged(nullptr);
  EXPECT_EQ(take(), Lines{});
}

TEST_F(ParentalControl, ListenersMayDeleteThePlayer) {
  open(ADULT, CHILD);
  struct Row {
    const char* when;
    std::function<void(Player*)> act;
  };
  const Row rows[] = {
      {"a start is refused", [](Player* player) { player->start(true); }},
      {"a programme starts", [this](Player*) { plugin->sendNotifyProgramStarted(plugin, channel(ONE), program(NOW)); }},
      {"the guide knows the current programme",
       [this](Player*) { plugin->sendNotifyCurrentProgram(plugin, channel(ONE), program(NOW)); }},
      {"control is switched on", [](Player*) {
         protectChildren(false);
         protectChildren(true);
       }}};
  protectChildren(true);
  for (const Row& row : rows) {
    std::unique_ptr<Player> player = create(channel(ONE));
    screen.onCall = [&] { player.reset(); };
    row.act(player.get());
    EXPECT_EQ(player, nullptr) << row.when;
  }
}

}  // namespace

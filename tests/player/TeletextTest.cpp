// Teletext players on the sample broadcast, through the calls of the contract.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "FFPic.h"
#include "Screen.h"
#include "tests/support/Eventually.h"

namespace durix::test {
namespace {

using Address = std::pair<std::uint32_t, std::uint32_t>;

Television frenchTelevision() {
  return Television({std::filesystem::path(TV_TEST_AIR) / "474000000.ts"});
}

/// A teletext player with the pages that it has shown.
class Teletext {
 public:
  explicit Teletext(const Television& television) {
    const durix_render_data data{DURIX_RENDER_PICTURES, nullptr, take, this};
    EXPECT_EQ(durix_player_create(&player, &data, this), DURIX_OK);
    const auto feed = television.feed(television.channel("Télé Rivière"), DURIX_FEED_TELETEXT);
    EXPECT_EQ(durix_player_feed_add(player, &feed), DURIX_OK);
  }

  bool shows(const Address& address) {
    return eventually([&] {
      const std::scoped_lock lock(_mutex);
      return !_shown.empty() && _shown.back() == address;
    });
  }
  std::size_t count() {
    const std::scoped_lock lock(_mutex);
    return _shown.size();
  }

  durix_player* player = nullptr;
  std::atomic<bool> isGone = false;         // destroyed: the handler must not run
  std::atomic<bool> endsInHandler = false;  // the handler destroys the player

 private:
  static void take(void* picture, void* user) {
    auto& self = *static_cast<Teletext*>(user);
    const auto* const page = static_cast<const FFPic*>(picture);
    EXPECT_FALSE(self.isGone);
    {
      const std::scoped_lock lock(self._mutex);
      self._shown.emplace_back(page->page, page->subpage);
    }
    if (!self.endsInHandler) return;
    self.endsInHandler = false;
    EXPECT_EQ(durix_player_destroy(self.player), DURIX_OK);
    self.isGone = true;
  }

  std::mutex _mutex;
  std::vector<Address> _shown;
};

TEST(TeletextPlayer, ShowsTheFirstPageAndThoseThatAreAskedFor) {
  const auto television = frenchTelevision();
  Teletext teletext(television);
  ASSERT_EQ(durix_player_start(teletext.player, false), DURIX_OK);
  EXPECT_TRUE(teletext.shows({100, 0})) << "the page that the service names";
  EXPECT_EQ(durix_player_teletext_set_page(teletext.player, 300, 2), DURIX_OK);
  EXPECT_TRUE(teletext.shows({300, 2}));
  EXPECT_EQ(durix_player_teletext_change_page(teletext.player, 3), DURIX_OK);
  EXPECT_TRUE(teletext.shows({300, 1}));
  EXPECT_EQ(durix_player_teletext_change_page(teletext.player, 1), DURIX_OK);
  EXPECT_TRUE(teletext.shows({200, 0}));
  EXPECT_NE(durix_player_teletext_set_page(teletext.player, 100, 80), DURIX_OK) << "no subpage has this number";
  EXPECT_EQ(durix_player_stop(teletext.player), DURIX_OK);
  EXPECT_EQ(durix_player_start(teletext.player, false), DURIX_OK);
  EXPECT_EQ(durix_player_teletext_set_page(teletext.player, 101, 0), DURIX_OK);
  EXPECT_TRUE(teletext.shows({101, 0}));
  EXPECT_EQ(durix_player_destroy(teletext.player), DURIX_OK);
}

TEST(TeletextPlayer, EndsAtAnyMoment) {
  const auto television = frenchTelevision();
  for (int round = 0; round < 24; ++round) {
    Teletext teletext(television);
    ASSERT_EQ(durix_player_start(teletext.player, false), DURIX_OK);
    if (round % 4 == 3) {
      teletext.endsInHandler = true;
      EXPECT_TRUE(eventually([&] { return teletext.isGone.load(); }));
      continue;
    }
    std::thread other([&] {
      for (std::uint32_t turn = 0; turn < 40; ++turn) durix_player_teletext_change_page(teletext.player, turn % 4);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(round * 9));
    if (round % 4 == 1) durix_player_stop(teletext.player);
    EXPECT_EQ(durix_player_destroy(teletext.player), DURIX_OK);
    teletext.isGone = true;
    other.join();
  }
}

TEST(TeletextPlayer, ReadsOnWhenItsReceiverWasTaken) {
  const auto television = frenchTelevision();
  Teletext teletext(television);
  ASSERT_EQ(durix_player_start(teletext.player, false), DURIX_OK);
  EXPECT_TRUE(teletext.shows({100, 0}));
  ASSERT_TRUE(television.middleware().scan({474'000'000})) << "a scan takes the only receiver, and gives it back";
  EXPECT_EQ(durix_player_teletext_set_page(teletext.player, 200, 0), DURIX_OK);
  EXPECT_TRUE(teletext.shows({200, 0}));
  EXPECT_TRUE(eventually([&, shown = teletext.count()] { return teletext.count() >= shown + 2; }))
      << "the clock goes on";
  EXPECT_EQ(durix_player_destroy(teletext.player), DURIX_OK);
}

TEST(TeletextPlayer, EndsWithTheMiddleware) {
  auto television = std::make_unique<Television>(
      std::vector<std::filesystem::path>{std::filesystem::path(TV_TEST_AIR) / "474000000.ts"});
  Teletext teletext(*television);
  ASSERT_EQ(durix_player_start(teletext.player, false), DURIX_OK);
  EXPECT_TRUE(teletext.shows({100, 0}));
  television.reset();
  teletext.isGone = true;
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_NE(durix_player_teletext_set_page(teletext.player, 100, 0), DURIX_OK);
}

TEST(TeletextPlayer, NeedsAFeed) {
  const auto television = frenchTelevision();
  durix_player* player = nullptr;
  const durix_render_data data{DURIX_RENDER_PICTURES, nullptr, nullptr, nullptr};
  ASSERT_EQ(durix_player_create(&player, &data, nullptr), DURIX_OK);
  EXPECT_NE(durix_player_start(player, false), DURIX_OK);
  EXPECT_NE(durix_player_teletext_change_page(player, 0), DURIX_OK) << "no page has come";
  EXPECT_EQ(durix_player_destroy(player), DURIX_OK);
}

}  // namespace
}  // namespace durix::test

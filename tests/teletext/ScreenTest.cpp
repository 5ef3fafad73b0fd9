#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "FFPic.h"
#include "middleware/api/Failure.h"
#include "middleware/player/TeletextScreen.h"
#include "tests/support/Eventually.h"
#include "tests/teletext/Carousel.h"

namespace durix {
namespace {

constexpr std::uint16_t PID = 0x123;

/// A screen that is on, with what it hands out and a carousel that feeds it.
class Screen : public testing::Test {
 protected:
  struct Shown {
    TeletextAddress address;
    std::string text;   // of line 1
    std::string clock;  // the last eight characters of the header

    bool operator==(const Shown&) const = default;
  };

  Screen() {
    screen = std::make_unique<TeletextScreen>(durix_render_data{DURIX_RENDER_PICTURES, nullptr, take, this});
    screen->setStreams({{PID, "eng"}}, 100);
    screen->setShown(true);
  }

  static void take(void* picture, void* user) {
    const auto* const from = static_cast<const FFPic*>(picture);
    auto& self = *static_cast<Screen*>(user);
    EXPECT_EQ(from->stride, from->width * 4);
    std::string text = from->lines[1];
    text.erase(text.find_last_not_of(' ') + 1);
    std::function<void()> during;
    {
      const std::scoped_lock lock(self.mutex);
      during = self.during;
      self.shown.push_back({{from->page, from->subpage}, text, std::string(from->lines[0]).substr(32)});
    }
    if (during) during();
  }

  void send(unsigned page, unsigned subpage, const std::string& text, const std::string& clock = "12:00:00") {
    for (const auto& packet : carousel.page(page, subpage, text, clock)) screen->feed(PacketView(packet));
  }
  /// Ends the page before it.
  void sendEnd(const std::string& clock = "12:00:00") { send(0x8FF, 0, "", clock); }

  void doInHandler(std::function<void()> work) {
    const std::scoped_lock lock(mutex);
    during = std::move(work);
  }

  std::vector<Shown> all() {
    const std::scoped_lock lock(mutex);
    return shown;
  }
  bool comes(std::size_t count) {
    return test::eventually([&] { return all().size() >= count; });
  }
  TeletextAddress lastOf(std::size_t count) {
    EXPECT_TRUE(comes(count));
    return all().back().address;
  }
  static void wait() { std::this_thread::sleep_for(std::chrono::milliseconds(600)); }  // longer than any delay

  test::Carousel carousel{PID};
  std::mutex mutex;
  std::function<void()> during;  // in the handler; guarded by mutex, as the next
  std::vector<Shown> shown;
  std::unique_ptr<TeletextScreen> screen;
};

TEST_F(Screen, ShowsThePageThatIsWantedWhenItComesAndWhenItChanges) {
  send(0x200, 0, "other");
  sendEnd();
  wait();
  EXPECT_TRUE(all().empty()) << "the first page is 100, which has not come";
  send(0x100, 0, "index");
  sendEnd();
  ASSERT_TRUE(comes(1));
  EXPECT_EQ(all()[0], (Shown{{100, 0}, "index", "12:00:00"}));
  screen->show({200, 0});
  ASSERT_TRUE(comes(2)) << "a page that is there";
  EXPECT_EQ(all()[1].address, (TeletextAddress{200, 0}));
  send(0x200, 0, "other");
  sendEnd();
  wait();
  EXPECT_EQ(all().size(), 2U) << "the same again";
  send(0x200, 0, "changed");
  sendEnd();
  ASSERT_TRUE(comes(3));
  EXPECT_EQ(all()[2].text, "changed");
  send(0x300, 0, "elsewhere", "12:00:01");
  sendEnd("12:00:01");
  ASSERT_TRUE(comes(4)) << "the clock goes on";
  EXPECT_EQ(all()[3], (Shown{{200, 0}, "changed", "12:00:01"}));
}

TEST_F(Screen, BoundsHowOftenAPageIsShown) {
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < 200; ++i) {
    send(0x100, 0, "count " + std::to_string(i));
    sendEnd();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  ASSERT_TRUE(test::eventually([&] { return !all().empty() && all().back().text == "count 199"; }));
  const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
  EXPECT_LE(all().size(), 2U + static_cast<std::size_t>(took.count()) / 250);
}

TEST_F(Screen, GoesRoundPagesAndSubpagesThatHaveCome) {
  EXPECT_THROW(screen->change(0), Failure) << "nothing has come";
  const std::pair<unsigned, unsigned> sent[] = {{0x100, 0}, {0x1F0, 0},    {0x234, 1},
                                                {0x234, 2}, {0x234, 0x10}, {0x899, 0}};
  for (const auto& [page, subpage] : sent) {
    send(page, subpage, "text");
    sendEnd();  // only another page ends one
  }
  ASSERT_TRUE(comes(1));
  struct Row {
    std::uint32_t command;
    TeletextAddress expected;
    const char* reason;
  };
  const Row rows[] = {
      {0, {234, 10}, "the next page, past one for no viewer; the subpage that came last"},
      {2, {234, 1}, "the next subpage, round"},
      {2, {234, 2}, "the next subpage"},
      {3, {234, 1}, "the one before"},
      {3, {234, 10}, "the one before, round"},
      {0, {899, 0}, "the next page"},
      {0, {100, 0}, "the next page, round"},
      {1, {899, 0}, "the page before, round"},
      {1, {234, 10}, "the page before"},
  };
  std::size_t count = 1;
  for (const Row& row : rows) {
    screen->change(row.command);
    EXPECT_EQ(lastOf(++count), row.expected) << row.reason;
  }
  screen->show({500, 0});
  screen->change(1);
  EXPECT_EQ(lastOf(++count), (TeletextAddress{234, 10})) << "from a page that has not come";
  EXPECT_THROW(screen->show({99, 0}), Failure);
  EXPECT_THROW(screen->show({100, 80}), Failure);
}

TEST_F(Screen, ForgetsAPageOfWhichSomethingWasLost) {
  send(0x100, 0, "whole");
  sendEnd();
  ASSERT_TRUE(comes(1));
  send(0x100, 0, "damaged");
  carousel.page(0x100, 0, "lost");
  sendEnd();
  wait();
  EXPECT_EQ(all().size(), 1U);
  send(0x100, 0, "whole again");
  sendEnd();
  ASSERT_TRUE(comes(2));
  EXPECT_EQ(all()[1].text, "whole again");
  send(0x100, 0, "half at the end of a file");
  screen->interrupt();
  sendEnd();
  wait();
  EXPECT_EQ(all().size(), 2U) << "what the file begins with may be another page's";
}

TEST_F(Screen, KeepsTheStreamThatStaysWhenOthersCome) {
  send(0x100, 0, "index");
  sendEnd();
  ASSERT_TRUE(comes(1));
  screen->setStreams({{PID + 1, "eng"}, {PID, "eng"}}, 100);
  screen->show({100, 0});
  ASSERT_TRUE(comes(2));
  screen->setStreams({{PID + 1, "eng"}}, 100);
  screen->show({100, 0});
  wait();
  EXPECT_EQ(all().size(), 2U) << "the stream is gone with its pages";
}

TEST_F(Screen, HandsNothingOutAfterItsEndNorToAnOldHandler) {
  send(0x100, 0, "index");
  sendEnd();
  ASSERT_TRUE(comes(1));
  screen->setPaused(true);
  screen->show({100, 0});
  wait();
  EXPECT_EQ(all().size(), 1U);
  screen->setHandler({DURIX_RENDER_PICTURES, nullptr, nullptr, nullptr});
  screen->setPaused(false);
  wait();
  EXPECT_EQ(all().size(), 1U);
  screen->setHandler({DURIX_RENDER_PICTURES, nullptr, take, this});
  ASSERT_TRUE(comes(2));
  std::atomic<bool> isInside = false;
  doInHandler([&] {
    isInside = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    isInside = false;
  });
  screen->show({100, 0});
  ASSERT_TRUE(test::eventually([&] { return isInside.load(); }));
  screen->close();
  EXPECT_FALSE(isInside) << "the end waits for the handler";
  screen->show({100, 0});
  wait();
  EXPECT_EQ(all().size(), 3U);
}

TEST_F(Screen, MayBeEndedInItsHandler) {
  std::atomic<bool> isGone = false;
  doInHandler([&] {
    screen.reset();
    isGone = true;
  });
  send(0x100, 0, "index");
  const auto last = carousel.page(0x8FF, 0, "");  // the screen may be gone before this call returns
  TeletextScreen* const alive = screen.get();
  {
    const std::scoped_lock lock(mutex);  // the handler waits until the feed is over
    for (const auto& packet : last) alive->feed(PacketView(packet));
  }
  EXPECT_TRUE(test::eventually([&] { return isGone.load(); }));
}

}  // namespace
}  // namespace durix

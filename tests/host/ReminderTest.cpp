#include <gtest/gtest.h>

#include "host/Reminders.h"
#include "tests/host/Support.h"
#include "tests/host/TestPlugin.h"
#include "velmora/Velmora.h"

namespace {

constexpr std::int64_t START = 2'000'000;

struct Reminded : PluginListener {
  void notifyReminder(Plugin*, AvContent* content) override { ids += std::to_string(content->getId()) + ";"; }
  std::string ids;
};

class Reminders : public ::testing::Test {
 protected:
  Reminders() {
    _plugin->programs = {{7, &_seven}, {8, &_eight}};
    _plugin->addListener(&_listener);
  }

  ManualClock _clock{START};
  Reminded _listener;
  std::unique_ptr<TestPlugin> _plugin = std::make_unique<TestPlugin>();
  Program _seven{7, _plugin.get()};
  Program _eight{8, _plugin.get()};
};

TEST_F(Reminders, FireOnceAtTheirTimeUnlessRemoved) {
  host::addReminder({_plugin.get(), 8, START + 20, "b"});
  host::addReminder({_plugin.get(), 7, START + 10, "a"});
  const auto removed = host::addReminder({_plugin.get(), 7, START + 10, "c"});
  EXPECT_TRUE(host::removeReminder(removed));
  EXPECT_FALSE(host::removeReminder(removed));
  _clock.set(START + 9);
  EXPECT_EQ(_listener.ids, "");
  _clock.set(START + 10);
  EXPECT_EQ(_listener.ids, "7;");
  _clock.set(START + 100);
  EXPECT_EQ(_listener.ids, "7;8;");
  EXPECT_TRUE(host::reminders(_plugin.get()).empty());
}

TEST_F(Reminders, SleepWhileContentsGoAndWakeWhenTheyAreBack) {
  TestPlugin other;
  host::addReminder({_plugin.get(), 7, START + 10, "a"});
  host::addReminder({_plugin.get(), 9, START + 10, "not found again"});
  Velmora::getInstance()->removeReminders(_plugin.get());
  Velmora::getInstance()->updateReminders(&other);
  _clock.set(START + 20);
  EXPECT_EQ(_listener.ids, "");
  EXPECT_EQ(host::reminders(_plugin.get()).size(), 2U);
  const LogCapture log;
  Velmora::getInstance()->updateReminders(_plugin.get());
  host::settle();
  EXPECT_EQ(_listener.ids, "7;");
  ASSERT_EQ(log.lines().size(), 2U);
  EXPECT_NE(log.lines()[1].message.find("not found again"), std::string::npos);
}

TEST_F(Reminders, DieWithTheirPlugin) {
  host::addReminder({_plugin.get(), 7, START + 10, "a"});
  _plugin.reset();
  _clock.set(START + 20);
  EXPECT_EQ(_listener.ids, "");
}

}  // namespace

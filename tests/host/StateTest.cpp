#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "host/HostState.h"
#include "tests/host/Support.h"
#include "velmora/Option.h"
#include "velmora/Velmora.h"

namespace {

std::string contentsOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

void write(const std::filesystem::path& file, const std::string& text) {
  std::ofstream(file, std::ios::binary) << text;
}

Velmora& velmora() {
  return *Velmora::getInstance();
}

TEST(HostState, KeepsPropertiesAndOptionValuesOverRuns) {
  const TemporaryDirectory data;
  const TemporaryDirectory other;
  ASSERT_TRUE(host::open(data.path()));
  velmora().setProperty("plugin.broadcast.receiver_address", "10.0.0.1:80 \"ü\n\x01");
  velmora().setProperty("esg_language", "");
  velmora().setProperty("system.library_directory", "/somewhere");
  host::rememberOption("settings.option.id.location", "Full Scan");
  EXPECT_EQ(velmora().getSystemProperty("system.library_directory"), "/somewhere");
  EXPECT_EQ(contentsOf(data.path() / "host.json").find("somewhere"), std::string::npos);

  ASSERT_TRUE(host::open(other.path()));
  EXPECT_EQ(velmora().getProperty("plugin.broadcast.receiver_address"), "");
  EXPECT_TRUE(host::rememberedOptions().empty());

  ASSERT_TRUE(host::open(data.path()));
  EXPECT_EQ(velmora().getProperty("plugin.broadcast.receiver_address"), "10.0.0.1:80 \"ü\n\x01");
  EXPECT_EQ(host::rememberedOptions(),
            (std::map<std::string, std::string>{{"settings.option.id.location", "Full Scan"}}));
  EXPECT_EQ(velmora().getSystemProperty("system.library_directory"), "/somewhere");  // of this run, not of the file
}

TEST(HostState, MeetsBadFilesWithOneLineAndLosesNothing) {
  enum class After { ASIDE, UNTOUCHED };
  struct Row {
    const char* reason;
    const char* bytes;
    After after;
  };
  const Row rows[] = {
      {"empty", "", After::ASIDE},
      {"cut off", R"({"version": 1, "properties": {"a": "b")", After::ASIDE},
      {"no object", "[1, 2]", After::ASIDE},
      {"some other file", R"({"name": "x"})", After::ASIDE},
      {"a value that is no text", R"({"version": 1, "properties": {"a": 1}, "options": {}})", After::ASIDE},
      {"a part is missing", R"({"version": 1, "properties": {}})", After::ASIDE},
      {"any bytes", "\xFF\x80{\x01", After::ASIDE},
      {"of a newer version", R"({"version": 2, "properties": [], "more": {}})", After::UNTOUCHED},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    const LogCapture log;
    const TemporaryDirectory data;
    const auto file = data.path() / "host.json";
    write(file, row.bytes);
    const bool aside = row.after == After::ASIDE;
    EXPECT_EQ(host::open(data.path()), aside);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].level, "ERR");
    EXPECT_NE(log.lines()[0].message.find(file.string()), std::string::npos);
    velmora().setProperty("test.state", row.reason);
    EXPECT_EQ(velmora().getProperty("test.state"), row.reason);
    EXPECT_EQ(contentsOf(aside ? data.path() / "host.json.damaged" : file), row.bytes);
    EXPECT_EQ(contentsOf(file).find(row.reason) != std::string::npos, aside);
  }
}

TEST(HostState, LeavesTheOldFileWhenTheNewOneCannotBeWritten) {
  const TemporaryDirectory data;
  ASSERT_TRUE(host::open(data.path()));
  velmora().setProperty("test.kept", "before");
  const std::string before = contentsOf(data.path() / "host.json");
  std::filesystem::create_directories(data.path() / "host.json.tmp" / "in the way");
  const LogCapture log;
  velmora().setProperty("test.kept", "after");
  EXPECT_EQ(velmora().getProperty("test.kept"), "after");
  EXPECT_EQ(contentsOf(data.path() / "host.json"), before);
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_FALSE(host::save());
}

TEST(HostState, GivesOptionsOfTheHostTheirValues) {
  const TemporaryDirectory data;
  write(data.path() / "host.json",
        R"({"version": 1, "properties": {}, "options": {"host.test.deep": "true", "host.test.bad": "x"}})");
  ASSERT_TRUE(host::open(data.path()));
  auto* const group = new OptionGroup;
  group->init("host", "host.test", "d");
  auto* const inner = new OptionGroup;
  inner->init("host", "host.test.inner", "d");
  group->addOption(inner);
  auto* const deep = new Option;
  deep->init(OPTION_BOOL, OPTION_CATEGORY_PLAYBACK, "host", "host.test.deep", "d", false);
  inner->addOption(deep);
  auto* const bad = new Option;
  bad->init(OPTION_INTEGER, OPTION_CATEGORY_PLAYBACK, "host", "host.test.bad", "d", false);
  bad->setValue(3);
  group->addOption(bad);
  host::addHostOptionGroup(group);
  EXPECT_TRUE(deep->getBooleanValue());
  EXPECT_EQ(bad->getIntegerValue(), 3);
  EXPECT_EQ(velmora().getOptions().back(), group);
  host::rememberOption("host.test.deep", "false");
  ASSERT_TRUE(host::open(data.path()));
  EXPECT_FALSE(deep->getBooleanValue());
}

TEST(HostState, IsWholeAtAnyMomentOfManyWriters) {
  const TemporaryDirectory data;
  ASSERT_TRUE(host::open(data.path()));
  std::vector<std::thread> writers;
  for (int writer = 0; writer < 3; ++writer) {
    writers.emplace_back([writer] {
      for (int i = 1; i <= 20; ++i) velmora().setProperty("test.writer" + std::to_string(writer), std::to_string(i));
    });
  }
  for (auto& writer : writers) writer.join();
  ASSERT_TRUE(host::open(data.path()));
  for (int writer = 0; writer < 3; ++writer) {
    EXPECT_EQ(velmora().getProperty("test.writer" + std::to_string(writer)), "20");
  }
}

}  // namespace

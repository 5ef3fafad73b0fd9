#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "tests/host/Support.h"
#include "velmora/Logger.h"

namespace {

/// Used while static objects are being made.
Logger* const EARLY = [] {
  Logger* const logger = Logger::loggerFactory("EARLY");
  logger->_log("INFO", "static.cpp", 1, "nobody listens yet");
  return logger;
}();

std::vector<std::string> linesOf(const std::filesystem::path& file) {
  std::ifstream stream(file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST(Logger, IsOneForEachCategory) {
  EXPECT_EQ(Logger::loggerFactory("EARLY"), EARLY);
  EXPECT_NE(Logger::loggerFactory("LATE"), EARLY);
}

TEST(Logger, GivesEachLineItsParts) {
  const LogCapture log;
  EARLY->_log("WARN", "source.cpp", 42, "%s = %u%%", "level", 7U);
  ASSERT_EQ(log.lines().size(), 1U);
  const host::LogLine line = log.lines()[0];
  EXPECT_EQ(line.level + " " + line.category + " " + line.file + " " + std::to_string(line.line) + " " + line.message,
            "WARN EARLY source.cpp 42 level = 7%");
}

TEST(Logger, WritesOneWholeLineWhateverTheMessage) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "tv.log";
  ASSERT_TRUE(host::setLogFile(file));
  const std::string longText(5'000, 'x');
  EARLY->_log("INFO", "a.cpp", 1, "two\nlines\x1b[0m Zürich");
  EARLY->_log("ERR", "a.cpp", 2, "%s", longText.c_str());
  EARLY->_log("INFO", "a.cpp", 3, "%s", "");
  ASSERT_TRUE(host::setLogFile(""));
  EARLY->_log("INFO", "a.cpp", 4, "no longer");
  const auto lines = linesOf(file);
  ASSERT_EQ(lines.size(), 3U);
  std::string shape = lines[0].substr(0, 24);
  std::replace_if(
      shape.begin(), shape.end(), [](char c) { return c >= '0' && c <= '9'; }, '9');
  EXPECT_EQ(shape, "9999-99-99T99:99:99.999Z");
  EXPECT_EQ(lines[0].substr(24), R"( INFO EARLY a.cpp:1 two\x0Alines\x1B[0m Zürich)");
  EXPECT_EQ(lines[1].substr(lines[1].size() - longText.size() - 8), "a.cpp:2 " + longText);
  EXPECT_FALSE(host::setLogFile(directory.path() / "no" / "such" / "folder"));
}

TEST(Logger, AppendsWholeLinesFromManyThreads) {
  constexpr int THREADS = 4;
  constexpr int EACH = 100;
  const TemporaryDirectory directory;
  const auto file = directory.path() / "tv.log";
  ASSERT_TRUE(host::setLogFile(file));
  EARLY->_log("INFO", "a.cpp", 1, "first");
  ASSERT_TRUE(host::setLogFile(file));  // a later run goes on where this one ended
  std::vector<std::thread> threads;
  for (int thread = 0; thread < THREADS; ++thread) {
    threads.emplace_back([] {
      for (int i = 0; i < EACH; ++i) Logger::loggerFactory("MANY")->_log("INFO", "b.cpp", i, "%0100d", i);
    });
  }
  for (auto& thread : threads) thread.join();
  ASSERT_TRUE(host::setLogFile(""));
  const auto lines = linesOf(file);
  ASSERT_EQ(lines.size(), std::size_t{THREADS} * EACH + 1);
  for (size_t i = 1; i < lines.size(); ++i) EXPECT_EQ(lines[i].size() - lines[i].rfind(' '), 101U) << lines[i];
}

TEST(Logger, ShowsOnStandardErrorFromALevelUp) {
  testing::internal::CaptureStderr();
  host::setLogToStandardError("WARN");
  EARLY->_log("INFO", "a.cpp", 1, "quiet");
  EARLY->_log("WARN", "a.cpp", 2, "warned");
  EARLY->_log("ERR", "a.cpp", 3, "failed");
  host::setLogToStandardError("");
  EARLY->_log("ERR", "a.cpp", 4, "after");
  const std::string shown = testing::internal::GetCapturedStderr();
  EXPECT_EQ(shown.find("quiet"), std::string::npos);
  EXPECT_NE(shown.find("warned"), std::string::npos);
  EXPECT_NE(shown.find("failed"), std::string::npos);
  EXPECT_EQ(shown.find("after"), std::string::npos);
}

}  // namespace

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>

#include "Support.h"
#include "middleware/durix_tools.h"
#include "middleware/portability/Files.h"

namespace durix::test {
namespace {

std::vector<std::string> entries(const std::filesystem::path& directory) {
  std::vector<std::string> names;
  void* iterator = nullptr;
  ostiv_directory_entry entry{};
  while (ostiv_file_directory_read(directory.c_str(), &iterator, &entry) == 0) {
    names.push_back(static_cast<const char*>(entry.name) + std::string(":") + std::to_string(entry.type));
  }
  EXPECT_EQ(iterator, nullptr) << "freed by the call that fails";
  return names;
}

TEST(Memory, CountsItsBlocksAndCatchesOthers) {
  const auto live = durix_tools_memory_live();
  const auto mixups = durix_tools_memory_mixups();
  auto* const block = static_cast<unsigned char*>(ostiv_mem_calloc(3, 5));
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::count(block, block + 15, 0), 15) << "zero-filled";
  void* const empty = ostiv_mem_calloc(0, 8);
  EXPECT_NE(empty, nullptr) << "nothing is not the same as no memory";
  EXPECT_EQ(durix_tools_memory_live(), live + 2);
  EXPECT_EQ(ostiv_mem_calloc(std::numeric_limits<std::size_t>::max() / 2, 3), nullptr) << "the product overflows";
  ostiv_mem_free(block);
  ostiv_mem_free(empty);
  ostiv_mem_free(nullptr);
  EXPECT_EQ(durix_tools_memory_live(), live);
  EXPECT_EQ(durix_tools_memory_mixups(), mixups);

  // What it did not give is not even looked at: a place in memory of others, nowhere at all, a block freed before.
  std::array<std::uint64_t, 8> foreign{};
  void* const freedBefore = block;
  for (void* const other :
       {static_cast<void*>(&foreign[4]), reinterpret_cast<void*>(std::uintptr_t{0xDEAD0}), freedBefore}) {
    ostiv_mem_free(other);
  }
  EXPECT_EQ(durix_tools_memory_mixups(), mixups + 3);
  EXPECT_EQ(durix_tools_memory_live(), live);
}

TEST(Files, AppearWholeOrNotAtAll) {
  const TemporaryDirectory directory;
  setDataDirectory(directory.path());
  write(directory / "order", {'o', 'l', 'd'});
  ostiv_file file{};
  ASSERT_EQ(ostiv_file_open(&file, "order", "w"), 0U) << "relative names are below the data directory";
  EXPECT_EQ(file.size, 0U);
  ASSERT_EQ(ostiv_file_write(&file, "new", 3), 0U);
  EXPECT_EQ(contentsOf(directory / "order"), "old") << "until it is closed";
  ostiv_file copy = file;
  ASSERT_EQ(ostiv_file_close(&file), 0U);
  EXPECT_EQ(contentsOf(directory / "order"), "new");
  EXPECT_NE(ostiv_file_write(&copy, "x", 1), 0U) << "closed under another name";
  EXPECT_NE(ostiv_file_close(&copy), 0U);
  EXPECT_NE(ostiv_file_close(&file), 0U) << "twice";
  EXPECT_EQ(entries(directory.path()), std::vector<std::string>{"order:2"}) << "nothing is left behind";

  ASSERT_EQ(ostiv_file_open(&file, (directory / "order").c_str(), "r"), 0U);
  EXPECT_EQ(file.size, 3U);
  std::array<char, 2> part{};
  std::uint32_t count = 0;
  EXPECT_EQ(ostiv_file_read(&file, part.data(), 2, &count), 0U);
  EXPECT_EQ(std::string(part.data(), count), "ne");
  EXPECT_EQ(ostiv_file_read(&file, part.data(), 2, &count), 0U);
  EXPECT_EQ(std::string(part.data(), count), "w");
  EXPECT_EQ(ostiv_file_read(&file, part.data(), 2, &count), 0U);
  EXPECT_EQ(count, 0U) << "the end";
  EXPECT_NE(ostiv_file_write(&file, "x", 1), 0U) << "open for reading";
  EXPECT_EQ(ostiv_file_close(&file), 0U);
}

TEST(Files, KeepTheOldOneWhenTheNewOneFails) {
  const TemporaryDirectory directory;
  write(directory / "order", {'o', 'l', 'd'});
  ostiv_file file{};
  ASSERT_EQ(ostiv_file_open(&file, (directory / "order").c_str(), "w"), 0U);
  std::filesystem::remove(directory / "order");
  std::filesystem::create_directory(directory / "order");  // nothing can take its place
  EXPECT_NE(ostiv_file_close(&file), 0U);
  EXPECT_EQ(entries(directory.path()), std::vector<std::string>{"order:1"});
}

TEST(Files, RefuseWhatIsNone) {
  const TemporaryDirectory directory;
  std::filesystem::create_directory(directory / "folder");
  ASSERT_EQ(::mkfifo((directory / "pipe").c_str(), 0600), 0);
  write(directory / "file", {});
  ostiv_file file{};
  struct Row {
    std::string path, mode;
  };
  for (const Row& row : {Row{directory / "missing", "r"}, Row{directory / "folder", "r"}, Row{directory / "pipe", "r"},
                         Row{directory / "folder", "w"}, Row{directory / "missing/file", "w"},
                         Row{directory / "file", "a"}, Row{directory / "file", ""}, Row{"", "r"}}) {
    EXPECT_NE(ostiv_file_open(&file, row.path.c_str(), row.mode.c_str()), 0U) << row.path << " " << row.mode;
    EXPECT_EQ(file.stream, nullptr);
  }
  EXPECT_NE(ostiv_file_open(nullptr, "x", "r"), 0U);
  EXPECT_NE(ostiv_file_open(&file, nullptr, "r"), 0U);
  EXPECT_NE(ostiv_file_open(&file, "x", nullptr), 0U);
  EXPECT_NE(ostiv_file_read(nullptr, nullptr, 0, nullptr), 0U);
  EXPECT_NE(ostiv_file_close(nullptr), 0U);
}

TEST(Files, ListsDirectoriesInOrder) {
  const TemporaryDirectory directory;
  write(directory / "b.xml", {});
  write(directory / "a.xml", {});
  std::filesystem::create_directory(directory / "c");
  std::filesystem::create_symlink("gone", directory / "d");
  EXPECT_EQ(entries(directory.path()), (std::vector<std::string>{"a.xml:2", "b.xml:2", "c:1", "d:0"}));
  EXPECT_TRUE(entries(directory / "missing").empty());
  void* iterator = nullptr;
  EXPECT_NE(ostiv_file_directory_read(directory.path().c_str(), &iterator, nullptr), 0U);
  EXPECT_NE(ostiv_file_directory_read(directory.path().c_str(), nullptr, nullptr), 0U);
  ostiv_directory_entry entry{};
  iterator = &entry;
  EXPECT_NE(ostiv_file_directory_read(directory.path().c_str(), &iterator, &entry), 0U) << "no iterator of ours";
}

TEST(Paths, AreJoinedAndMadeLegal) {
  std::array<char, 16> out{};
  struct Row {
    std::string first, second, result;  // "!" for a failure
  };
  for (const Row& row : {Row{"/a/", "b", "/a/b"}, Row{"/a", "b", "/a/b"}, Row{"", "b", "b"},
                         Row{"/12345678901", "34", "/12345678901/34"}, Row{"/12345678901", "345", "!"}}) {
    const auto code = ostiv_file_path_join(out.data(), out.size(), row.first.c_str(), row.second.c_str());
    EXPECT_EQ(code == 0 ? out.data() : std::string("!"), row.result);
  }
  for (const Row& row : {Row{"/a//b/./c", "1", "/a/b/c"}, Row{"a/../b", "1", "b"}, Row{"a/b", "0", "a_b"},
                         Row{"..", "0", "_.."}, Row{"x\ny", "0", "x_y"}, Row{"0123456789abcdef", "1", "!"}}) {
    const auto flag = static_cast<std::uint32_t>(row.second == "1");
    const auto code = ostiv_file_legalize_filename(out.data(), out.size(), row.first.c_str(), flag);
    EXPECT_EQ(code == 0 ? out.data() : std::string("!"), row.result) << row.first;
  }
  EXPECT_NE(ostiv_file_path_join(nullptr, 0, "a", "b"), 0U);
  EXPECT_NE(ostiv_file_legalize_filename(out.data(), out.size(), nullptr, 1), 0U);
}

TEST(Text, IsLoweredInEveryLanguage) {
  for (const auto& [text, lower] :
       std::vector<std::pair<std::string, std::string>>{{"CT Sport 1", "ct sport 1"},
                                                        {"ČESKÉ ŽLUŤOUČKÝ", "české žluťoučký"},
                                                        {"МАТЧ! ΣΊΓΜΑ", "матч! σίγμα"},
                                                        {"A\xFF\xC3", "a\xFF\xC3"},  // no UTF-8: as it is
                                                        {"", ""}}) {
    char* const result = ostiv_utf8_to_lower(text.c_str());
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result, lower);
    ostiv_mem_free(result);
  }
  EXPECT_EQ(ostiv_utf8_to_lower(nullptr), nullptr);
}

std::int64_t now() {
  std::int64_t seconds = 0;
  EXPECT_EQ(ostiv_time_get_system_time(&seconds), 0U);
  return seconds;
}

TEST(Clock, CanBeSetAndReplaced) {
  durix_tools_clock_set(4'000'000'000);
  EXPECT_NEAR(static_cast<double>(now()), 4e9, 2) << "past 2038, too";
  std::int64_t shown = 5;
  durix_tools_clock_replace([](void* user) { return *static_cast<std::int64_t*>(user); }, &shown);
  EXPECT_EQ(now(), 5);
  shown = -7;
  EXPECT_EQ(now(), -7);
  durix_tools_clock_replace(nullptr, nullptr);
  EXPECT_NEAR(static_cast<double>(now()), 4e9, 30);
  durix_tools_clock_set(std::time(nullptr));
  EXPECT_NE(ostiv_time_get_system_time(nullptr), 0U);
}

TEST(Clock, GoesBetweenLocalTimeAndSeconds) {
  ::setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  ::tzset();
  ostiv_tm local{};
  ASSERT_EQ(ostiv_localtime_s(1'625'140'800, &local), 0U);  // 2021-07-01T12:00:00Z, a Thursday
  EXPECT_EQ(std::tuple(local.hour, local.day, local.month, local.year, local.weekday, local.daylight),
            std::tuple(14, 1, 6, 121, 4, 1));
  EXPECT_EQ(ostiv_mktime(&local), 1'625'140'800);
  ostiv_tm january{.second = 0,
                   .minute = 0,
                   .hour = 0,
                   .day = 32,
                   .month = 0,
                   .year = 121,
                   .weekday = 0,
                   .day_of_year = 0,
                   .daylight = -1};
  EXPECT_EQ(ostiv_mktime(&january), 1'612'134'000);  // 2021-02-01T00:00:00+01:00
  EXPECT_EQ(std::pair(january.day, january.month), std::pair(1, 1)) << "normalised";
  ostiv_tm before{.second = 59,
                  .minute = 59,
                  .hour = 0,
                  .day = 1,
                  .month = 0,
                  .year = 70,
                  .weekday = 0,
                  .day_of_year = 0,
                  .daylight = 0};
  EXPECT_EQ(ostiv_mktime(&before), -1) << "a second before the epoch is a moment, too";
  EXPECT_EQ(before.weekday, 4) << "and was understood";
  EXPECT_EQ(ostiv_mktime(nullptr), -1);
  EXPECT_NE(ostiv_localtime_s(0, nullptr), 0U);
  ::unsetenv("TZ");
  ::tzset();
}

}  // namespace
}  // namespace durix::test

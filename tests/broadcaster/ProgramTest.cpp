#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

/// A directory of its own for each test, removed after it.
class Program : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = (fs::temp_directory_path() / "broadcaster-XXXXXX").string();
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    _directory = name;
  }
  void TearDown() override { fs::remove_all(_directory); }

  /// Runs the program in the directory and gives its exit status; `_errors` is what it said on standard error.
  int run(const std::string& arguments) {
    const std::string command = "cd '" + _directory.string() + "' && " BROADCASTER " " + arguments + " >out 2>err";
    const int status = std::system(command.c_str());  // NOLINT(cert-env33-c): the shell is what we want
    std::ostringstream text;
    text << std::ifstream(_directory / "err").rdbuf();
    _errors = text.str();
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  fs::path _directory;
  std::string _errors;
};

TEST_F(Program, WritesOneFileForEachFrequency) {
  ASSERT_EQ(run("air/sub --seconds 1 --quiet"), 0) << _errors;
  EXPECT_EQ(_errors, "");
  EXPECT_EQ(fs::file_size(_directory / "out"), 0U);
  std::size_t files = 0;
  for (const fs::directory_entry& entry : fs::directory_iterator(_directory / "air/sub")) {
    EXPECT_EQ(entry.path().extension(), ".ts") << entry.path();
    EXPECT_EQ(std::stoul(entry.path().stem().string()) % 1'000'000, 0U);
    EXPECT_EQ(entry.file_size() % 188, 0U);
    ++files;
  }
  EXPECT_EQ(files, 3U);
}

TEST_F(Program, SaysInOneLineWhatIsWrong) {
  std::ofstream(_directory / "file") << "in the way";
  struct Row {
    const char* arguments;
    int status;
    const char* part;
    const char* reason;
  };
  const Row rows[] = {
      {"file --seconds 1", 1, "file", "the directory is a file"},
      {"file/air --seconds 1", 1, "file/air", "the directory cannot be made"},
      {"air --seconds 1 --at tomorrow", 2, "YYYY-MM-DDTHH:MM", "no time"},
      {"air --seconds 1 --at 2040-01-01T00:00", 2, "2038", "no time that the tables can say"},
      {"air --seconds 1 --zone Nowhere/Land", 2, "Nowhere/Land", "no time zone"},
      {"air --seconds 0", 2, "seconds", "no length"},
      {"", 2, "DIR", "no directory"},
      {"air --loud", 2, "loud", "no such option"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(run(row.arguments), row.status) << row.reason;
    EXPECT_NE(_errors.find(row.part), std::string::npos) << row.reason << ": " << _errors;
    EXPECT_FALSE(fs::exists(_directory / "air")) << row.reason;
  }
}

TEST_F(Program, LeavesNothingHalfWritten) {
  fs::create_directories(_directory / "air/474000000.ts.part");  // in the way of the file, for root as well
  EXPECT_EQ(run("air --seconds 1"), 1);
  EXPECT_NE(_errors.find("474000000.ts"), std::string::npos) << _errors;
  EXPECT_FALSE(fs::exists(_directory / "air/474000000.ts"));
}

}  // namespace

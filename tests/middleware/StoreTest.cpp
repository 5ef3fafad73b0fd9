#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <set>

#include "Support.h"
#include "middleware/api/Failure.h"
#include "middleware/durix_tools.h"
#include "middleware/store/Database.h"

namespace durix::test {
namespace {

std::string startFailure() {
  std::array<char, 512> text{};
  durix_tools_start_failure(text.data(), text.size());
  return text.data();
}

// A data directory in which a scan has left its services.
void fill(Middleware& middleware) {
  middleware.air("474000000", {.services = {{.id = 1, .name = "One"}, {.id = 2, .name = "Two"}}});
  ASSERT_EQ(middleware.start(), DURIX_OK);
  ASSERT_TRUE(middleware.scan({474'000'000}));
  ASSERT_EQ(middleware.stop(), DURIX_OK);
}

TEST(Store, KeepsPropertiesAndServices) {
  Middleware middleware;
  fill(middleware);
  ASSERT_EQ(middleware.start(), DURIX_OK);
  EXPECT_EQ(middleware.names(), (std::vector<std::string>{"One", "Two"}));
  EXPECT_EQ(middleware.property(DURIX_PROPERTY_ESG_LANGUAGE), "") << "never set";
  ASSERT_EQ(durix_property_set(middleware.handle(), DURIX_PROPERTY_ESG_LANGUAGE, "češ'; --"), DURIX_OK);
  ASSERT_EQ(middleware.stop(), DURIX_OK);
  ASSERT_EQ(middleware.start(), DURIX_OK);
  EXPECT_EQ(middleware.property(DURIX_PROPERTY_ESG_LANGUAGE), "češ'; --");
}

TEST(Store, HoldsWhatACallReturnedForWhenTheProcessIsKilled) {
  Middleware middleware;
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (middleware.start() != DURIX_OK) ::_exit(1);
    for (int i = 1;; ++i) {
      if (durix_property_set(middleware.handle(), DURIX_PROPERTY_ESG_LANGUAGE, std::to_string(i).c_str()) != 0)
        ::_exit(2);
      if (::write(pipe[1], &i, sizeof i) != sizeof i) ::_exit(3);
    }
  }
  ::close(pipe[1]);
  int told = 0;
  int last = 0;
  while (last < 50 && ::read(pipe[0], &last, sizeof last) == sizeof last) told = last;
  ::kill(child, SIGKILL);
  while (::read(pipe[0], &last, sizeof last) == sizeof last) told = last;
  ::close(pipe[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);

  ASSERT_EQ(middleware.start(), DURIX_OK) << startFailure();
  EXPECT_GE(std::stoi(middleware.property(DURIX_PROPERTY_ESG_LANGUAGE)), told);
}

TEST(Store, RefusesWhatItCannotWorkOnAndLeavesItAlone) {
  using Change = std::function<void(const std::filesystem::path& file)>;
  const auto poke = [](std::size_t offset, const std::string& bytes) {
    return [=](const std::filesystem::path& file) {
      std::string all = contentsOf(file);
      all.replace(offset, bytes.size(), bytes);
      write(file, {all.begin(), all.end()});
    };
  };
  const auto sql = [](const std::string& text) {
    return [=](const std::filesystem::path& file) { Database(file, Database::Mode::Existing).execute(text); };
  };
  struct Row {
    std::string why;
    Change change;
    Code code;
  };
  for (const Row& row : {
           Row{"newer version", sql("PRAGMA user_version = 1000"), Code::DatabaseNewer},
           Row{"another program's", sql("PRAGMA application_id = 1"), Code::DatabaseDamaged},
           Row{"never finished", sql("PRAGMA user_version = 0"), Code::DatabaseDamaged},
           Row{"a table is missing", sql("DROP TABLE feed"), Code::Failed},
           Row{"empty", [](const auto& file) { std::filesystem::resize_file(file, 0); }, Code::DatabaseDamaged},
           Row{"cut off in its header", [](const auto& file) { std::filesystem::resize_file(file, 50); },
               Code::DatabaseDamaged},
           Row{"cut off between pages", [](const auto& file) { std::filesystem::resize_file(file, 8192); },
               Code::DatabaseDamaged},
           Row{"cut off in a page", [](const auto& file) { std::filesystem::resize_file(file, 10000); },
               Code::DatabaseDamaged},
           Row{"no database at all", poke(0, "Lorem ipsum dolor sit amet"), Code::DatabaseDamaged},
           Row{"a page is destroyed", poke(4096, std::string(4096, 'x')), Code::DatabaseDamaged},
           Row{"a directory",
               [](const auto& file) {
                 std::filesystem::remove(file);
                 std::filesystem::create_directory(file);
               },
               Code::DatabaseDamaged},
       }) {
    Middleware middleware;
    fill(middleware);
    const auto file = middleware.data() / "durix.db";
    row.change(file);
    const std::string before = contentsOf(file);
    EXPECT_EQ(middleware.start(), static_cast<durix_return_code>(row.code)) << row.why;
    EXPECT_EQ(middleware.handle(), nullptr) << row.why;
    EXPECT_EQ(contentsOf(file), before) << row.why;
    EXPECT_NE(startFailure().find("durix.db"), std::string::npos) << row.why << ": " << startFailure();
    const std::string log = contentsOf(middleware.data() / "tv.log");
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << row.why << ": " << log;
  }
}

TEST(Store, BringsAnOlderDatabaseUpToDate) {
  Middleware middleware;
  fill(middleware);
  const auto file = middleware.data() / "durix.db";
  const auto tables = [&] {
    return Database(file, Database::Mode::Existing).integer("SELECT count(*) FROM sqlite_schema");
  };
  const auto all = tables();
  const std::set<std::string> first{"property", "selection", "provider", "multiplex", "service", "feed"};
  {
    Database database(file, Database::Mode::Existing);
    std::string later;
    Statement names(database, "SELECT name FROM sqlite_schema WHERE type = 'table' AND name NOT LIKE 'sqlite_%'");
    while (names.step()) {
      if (!first.contains(names.text(0))) later += "DROP TABLE " + names.text(0) + ";";
    }
    database.execute(later + "PRAGMA user_version = 1");
  }
  ASSERT_LT(tables(), all);
  ASSERT_EQ(middleware.start(), DURIX_OK) << startFailure();
  EXPECT_EQ(middleware.names(), (std::vector<std::string>{"One", "Two"}));
  ASSERT_EQ(middleware.stop(), DURIX_OK);
  EXPECT_EQ(tables(), all);
}

TEST(Store, RefusesADirectoryThatIsNone) {
  const TemporaryDirectory directory;
  write(directory / "file", {});
  durix_handle* handle = nullptr;
  for (const auto& path : {directory / "missing", directory / "file"}) {
    EXPECT_EQ(durix_init(&handle, 0, path.c_str(), "", nullptr, 0, nullptr),
              static_cast<durix_return_code>(Code::DataDirectory));
    EXPECT_NE(startFailure().find(path.string()), std::string::npos);
  }
  EXPECT_NE(durix_init(&handle, 0, nullptr, "", nullptr, 0, nullptr), DURIX_OK);
  EXPECT_NE(durix_init(&handle, 0, "", "", nullptr, 0, nullptr), DURIX_OK);
  EXPECT_EQ(handle, nullptr);
}

TEST(Store, BelongsToOneProcess) {
  Middleware middleware;
  fill(middleware);
  const auto file = middleware.data() / "durix.db";
  {
    Database other(file, Database::Mode::Existing);
    other.execute("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; COMMIT");
    EXPECT_EQ(middleware.start(), static_cast<durix_return_code>(Code::Busy));
  }
  EXPECT_EQ(middleware.start(), DURIX_OK) << startFailure();
}

TEST(Store, ComesThroughAnUnfinishedBeginning) {
  Middleware middleware;
  write(middleware.data() / "durix.db.new", {1, 2, 3});
  write(middleware.data() / "durix.db-wal", {4, 5, 6});
  write(middleware.data() / ".service_order.dat.abcdef.ostiv-new", {7});
  ASSERT_EQ(middleware.start(), DURIX_OK) << startFailure();
  EXPECT_FALSE(std::filesystem::exists(middleware.data() / "durix.db.new"));
  EXPECT_FALSE(std::filesystem::exists(middleware.data() / ".service_order.dat.abcdef.ostiv-new"));
}

}  // namespace
}  // namespace durix::test

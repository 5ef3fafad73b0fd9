#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <thread>

#include "ServiceImpl.h"
#include "guide/EsgAttributes.h"
#include "tests/support/ScriptedMiddleware.h"

namespace {

constexpr std::int64_t TEN = 1367920800;  // 2013-05-07T10:00:00Z
constexpr std::int64_t HOUR = 3600;

class Services : public testing::Test {
 protected:
  Services() { middleware.time = TEN; }
  ~Services() override { EXPECT_EQ(middleware.liveAllocations(), 0); }

  /// A programme from `start` to `end`, seconds after ten.
  ProgramImpl* add(ServiceImpl* to, std::int64_t start, std::int64_t end, const std::string& rating = "0") {
    const std::uint32_t id = ++programs;
    const std::time_t last = TEN + end;
    std::tm utc{};
    char text[32];
    gmtime_r(&last, &utc);
    middleware.numbers[{id, DURIX_ATTRIBUTE_START_TIME}] = static_cast<int>(TEN + start);
    middleware.numbers[{id, DURIX_ATTRIBUTE_END_TIME}] = static_cast<int>(last);
    middleware.texts[{id, DURIX_ATTRIBUTE_END_TIME_STR}] =
        std::string(text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &utc));
    middleware.texts[{id, DURIX_ATTRIBUTE_PARENTAL_RATING}] = rating;
    auto* const program = new ProgramImpl({2, id, 0}, to, nullptr);
    to->addProgram(program);
    return program;
  }

  ScriptedMiddleware middleware;
  std::uint32_t programs = 100;
  ServiceImpl service{{1, 7, 0}, nullptr};
};

TEST_F(Services, ReadAttributesOrNeutralValues) {
  const durix_esg_object* const object = service.getDataPtr();
  middleware.failuresWrite = true;
  for (const char* const type : {"str", "int", "bool", "array_int"}) {
    middleware.failing["durix_attribute_get_" + std::string(type)] = 3;
  }
  middleware.numbers = {{{7, 41}, 77}, {{7, 21}, 77}, {{7, 25}, 77}};
  middleware.texts[{7, 22}] = "!";
  EXPECT_EQ(getIntAttribute(object, 41), 0) << "what a failed call has written does not count";
  EXPECT_FALSE(getBoolAttribute(object, 21));
  EXPECT_TRUE(getIntArrayAttribute(object, 25).empty());
  EXPECT_EQ(getStringAttribute(object, 22), "!") << "but a text that it leaves does, and goes back";
  middleware.failing.clear();
  EXPECT_TRUE(getBoolAttribute(object, 21)) << "any byte but 0";
}

TEST_F(Services, ReadTextsOneAtATime) {
  std::atomic<int> inside = 0;
  std::atomic<int> together = 0;
  middleware.during["durix_attribute_get_str"] = [&] {
    if (++inside > 1) ++together;
    std::this_thread::yield();
    --inside;
  };
  const auto reads = [&] {
    for (int i = 0; i < 200; ++i) service.getLogoUri();
  };
  std::thread other(reads);
  reads();
  other.join();
  EXPECT_EQ(together, 0);
}

TEST_F(Services, KnowTheCurrentAndTheNextProgramme) {
  EXPECT_EQ(service.getNextProgram(), nullptr);
  ProgramImpl* const second = add(&service, HOUR, 2 * HOUR);  // out of order, and with a gap after it
  ProgramImpl* const first = add(&service, 0, HOUR);
  ProgramImpl* const third = add(&service, 3 * HOUR, 4 * HOUR);
  service.update();
  EXPECT_EQ(service.getProgramList(), (std::vector<Program*>{first, second, third}));
  EXPECT_TRUE(ServiceImpl::containsProgram(service.getProgramList(), {2, third->getId(), 9}));
  EXPECT_FALSE(ServiceImpl::containsProgram({first}, {2, third->getId(), 0}));
  struct Row {
    const char* reason;
    std::int64_t now;
    Program* current;
    Program* next;
  };
  const Row rows[] = {
      {"before all", -HOUR, nullptr, first},
      {"at the first one's start", 0, first, second},
      {"at the end of one and the start of the next: the one that is probed first", HOUR, second, third},
      {"a second into the second", HOUR + 1, second, third},
      {"in the gap", 2 * HOUR + 1, nullptr, third},
      {"at the last one's end", 4 * HOUR, third, nullptr},
      {"after all", 5 * HOUR, nullptr, nullptr},
  };
  for (const Row& row : rows) {
    middleware.time = TEN + row.now;
    EXPECT_EQ(service.getCurrentProgram(), row.current) << row.reason;
    EXPECT_EQ(service.getNextProgram(), row.next) << row.reason;
  }
}

TEST_F(Services, HoldAProgrammeUntilItsEndHasPassed) {
  ProgramImpl* const first = add(&service, 0, HOUR);
  ProgramImpl* const second = add(&service, HOUR, 2 * HOUR);
  ProgramImpl* const broken = add(&service, 2 * HOUR, 3 * HOUR);
  middleware.failing = {{"durix_attribute_get_str(" + std::to_string(broken->getId()) + ".3)", 3}};
  middleware.texts.erase({broken->getId(), DURIX_ATTRIBUTE_END_TIME_STR});
  service.getPrograms(true);
  middleware.time = TEN + HOUR;
  EXPECT_EQ(service.getPrograms(false), (std::vector<Program*>{second, broken})) << "the end itself is over here";
  middleware.time = TEN + 100 * HOUR;
  EXPECT_EQ(service.getPrograms(false), std::vector<Program*>{broken}) << "an end that cannot be read never comes";
  ServiceImpl two({1, 8, 0}, nullptr);
  ProgramImpl* const earlier = add(&two, 0, HOUR);
  add(&two, HOUR, 2 * HOUR);
  middleware.time = TEN + HOUR;
  EXPECT_EQ(two.getCurrentProgram(), earlier) << "but of two the one that ends now is still the current one";
  EXPECT_NE(first, earlier);
}

TEST_F(Services, ApplyTheStricterLimit) {
  struct Row {
    const char* reason;
    std::string own;
    std::string program;
    int limit;
  };
  const Row rows[] = {
      {"the service is stricter", "12", "16", 12},
      {"the programme is stricter", "12", "6", 6},
      {"a service without a rating never wins", "", "16", 16},
      {"a programme without a rating counts as 0", "12", "", 0},
      {"a leading number counts", "x", "18+", 0},
  };
  std::uint32_t id = 10;
  for (const Row& row : rows) {
    ServiceImpl rated({1, ++id, 0}, nullptr);
    middleware.texts[{id, DURIX_ATTRIBUTE_PARENTAL_RATING}] = row.own;
    middleware.time = TEN - 1;
    add(&rated, 0, HOUR, row.program);
    ParentalRating* const own = rated.getParentalRating();
    EXPECT_EQ(own->getValue(), row.own.empty() ? -1 : std::atoi(row.own.c_str())) << "there is no current programme";
    middleware.time = TEN;
    EXPECT_EQ(rated.getParentalRating()->getValue(), row.limit) << row.reason;
    middleware.time = TEN - 1;
    EXPECT_EQ(rated.getParentalRating(), own) << "a rating that was handed out stays";
  }
}

TEST_F(Services, WriteLocalTimes) {
  setenv("TZ", "Europe/Stockholm", 1);
  tzset();
  EXPECT_EQ(ProgramImpl::time_t_to_time_str(1367950500), "2013-05-07T20:15:00");
  EXPECT_EQ(ProgramImpl::time_t_to_time_str(253402300800), "10000-01-01T01:00:00");
  EXPECT_EQ(ProgramImpl::time_t_to_time_str(-1), "") << "there is no such time";
  unsetenv("TZ");
  tzset();
}

}  // namespace

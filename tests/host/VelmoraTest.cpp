#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>

#include "host/src/Battery.h"
#include "tests/host/Support.h"
#include "velmora/Velmora.h"

namespace {

Velmora& velmora() {
  return *Velmora::getInstance();
}

/// The process's time zone for one test.
class TimeZone {
 public:
  explicit TimeZone(const char* name) {
    setenv("TZ", name, 1);
    tzset();
  }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;
  ~TimeZone() {
    unsetenv("TZ");
    tzset();
  }
};

TEST(Velmora, WritesTimesByTheOneClock) {
  const TimeZone berlin("CET-1CEST,M3.5.0,M10.5.0/3");
  struct Row {
    const char* reason;
    std::int64_t time;
    const char* utc;
    const char* local;
  };
  const Row rows[] = {
      {"the epoch", 0, "1970-01-01T00:00:00Z", "1970-01-01T01:00:00"},
      {"a leap day", 1709164800, "2024-02-29T00:00:00Z", "2024-02-29T01:00:00"},
      {"summer time", 1719792000, "2024-07-01T00:00:00Z", "2024-07-01T02:00:00"},
      {"beyond 32 bits", 4102444800, "2100-01-01T00:00:00Z", "2100-01-01T01:00:00"},
      {"before the epoch", -1, "1969-12-31T23:59:59Z", "1970-01-01T00:59:59"},
      {"no such year", INT64_MAX, "", ""},
  };
  for (const Row& row : rows) {
    const ManualClock clock(row.time);
    EXPECT_EQ(velmora().getTime(true), row.utc) << row.reason;
    EXPECT_EQ(velmora().getTime(false), row.local) << row.reason;
    EXPECT_EQ(velmora().getTimeI(true), row.time) << row.reason;
  }
}

TEST(Velmora, KnowsBibliographicCodesThatDiffer) {
  const std::pair<const char*, const char*> rows[] = {{"deu", "ger"}, {"fra", "fre"}, {"zho", "chi"}, {"ces", "cze"},
                                                      {"eng", ""},    {"ger", ""},    {"", ""},       {"de", ""}};
  for (const auto& [code, expected] : rows) EXPECT_EQ(velmora().getIso6392bFromIso6392t(code), expected) << code;
}

TEST(Device, CopiesTheRecord) {
  std::array<unsigned char, 72> record{};
  record.fill(0xAB);
  auto* const device = new Device(record.data());  // devices are never deleted
  record.fill(0);
  const auto* const copy = static_cast<const unsigned char*>(device->getRecord());
  EXPECT_EQ(copy[0], 0xAB);
  EXPECT_EQ(copy[71], 0xAB);
  EXPECT_EQ(static_cast<const unsigned char*>((new Device(nullptr))->getHandle())[71], 0);
}

TEST(Battery, IsTheSystemsOrFull) {
  struct Supply {
    const char* name;
    const char* capacity;  // null: no such file
    const char* scope;
  };
  struct Row {
    const char* reason;
    std::vector<Supply> supplies;
    int level;
  };
  const Row rows[] = {
      {"no battery", {{"AC", nullptr, nullptr}}, 100},
      {"the first battery", {{"AC", nullptr, nullptr}, {"BAT1", "80", nullptr}, {"BAT0", "42", "System"}}, 42},
      {"not that of a mouse", {{"hid-1", "5", "Device"}, {"BAT0", "77", nullptr}}, 77},
      {"beyond the scale", {{"BAT0", "101", nullptr}}, 100},
      {"no number", {{"BAT0", "full", nullptr}}, 100},
  };
  for (const Row& row : rows) {
    const TemporaryDirectory directory;
    for (const Supply& supply : row.supplies) {
      const auto folder = directory.path() / supply.name;
      std::filesystem::create_directory(folder);
      if (supply.capacity) std::ofstream(folder / "capacity") << supply.capacity << '\n';
      if (supply.scope) std::ofstream(folder / "scope") << supply.scope << '\n';
    }
    EXPECT_EQ(host::batteryLevel(directory.path()), row.level) << row.reason;
  }
  EXPECT_EQ(host::batteryLevel("/no/such/directory"), 100);
}

TEST(Resources, AreOneForEachUri) {
  EXPECT_EQ(VmResourceLoader::getResource("", 0), nullptr);
  Resource* const logo = VmResourceLoader::getResource("http://logo", 0);
  ASSERT_NE(logo, nullptr);
  EXPECT_EQ(logo->getUri(), "http://logo");
  EXPECT_EQ(VmResourceLoader::getResource("http://logo", 0), logo);
}

}  // namespace

#pragma once

#include <gtest/gtest.h>

#include "support/Gate.h"
#include "tests/support/ScriptedMiddleware.h"

/// The scripted middleware with one provider, as guide and settings see it; the plugin's gate is open.
class GuideMiddleware : public ScriptedMiddleware {
 public:
  GuideMiddleware() {
    gate::open();
    addProvider(7);
    time = 1000;
  }
  ~GuideMiddleware() override { EXPECT_EQ(liveAllocations(), 0) << "memory of the middleware was kept"; }

  void addService(std::uint32_t id) {
    ScriptedMiddleware::addService(id, "S" + std::to_string(id), 1, static_cast<int>(id));
  }
  void addEvent(std::uint32_t service, std::uint32_t id, int start, int end, const std::string& title = "") {
    addProgram(service, id, title.empty() ? "P" + std::to_string(id) : title, start, end);
    texts[{id, DURIX_ATTRIBUTE_PARENTAL_RATING}] = "0";
  }
  /// The feeds of a service by their numbers, which are their identifiers too.
  void setFeeds(std::uint32_t service, const std::vector<int>& feedNumbers) {
    for (const int number : feedNumbers) {
      feeds[service].push_back({3, FEED + static_cast<std::uint32_t>(number), 0});
      numbers[{FEED + static_cast<std::uint32_t>(number), DURIX_ATTRIBUTE_CHANNEL_NUMBER}] = number;
    }
  }

  /// What has happened since the last time: calls that do more than read, and what a test noted itself.
  Lines calls() {
    const Lines all = takeIf([](const std::string& line) { return !isLog(line); });
    Lines calls;
    for (const std::string& line : all) {
      if (!isRead(line)) calls.push_back(line);
    }
    return calls;
  }
  /// The log lines since the last time.
  Lines lines() { return takeIf(isLog); }

 private:
  static constexpr std::uint32_t FEED = 1000;

  static bool isLog(const std::string& line) {
    return line.starts_with("INFO ") || line.starts_with("WARN ") || line.starts_with("ERR ");
  }
  static bool isRead(const std::string& line) {
    return line.starts_with("durix_attribute_") || line.starts_with("durix_services_get") ||
           line.starts_with("durix_esg_object_feeds_get") || line.starts_with("durix_providers_get") ||
           line.starts_with("ostiv_file_");
  }
};

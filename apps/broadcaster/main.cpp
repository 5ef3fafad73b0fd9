#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <string>

#include "apps/broadcaster/Production.h"
#include "apps/broadcaster/si/Times.h"

namespace {

/// Central Europe, where the sample network is, as a rule that needs no zone database.
constexpr const char* DEFAULT_ZONE = "CET-1CEST,M3.5.0,M10.5.0/3";

constexpr int FAILED = 1;
constexpr int WRONG_USAGE = 2;

int run(int argc, char** argv) {
  broadcaster::Order order;
  std::string at;
  std::string zone = DEFAULT_ZONE;
  int seconds = 12;  // pictures and both kinds of sound come out even, so that the end joins the beginning
  CLI::App app("Makes a sample broadcast: a directory of DVB-T transport streams, one for each frequency.");
  app.add_option("DIR", order.directory, "where the streams are written; made if it is not there")->required();
  app.add_option("--seconds", seconds,
                 "length of the streams; multiples of 12 repeat without a seam, but for AC-3 those of 3 too")
      ->check(CLI::Range(1, 3600))
      ->capture_default_str();
  app.add_option("--at", at,
                 "when the broadcast begins: YYYY-MM-DDTHH:MM[:SS][Z] or seconds since the epoch "
                 "(default: now)");
  app.add_option("--zone", zone, "time zone of the network")->capture_default_str();
  app.add_flag("--quiet", order.quiet, "no progress and no summary");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : WRONG_USAGE;
  }
  try {
    broadcaster::useZone(zone);
    if (!at.empty()) {
      order.start = broadcaster::readMoment(at);
    } else {
      order.start = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    }
  } catch (const std::invalid_argument& error) {
    std::cerr << "broadcaster: " << error.what() << '\n';
    return WRONG_USAGE;
  }
  order.length = std::chrono::seconds(seconds);
  broadcaster::produce(order);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "broadcaster: " << error.what() << '\n';
    return FAILED;
  }
}

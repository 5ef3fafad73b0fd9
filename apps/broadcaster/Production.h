#pragma once

#include <chrono>
#include <filesystem>

#include "apps/broadcaster/si/Times.h"

namespace broadcaster {

/// What the command line asks for.
struct Order {
  std::filesystem::path directory;
  Moment start;
  std::chrono::seconds length{0};
  bool quiet = false;
};

/// Writes the sample broadcast as FREQUENCY.ts files, all at once, one thread each, and tells on standard output how
/// far it is and what is there. A file appears under its name when it is complete. Throws std::runtime_error with one
/// line for the user when a file cannot be written or an encoder fails; nothing half is left.
void produce(const Order& order);

}  // namespace broadcaster

#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "apps/broadcaster/si/Times.h"

namespace broadcaster {

/// A programme of the sample broadcast; texts in UTF-8. One without a title is a pause, which the guide leaves out.
struct Programme {
  std::chrono::minutes length;
  std::uint8_t genre;  // content_nibble_level_1 and _2 (EN 300 468 table 28)
  std::uint8_t age;    // from which it is suitable, 4 to 18; 0: for everybody
  std::string_view title;
  std::string_view text;           // short
  std::string_view details;        // long, may be empty
  std::chrono::seconds excess{0};  // how far it is announced to run into the next one
};

/// A programme at its time.
struct Event {
  const Programme* programme = nullptr;
  std::uint16_t id = 0;       // unique within the service for eight days
  std::uint32_t ordinal = 0;  // of all events of the service since the epoch
  Moment start;               // UTC

  std::chrono::seconds length() const { return programme->length + programme->excess; }
  Moment end() const { return start + length(); }
};

/// What is on from the event that runs at `from` up to the last one that starts before `until`. The programmes follow
/// each other from midnight UTC on, round and round, and end with the day, so that every day is the same whenever the
/// broadcast is made.
std::vector<Event> schedule(std::span<const Programme> programmes, Moment from, Moment until);

// The programmes of the services, by their language.
std::span<const Programme> englishProgrammes();
std::span<const Programme> frenchProgrammes();
std::span<const Programme> russianProgrammes();
std::span<const Programme> turkishProgrammes();
std::span<const Programme> czechProgrammes();
std::span<const Programme> greekProgrammes();
std::span<const Programme> filmProgrammes();
std::span<const Programme> czechRadioProgrammes();
std::span<const Programme> germanRadioProgrammes();

}  // namespace broadcaster

#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "middleware/guide/GuideEvent.h"
#include "middleware/store/Database.h"

namespace durix {

/// The table of the database that holds the guide. The store's lock is held.
extern const char* const EVENT_SCHEMA;

/// The programmes of a service that end after a moment, by start.
std::vector<GuideEventPtr> readEvents(Database& database, std::uint32_t service, std::int64_t after);

/// The highest identifier that a programme ever had.
std::uint32_t lastEventId(Database& database);

/// What a flush does to one service.
struct EventChange {
  std::uint32_t service = 0;
  std::vector<GuideEventPtr> added;
  std::vector<GuideEventPtr> removed;
};

/// Within the caller's transaction.
void writeEvents(Database& database, std::span<const EventChange> changes);
void dropEventsBefore(Database& database, std::int64_t moment);

}  // namespace durix

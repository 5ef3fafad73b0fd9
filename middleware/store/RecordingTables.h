#pragma once

#include <cstdint>
#include <vector>

#include "middleware/recordings/Recording.h"
#include "middleware/store/Database.h"

namespace durix {

/// The tables of the database that hold timers and recordings. The store's lock is held.
extern const char* const RECORDING_SCHEMA;

/// An identifier that no timer and no recording ever had, durable when the caller's transaction is.
std::uint32_t nextRecorderId(Database& database);

std::vector<Timer> readTimers(Database& database);
void writeTimer(Database& database, const Timer& timer);  // a new one, or instead of the old one
void dropTimer(Database& database, std::uint32_t id);

std::vector<Recording> readRecordings(Database& database);
void writeRecording(Database& database, const Recording& recording);  // as above
void dropRecording(Database& database, std::uint32_t id);

}  // namespace durix

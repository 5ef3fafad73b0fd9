#pragma once

#include <memory>
#include <span>
#include <vector>

#include "middleware/store/Catalogue.h"
#include "middleware/store/Database.h"
#include "middleware/store/ScanYield.h"

namespace durix {

/// The tables of the database that hold providers, multiplexes, services and feeds. The store's lock is held.
extern const char* const CATALOGUE_SCHEMA;

std::shared_ptr<const Catalogue> readCatalogue(Database& database);

/// Whether two lists of feeds say the same, whatever identifiers they have.
bool areSame(std::span<const Feed> some, std::span<const Feed> others);

/// Makes these the feeds of a service, within the caller's transaction.
void writeFeeds(Database& database, std::uint32_t service, std::span<const Feed> feeds);

/// Brings what a scan found into the tables, within the caller's transaction: new and changed services, those that are
/// gone, and the provider once there is something to watch or to hear. `known` is what the tables hold.
void writeScan(Database& database, const Catalogue& known, const ScanYield& yield);

}  // namespace durix

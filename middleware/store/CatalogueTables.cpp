#include "middleware/store/CatalogueTables.h"

#include <algorithm>
#include <limits>
#include <set>
#include <tuple>

#include "middleware/api/Failure.h"
#include "middleware/store/Feeds.h"
#include "middleware/store/ServiceIdentity.h"

namespace durix {

// AUTOINCREMENT: an identifier is never given again, also not after its row has gone.
const char* const CATALOGUE_SCHEMA = R"(
CREATE TABLE provider(receiver INTEGER PRIMARY KEY) STRICT;
CREATE TABLE multiplex(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  receiver INTEGER NOT NULL, frequency INTEGER NOT NULL, polarisation INTEGER NOT NULL,
  orbital_position INTEGER NOT NULL, bandwidth INTEGER NOT NULL, symbol_rate INTEGER NOT NULL,
  modulation INTEGER NOT NULL, fec INTEGER NOT NULL,
  UNIQUE(receiver, frequency, polarisation, orbital_position)) STRICT;
CREATE TABLE service(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  receiver INTEGER NOT NULL, original_network INTEGER NOT NULL, transport_stream INTEGER NOT NULL,
  service INTEGER NOT NULL,
  multiplex INTEGER NOT NULL REFERENCES multiplex(id),
  name TEXT NOT NULL, kind INTEGER NOT NULL, protected INTEGER NOT NULL, hidden INTEGER NOT NULL,
  channel_number INTEGER NOT NULL, quality INTEGER NOT NULL,
  UNIQUE(receiver, original_network, transport_stream, service)) STRICT;
CREATE TABLE feed(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  service INTEGER NOT NULL REFERENCES service(id), position INTEGER NOT NULL,
  type INTEGER NOT NULL, content_type INTEGER NOT NULL, pid INTEGER NOT NULL, stream_type INTEGER NOT NULL,
  tag INTEGER NOT NULL, page INTEGER NOT NULL, language TEXT NOT NULL) STRICT;
CREATE INDEX feed_of_service ON feed(service);
)";

namespace {

std::uint32_t identifier(std::int64_t value) {
  if (value < 1 || value > std::numeric_limits<std::uint32_t>::max()) {
    throw Failure(Code::DatabaseDamaged, "an identifier is out of range");
  }
  return static_cast<std::uint32_t>(value);
}

void readMultiplexes(Database& database, Catalogue& catalogue) {
  Statement rows(database,
                 "SELECT id, receiver, frequency, bandwidth, symbol_rate, modulation, orbital_position, fec, "
                 "polarisation FROM multiplex");
  while (rows.step()) {
    const auto id = identifier(rows.integer(0));
    const durix_scan_frequency tuning{rows.number<std::int32_t>(2), rows.number<std::int32_t>(3),
                                      rows.number<std::int32_t>(4), rows.number<std::int32_t>(5),
                                      rows.number<std::int32_t>(6), rows.number<std::int32_t>(7),
                                      rows.number<std::int32_t>(8)};
    catalogue.multiplexes.emplace(id, StoredMultiplex{id, rows.number<ReceiverType>(1), tuning});
  }
}

void readServices(Database& database, Catalogue& catalogue) {
  Statement rows(database,
                 "SELECT id, multiplex, receiver, original_network, transport_stream, service, name, kind, protected, "
                 "hidden, channel_number, quality FROM service");
  while (rows.step()) {
    StoredService service;
    service.id = identifier(rows.integer(0));
    service.multiplex = identifier(rows.integer(1));
    service.receiver = rows.number<ReceiverType>(2);
    service.originalNetworkId = rows.number<std::uint16_t>(3);
    service.transportStreamId = rows.number<std::uint16_t>(4);
    service.serviceId = rows.number<std::uint16_t>(5);
    service.name = rows.text(6);
    service.kind = rows.number<ServiceKind>(7);
    service.isProtected = rows.integer(8) != 0;
    service.isHidden = rows.integer(9) != 0;
    service.channelNumber = rows.number<std::int32_t>(10);
    service.quality = rows.number<std::int32_t>(11);
    catalogue.services.emplace(service.id, std::move(service));
  }
}

constexpr std::string_view FEED_COLUMNS = "id, service, type, content_type, pid, stream_type, tag, page, language";

Feed feedIn(const Statement& row) {
  Feed feed;
  feed.id = identifier(row.integer(0));
  feed.type = row.number<std::int32_t>(2);
  feed.contentType = row.number<std::int32_t>(3);
  feed.pid = row.number<std::uint16_t>(4);
  feed.streamType = row.number<std::uint8_t>(5);
  feed.tag = row.number<std::int32_t>(6);
  feed.page = row.number<std::uint16_t>(7);
  feed.language = row.text(8);
  return feed;
}

void readFeeds(Database& database, Catalogue& catalogue) {
  Statement rows(database,
                 "SELECT " + std::string(FEED_COLUMNS) + " FROM feed WHERE position >= 0 ORDER BY service, position");
  while (rows.step()) {
    const auto owner = catalogue.services.find(identifier(rows.integer(1)));
    if (owner == catalogue.services.end()) continue;
    Feed feed = feedIn(rows);
    catalogue.serviceOfFeed.emplace(feed.id, owner->first);
    owner->second.feeds.push_back(std::move(feed));
  }
}

// All that a service has and has had, those that it has first.
std::vector<Feed> everyFeed(Database& database, std::uint32_t service) {
  Statement rows(database, "SELECT " + std::string(FEED_COLUMNS) +
                               " FROM feed WHERE service = ? ORDER BY position < 0, position, id DESC");
  rows.bind(service);
  std::vector<Feed> feeds;
  while (rows.step()) feeds.push_back(feedIn(rows));
  return feeds;
}

auto contentOf(const Feed& feed) {
  return std::tie(feed.type, feed.contentType, feed.pid, feed.streamType, feed.tag, feed.page, feed.language);
}

// Whether the name is the one that stands for a missing one.
bool isMadeUp(const StoredService& service) {
  return service.name == "Service " + std::to_string(service.serviceId);
}

// Writes one scan; alive within its transaction.
class ScanWriter {
 public:
  ScanWriter(Database& database, const Catalogue& known, const ScanYield& yield)
      : _database(database), _known(known), _yield(yield) {}

  void write() {
    for (const auto& multiplex : _yield.multiplexes) take(multiplex);
    std::vector<const StoredService*> known;
    for (const auto& [id, service] : _known.services) {
      if (service.receiver == _yield.receiver) known.push_back(&service);
    }
    const Identities identities = identify(known, _found, _received);
    for (std::size_t i = 0; i < _found.size(); ++i) {
      if (!identities.isDuplicate[i]) writeService(_found[i], identities.known[i]);
    }
    for (const auto id : identities.gone) {
      Statement(_database, "UPDATE service SET hidden = 1 WHERE id = ?").bind(id).run();
    }
    const bool hasChannel = std::any_of(_found.begin(), _found.end(), [](const FoundService& found) {
      return found.service.kind != ServiceKind::Other;
    });
    if (hasChannel) {
      Statement(_database, "INSERT OR IGNORE INTO provider(receiver) VALUES(?)").bind(receiver()).run();
    }
  }

 private:
  std::int64_t receiver() const { return static_cast<std::int64_t>(_yield.receiver); }

  void take(const ScanYield::Multiplex& multiplex) {
    const auto stored = findMultiplex(multiplex.tuning);
    if (!multiplex.isDescribed && stored && knowsDescribed(*stored)) return;  // names are missing, not services
    std::vector<const ScannedService*> named;
    for (const auto& service : multiplex.services) {
      if (!service.name.empty() && service.isVisible) named.push_back(&service);
    }
    if (!stored && named.empty()) return;
    const auto id = writeMultiplex(multiplex.tuning);
    for (const auto* service : named) {
      _found.push_back({id, *service, qualityRank(*service, multiplex.reception)});
    }
    if (multiplex.isWhole) _received.insert(id);
  }

  std::optional<std::uint32_t> findMultiplex(const durix_scan_frequency& tuning) const {
    const auto key = [](const durix_scan_frequency& one) {
      return std::tuple(one.frequency, one.polarisation, one.orbital_position);
    };
    for (const auto& [id, multiplex] : _known.multiplexes) {
      if (multiplex.receiver == _yield.receiver && key(multiplex.tuning) == key(tuning)) return id;
    }
    return std::nullopt;
  }

  bool knowsDescribed(std::uint32_t multiplex) const {
    return std::any_of(_known.services.begin(), _known.services.end(), [&](const auto& entry) {
      const StoredService& service = entry.second;
      return service.multiplex == multiplex && !service.isHidden && !isMadeUp(service);
    });
  }

  std::uint32_t writeMultiplex(const durix_scan_frequency& tuning) {
    Statement row(_database,
                  "INSERT INTO multiplex(receiver, frequency, polarisation, orbital_position, bandwidth, symbol_rate, "
                  "modulation, fec) VALUES(?, ?, ?, ?, ?, ?, ?, ?) "
                  "ON CONFLICT DO UPDATE SET bandwidth = excluded.bandwidth, symbol_rate = excluded.symbol_rate, "
                  "modulation = excluded.modulation, fec = excluded.fec RETURNING id");
    row.bind(receiver()).bind(tuning.frequency).bind(tuning.polarisation).bind(tuning.orbital_position);
    row.bind(tuning.bandwidth).bind(tuning.symbol_rate).bind(tuning.modulation).bind(tuning.fec);
    row.step();
    const auto id = identifier(row.integer(0));
    row.run();
    return id;
  }

  void writeService(const FoundService& found, std::optional<std::uint32_t> known) {
    const ScannedService& service = found.service;
    Statement row(_database, known ? "UPDATE service SET receiver = ?, original_network = ?, transport_stream = ?, "
                                     "service = ?, multiplex = ?, name = ?, kind = ?, protected = ?, "
                                     "channel_number = ?, quality = ?, hidden = 0 WHERE id = ?"
                                   : "INSERT INTO service(receiver, original_network, transport_stream, service, "
                                     "multiplex, name, kind, protected, channel_number, quality, hidden) "
                                     "VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, 0)");
    row.bind(receiver()).bind(service.originalNetworkId).bind(service.transportStreamId).bind(service.serviceId);
    row.bind(found.multiplex).bind(service.name).bind(static_cast<std::int64_t>(service.kind));
    row.bind(service.isProtected ? 1 : 0).bind(service.channelNumber.value_or(0)).bind(found.quality);
    if (known) row.bind(*known);
    row.run();
    const auto id = known ? *known : identifier(_database.lastInsertId());
    writeFeeds(id, service);
  }

  // Components that the scan did not see have not gone: they are kept as well.
  void writeFeeds(std::uint32_t id, const ScannedService& scanned) {
    const auto* const known = _known.service(id);
    if (known != nullptr && !known->feeds.empty() && !scanned.hasProgram) return;
    durix::writeFeeds(_database, id, feedsOf(scanned.components));
  }

  Database& _database;
  const Catalogue& _known;
  const ScanYield& _yield;
  std::vector<FoundService> _found;
  std::set<std::uint32_t> _received;
};

}  // namespace

std::shared_ptr<const Catalogue> readCatalogue(Database& database) {
  auto catalogue = std::make_shared<Catalogue>();
  Statement providers(database, "SELECT receiver FROM provider ORDER BY receiver");
  while (providers.step()) catalogue->providers.push_back(providers.number<ReceiverType>(0));
  readMultiplexes(database, *catalogue);
  readServices(database, *catalogue);
  readFeeds(database, *catalogue);
  return catalogue;
}

bool areSame(std::span<const Feed> some, std::span<const Feed> others) {
  return std::ranges::equal(some, others, [](const Feed& a, const Feed& b) { return contentOf(a) == contentOf(b); });
}

// Feeds that stay keep their identifiers, and those that come back have their old ones: the position of what is gone is
// below zero.
void writeFeeds(Database& database, std::uint32_t service, std::span<const Feed> feeds) {
  constexpr int MOST_GONE = 100;
  auto old = everyFeed(database, service);
  Statement(database, "UPDATE feed SET position = -1 WHERE service = ?").bind(service).run();
  Statement addition(database,
                     "INSERT INTO feed(service, position, type, content_type, pid, stream_type, tag, page, language) "
                     "VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?)");
  std::int64_t position = 0;
  for (const Feed& feed : feeds) {
    const auto same = std::find_if(old.begin(), old.end(),
                                   [&](const Feed& candidate) { return contentOf(candidate) == contentOf(feed); });
    if (same != old.end()) {
      Statement(database, "UPDATE feed SET position = ? WHERE id = ?").bind(position).bind(same->id).run();
      old.erase(same);
    } else {
      addition.bind(service).bind(position).bind(feed.type).bind(feed.contentType).bind(feed.pid);
      addition.bind(feed.streamType).bind(feed.tag).bind(feed.page).bind(feed.language).run();
    }
    ++position;
  }
  Statement(database,
            "DELETE FROM feed WHERE id IN (SELECT id FROM feed WHERE service = ? AND position < 0 "
            "ORDER BY id DESC LIMIT -1 OFFSET ?)")
      .bind(service)
      .bind(MOST_GONE)
      .run();
}

void writeScan(Database& database, const Catalogue& known, const ScanYield& yield) {
  ScanWriter(database, known, yield).write();
}

}  // namespace durix

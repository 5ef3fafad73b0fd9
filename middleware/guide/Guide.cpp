#include "middleware/guide/Guide.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "middleware/portability/Clock.h"
#include "middleware/store/EventTables.h"

namespace durix {
namespace {

constexpr std::int64_t DAY = 86400;
constexpr std::int64_t FURTHEST = 366 * DAY;  // schedules reach 64 days

// Attributes of the contract have 32 bits; a year from the stream's own time nothing is announced.
bool isSensible(const GuideEvent& event, std::optional<std::int64_t> told) {
  if (event.start <= 0 || event.end > std::numeric_limits<std::int32_t>::max()) return false;
  return !told || std::abs(event.start - *told) <= FURTHEST;
}

// Until when things are over by what a stream tells: by its clock, and by what it says is on now.
std::int64_t overBefore(const EventTableUpdate& update, const Guide::Reception& reception) {
  std::int64_t now = std::max(clock::now(), reception.told.value_or(0));
  const auto present = update.sections.find(0);
  if (update.key.table <= EIT_PRESENT_OTHER_TABLE && present != update.sections.end() && !present->second.empty()) {
    now = std::max(now, present->second.front().start + reception.shift);
  }
  return now;
}

}  // namespace

Guide::Guide(Store& store, Keeping keeping) : _store(store), _keeping(keeping) {
  _lastId = _store.use([](Database& database) { return lastEventId(database); });
  _language = _store.property(DURIX_PROPERTY_ESG_LANGUAGE).value_or("");
}

std::int64_t Guide::oldest() const {
  return _keeping == Keeping::Forever ? 0 : clock::now() - DAY;
}

std::shared_ptr<const ServiceGuide> Guide::of(std::uint32_t service) {
  {
    const std::scoped_lock lock(_mutex);
    _lastRead = std::chrono::steady_clock::now();
    if (const auto known = _slots.find(service); known != _slots.end()) return known->second.guide;
  }
  return load(service);
}

std::shared_ptr<const ServiceGuide> Guide::read(std::uint32_t service) {
  of(service);
  const std::scoped_lock lock(_mutex);
  Slot& slot = _slots.at(service);
  slot.isRead = true;
  return slot.guide;
}

std::shared_ptr<const ServiceGuide> Guide::load(std::uint32_t service) {
  const std::scoped_lock loading(_loading);
  {
    const std::scoped_lock lock(_mutex);
    if (const auto known = _slots.find(service); known != _slots.end()) return known->second.guide;
  }
  auto events = _store.use([&](Database& database) { return readEvents(database, service, oldest()); });
  auto guide = std::make_shared<const ServiceGuide>(std::move(events));
  const std::scoped_lock lock(_mutex);
  _slots[service].guide = guide;
  return guide;
}

std::string Guide::language() const {
  const std::scoped_lock lock(_mutex);
  return _language;
}

void Guide::setLanguage(std::string language) {
  const std::scoped_lock lock(_mutex);
  _language = std::move(language);
}

std::chrono::steady_clock::duration Guide::quiet() const {
  const std::scoped_lock lock(_mutex);
  return std::chrono::steady_clock::now() - _lastRead;
}

bool Guide::isRead(std::uint32_t service) const {
  const std::scoped_lock lock(_mutex);
  const auto known = _slots.find(service);
  return known == _slots.end() || known->second.isRead;
}

Guide::Counts Guide::counts() const {
  const std::scoped_lock lock(_mutex);
  return _counts;
}

Timeline& Guide::timeline(std::uint32_t service) {
  const auto known = _timelines.find(service);
  if (known != _timelines.end()) return known->second;
  const auto kept = load(service);
  if (!kept->events().empty()) _resumed.insert(service);
  return _timelines.emplace(service, Timeline(kept->events())).first->second;
}

std::optional<std::int64_t> Guide::take(std::uint32_t service, EventTableUpdate&& update, const Reception& reception) {
  Timeline& line = timeline(service);
  const std::int64_t now = overBefore(update, reception);
  const std::uint8_t table = update.key.table;
  Counts counts;
  std::optional<std::int64_t> lastEnd;
  for (auto& [number, events] : update.sections) {
    std::vector<GuideEvent> claims;
    for (auto& event : events) {
      GuideEvent claim{.eventId = event.id,
                       .age = event.age,
                       .content = event.content,
                       .start = event.start + reception.shift,
                       .end = event.end + reception.shift,
                       .texts = EventTexts(event.texts)};
      if (!isSensible(claim, reception.told)) continue;
      lastEnd = std::max(claim.end, lastEnd.value_or(claim.end));
      claims.push_back(std::move(claim));
    }
    const std::size_t sensible = claims.size();
    const std::size_t taken = sensible - line.replace({reception.multiplex, table, number}, std::move(claims), now);
    counts.events += taken;
    counts.dropped += events.size() - taken;
  }
  if (update.isWhole) line.keepSections(reception.multiplex, table, update.present, now);
  if (update.isWhole && table >= EIT_SCHEDULE_ACTUAL_TABLE) {
    const bool isOwn = table < EIT_SCHEDULE_OTHER_TABLE;
    const std::uint8_t end = isOwn ? EIT_SCHEDULE_OTHER_TABLE - 1 : EIT_LAST_TABLE;
    line.dropTables(reception.multiplex, std::max(update.lastTable, table), end, now);
  }
  const bool isOther = table == EIT_PRESENT_OTHER_TABLE || table >= EIT_SCHEDULE_OTHER_TABLE;
  if (update.isWhole && reception.isHome && !isOther) line.dropElsewhere(reception.multiplex, table, now);
  _changed.insert(service);
  const std::scoped_lock lock(_mutex);
  _counts.events += counts.events;
  _counts.dropped += counts.dropped;
  return lastEnd;
}

void Guide::endRound() {
  for (const auto service : _resumed) timeline(service).forgetKept();
  _changed.merge(_resumed);
  _resumed.clear();
}

bool Guide::flush() {
  struct Settled {
    Timeline* line;
    std::uint32_t service;
    Timeline::Outcome outcome;
    std::shared_ptr<const ServiceGuide> guide;
  };
  std::vector<Settled> settled;
  std::vector<EventChange> changes;
  for (const auto service : _changed) {
    Timeline& line = timeline(service);
    line.forget(oldest());
    Timeline::Outcome outcome = line.settle();
    if (!outcome.hasChanged()) {
      line.accept(std::move(outcome));
      continue;
    }
    for (const auto& event : outcome.added) event->id = ++_lastId;
    changes.push_back({service, {outcome.added.begin(), outcome.added.end()}, outcome.removed});
    auto guide = std::make_shared<const ServiceGuide>(outcome.events, *load(service), outcome.removed);
    settled.push_back({&line, service, std::move(outcome), std::move(guide)});
  }
  if (!changes.empty()) {
    _store.use([&](Database& database) {
      Transaction transaction(database);
      writeEvents(database, changes);
      transaction.commit();
    });
  }
  // From here on nothing may fail: lines and store tell the same.
  _changed.clear();
  for (auto& each : settled) {
    each.line->accept(std::move(each.outcome));
    const std::scoped_lock lock(_mutex);
    _slots.at(each.service) = {.guide = std::move(each.guide), .isRead = false};
  }
  return !settled.empty();
}

void Guide::forgetOld() {
  if (_keeping == Keeping::Forever) return;
  _store.use([&](Database& database) { dropEventsBefore(database, oldest()); });
  const std::scoped_lock lock(_mutex);
  for (const auto& [service, slot] : _slots) _changed.insert(service);
}

}  // namespace durix

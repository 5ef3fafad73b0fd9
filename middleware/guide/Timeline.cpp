#include "middleware/guide/Timeline.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "middleware/si/EitReader.h"

namespace durix {
namespace {

// Programmes that overlap by less follow each other; broadcasters round their times.
constexpr std::int64_t SEAM = 60;
// An event that moved further has its number for another programme.
constexpr std::int64_t LONGEST_MOVE = std::int64_t{3} * 3600;
// A service's, of all tables. A schedule has some thousands; hostile streams have no end.
constexpr std::size_t MOST_CLAIMS = 250'000;

unsigned rankOf(std::uint8_t table) {
  if (table == EIT_PRESENT_ACTUAL_TABLE) return 4;
  if (table == EIT_PRESENT_OTHER_TABLE) return 3;
  if (table >= EIT_SCHEDULE_OTHER_TABLE) return 1;
  return table >= EIT_SCHEDULE_ACTUAL_TABLE ? 2 : 0;
}

struct Claim {
  unsigned rank;
  std::uint64_t age;
  GuideOrigin origin;
  GuideEventPtr event;
};

bool hasSameTitle(const EventTexts& a, const EventTexts& b) {
  return a.title({}) == b.title({});
}

bool comesFirst(const Claim& a, const Claim& b) {
  if (a.rank != b.rank) return a.rank > b.rank;
  if (a.age != b.age) return a.age > b.age;
  return a.event->start < b.event->start;
}

// The event numbers that one table has for several events at once: some broadcasters give one to all. `claims` are in
// the order above.
std::unordered_set<std::uint16_t> sharedNumbers(std::span<const Claim> claims) {
  std::unordered_set<std::uint16_t> shared;
  std::unordered_map<std::uint16_t, const Claim*> last;
  for (const Claim& claim : claims) {
    const Claim*& before = last[claim.event->eventId];
    const bool isOneTable = before != nullptr && before->rank == claim.rank && before->age == claim.age;
    if (isOneTable && before->event->start != claim.event->start) shared.insert(claim.event->eventId);
    before = &claim;
  }
  return shared;
}

// A programme in the making: a claim, and where others have changed it.
struct Draft {
  Claim claim;
  std::int64_t start, end;
  std::uint8_t age, content;
  std::optional<EventTexts> texts{};  // nothing: those of the claim

  explicit Draft(const Claim& from)
      : claim(from),
        start(from.event->start),
        end(from.event->end),
        age(from.event->age),
        content(from.event->content) {}

  const EventTexts& currentTexts() const { return texts ? *texts : claim.event->texts; }

  bool isLike(const GuideEvent& event) const {
    return event.eventId == claim.event->eventId && event.start == start && event.end == end && event.age == age &&
           event.content == content && event.texts == currentTexts();
  }
};

// Puts claims on the line, the higher ones first.
class Line {
 public:
  /// `shared`: numbers that do not tell events apart.
  explicit Line(std::unordered_set<std::uint16_t> shared) : _shared(std::move(shared)) {}

  /// False when there is no place, or another event in it.
  bool place(const Claim& claim) {
    if (Draft* const same = findSame(claim)) {
      enrich(*same, *claim.event);
      return same->claim.event->eventId == claim.event->eventId;
    }
    Draft draft(claim);
    if (!fit(draft)) return false;
    const auto start = draft.start;
    _drafts.emplace(start, std::move(draft));
    if (!_shared.contains(claim.event->eventId)) _starts[claim.event->eventId].push_back(start);
    return true;
  }

  /// For a programme that is on the line, what was known of it.
  void remember(const GuideEventPtr& event) {
    if (Draft* const same = findSame({.rank = 0, .age = 0, .origin = {}, .event = event})) enrich(*same, *event);
  }

  const std::map<std::int64_t, Draft>& drafts() const { return _drafts; }

 private:
  // The programme that this event is already. Starts never move once they are on the line.
  Draft* findSame(const Claim& claim) {
    if (_shared.contains(claim.event->eventId)) {
      if (Draft* const neighbour = findSameNeighbour(claim)) return neighbour;
    } else if (const auto known = _starts.find(claim.event->eventId); known != _starts.end()) {
      for (const auto start : known->second) {
        Draft& draft = _drafts.at(start);
        if (isSame(draft, claim)) return &draft;
      }
    }
    const auto place = _drafts.find(claim.event->start);
    const bool isSameSlot = place != _drafts.end() && place->second.end == claim.event->end;
    return isSameSlot ? &place->second : nullptr;
  }

  // Of events whose number says nothing, those next to the start are enough to look at: with all of a long service it
  // would take the square of their time.
  Draft* findSameNeighbour(const Claim& claim) {
    constexpr int NEIGHBOURS = 4;
    auto place = _drafts.upper_bound(claim.event->start);
    for (int i = 0; i < 2 && place != _drafts.begin(); ++i) --place;
    for (int i = 0; i < NEIGHBOURS && place != _drafts.end(); ++i, ++place) {
      Draft& draft = place->second;
      if (draft.claim.event->eventId == claim.event->eventId && isSameTime(draft, claim)) return &draft;
    }
    return nullptr;
  }

  static bool isSameTime(const Draft& draft, const Claim& claim) {
    const GuideEvent& known = *draft.claim.event;
    const GuideEvent& event = *claim.event;
    if (event.start == known.start) return true;
    const std::int64_t overlap = std::min(event.end, known.end) - std::max(event.start, known.start);
    return overlap * 2 > std::min(event.end - event.start, known.end - known.start);
  }

  // Of two with one event number, which may have been given anew.
  static bool isSame(const Draft& draft, const Claim& claim) {
    if (isSameTime(draft, claim)) return true;
    const GuideEvent& known = *draft.claim.event;
    const GuideEvent& event = *claim.event;
    const bool isOneTable = draft.claim.rank == claim.rank && draft.claim.age == claim.age;
    return !isOneTable && std::abs(event.start - known.start) <= LONGEST_MOVE && hasSameTitle(event.texts, known.texts);
  }

  static void enrich(Draft& draft, const GuideEvent& other) {
    if (!hasSameTitle(draft.currentTexts(), other.texts)) return;
    if (!(draft.currentTexts() == other.texts)) draft.texts = draft.currentTexts().enrichedBy(other.texts);
    if (draft.age == 0) draft.age = other.age;
    if (draft.content == 0) draft.content = other.content;
  }

  // Makes room between what is there; false when there is too little, and then nothing has changed.
  bool fit(Draft& draft) {
    const std::int64_t whole = draft.end - draft.start;
    Draft* before = nullptr;  // whose end gives way
    auto next = _drafts.upper_bound(draft.start);
    if (next != _drafts.begin()) --next;
    for (; next != _drafts.end() && next->second.start < draft.end; ++next) {
      Draft& there = next->second;
      if (there.end <= draft.start) continue;
      if (there.start == draft.start) return false;
      if (there.start > draft.start) {
        draft.end = there.start;
      } else if (mayCut(there, draft)) {
        before = &there;
      } else {
        draft.start = there.end;
      }
    }
    if (draft.start >= draft.end || (draft.end - draft.start) * 2 < whole) return false;
    if (before != nullptr) before->end = draft.start;
    return true;
  }

  // Whether a programme on the line ends where a later one begins: at a seam, and in one table, where starts are meant
  // and ends are guessed.
  static bool mayCut(const Draft& there, const Draft& later) {
    const bool isOneTable = there.claim.rank == later.claim.rank && there.claim.age == later.claim.age;
    return isOneTable || std::min(later.end, there.end) - later.start < SEAM;
  }

  const std::unordered_set<std::uint16_t> _shared;
  std::map<std::int64_t, Draft> _drafts;                                 // by start
  std::unordered_map<std::uint16_t, std::vector<std::int64_t>> _starts;  // by event, without the shared numbers
};

}  // namespace

Timeline::Timeline(std::span<const GuideEventPtr> stored)
    : _remembered(stored.begin(), stored.end()), _events(stored.begin(), stored.end()) {
  for (const auto& event : stored) {
    if (event->origin.table == 0) {
      _over.emplace(std::pair(event->start, event->eventId), event);
    } else {
      _claims[event->origin].events.push_back(event);
      ++_claimCount;
    }
  }
}

// What is over stays, whatever its table says next.
void Timeline::retire(const Claims& claims, std::int64_t now) {
  for (const auto& event : claims.events) {
    if (event->end <= now && _over.size() < MOST_CLAIMS) _over.emplace(std::pair(event->start, event->eventId), event);
  }
}

Timeline::ClaimMap::iterator Timeline::drop(ClaimMap::iterator claims, std::int64_t now) {
  retire(claims->second, now);
  _claimCount -= claims->second.events.size();
  return _claims.erase(claims);
}

std::size_t Timeline::replace(const GuideOrigin& origin, std::vector<GuideEvent> events, std::int64_t now) {
  const auto known = _claims.find(origin);
  if (known != _claims.end()) drop(known, now);
  Claims& claims = _claims[origin];
  claims.age = ++_age;
  const std::size_t room =
      std::min(events.size(), MOST_CLAIMS - std::min(MOST_CLAIMS, _claimCount));  // there may be more of kept ones
  for (auto& event : std::span(events).first(room)) {
    event.origin = origin;
    claims.events.push_back(std::make_shared<const GuideEvent>(std::move(event)));
  }
  _claimCount += room;
  return events.size() - room;
}

void Timeline::keepSections(std::uint32_t multiplex, std::uint8_t table, const std::bitset<256>& sections,
                            std::int64_t now) {
  for (auto claims = _claims.lower_bound({multiplex, table, 0}); claims != _claims.end();) {
    const auto& origin = claims->first;
    if (origin.multiplex != multiplex || origin.table != table) break;
    if (sections[origin.section]) {
      claims++->second.age = _age;
    } else {
      claims = drop(claims, now);
    }
  }
}

void Timeline::dropTables(std::uint32_t multiplex, unsigned last, unsigned end, std::int64_t now) {
  for (auto claims = _claims.lower_bound({multiplex, static_cast<std::uint8_t>(last + 1), 0});
       claims != _claims.end() && claims->first.multiplex == multiplex && claims->first.table <= end;) {
    claims = drop(claims, now);
  }
}

void Timeline::dropElsewhere(std::uint32_t multiplex, std::uint8_t table, std::int64_t now) {
  for (auto claims = _claims.begin(); claims != _claims.end();) {
    const auto& origin = claims->first;
    claims = origin.table == table && origin.multiplex != multiplex ? drop(claims, now) : std::next(claims);
  }
}

void Timeline::forget(std::int64_t before) {
  std::erase_if(_over, [&](const auto& entry) { return entry.second->end < before; });
  for (auto claims = _claims.begin(); claims != _claims.end();) {
    _claimCount -=
        std::erase_if(claims->second.events, [&](const GuideEventPtr& event) { return event->end < before; });
    claims = claims->second.events.empty() ? _claims.erase(claims) : std::next(claims);
  }
}

Timeline::Outcome Timeline::settle() const {
  std::vector<Claim> claims;
  for (const auto& [origin, known] : _claims) {
    for (const auto& event : known.events) claims.push_back({rankOf(origin.table), known.age, origin, event});
  }
  for (const auto& [key, event] : _over) claims.push_back({rankOf(0), 0, {}, event});
  std::stable_sort(claims.begin(), claims.end(), comesFirst);
  Outcome outcome;
  Line line(sharedNumbers(claims));
  for (const Claim& claim : claims) {
    if (!line.place(claim) && claim.origin.table == 0) outcome.lost.push_back(claim.event);
  }
  for (const auto& event : _remembered) line.remember(event);

  auto old = _events.begin();
  for (const auto& [start, draft] : line.drafts()) {
    while (old != _events.end() && (*old)->start < start) outcome.removed.push_back(*old++);
    if (old != _events.end() && draft.isLike(**old)) {
      outcome.events.push_back(*old++);
      continue;
    }
    auto event = std::make_shared<GuideEvent>(*draft.claim.event);
    event->id = 0;
    event->start = draft.start;
    event->end = draft.end;
    event->age = draft.age;
    event->content = draft.content;
    event->origin = draft.claim.origin;
    event->texts = draft.currentTexts();
    outcome.added.push_back(event);
    outcome.events.push_back(std::move(event));
  }
  outcome.removed.insert(outcome.removed.end(), old, _events.end());
  return outcome;
}

void Timeline::accept(Outcome&& outcome) {
  for (const auto& event : outcome.lost) _over.erase({event->start, event->eventId});
  _events = std::move(outcome.events);
}

}  // namespace durix

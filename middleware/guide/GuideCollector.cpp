#include "middleware/guide/GuideCollector.h"

#include <algorithm>
#include <tuple>
#include <utility>
#include <vector>

#include "middleware/api/Failure.h"
#include "middleware/portability/Log.h"
#include "middleware/receivers/ReceptionReport.h"
#include "middleware/stream/PacketReader.h"

namespace durix {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr std::uint64_t PACKETS_BETWEEN_QUESTIONS = 4096;
constexpr seconds FLUSH_INTERVAL(1);
constexpr seconds LONGEST_BURST(5);        // then it is told of in between
constexpr milliseconds READER_PAUSE(250);  // who reads nothing for so long has ended
constexpr seconds LONGEST_READER(15);      // somebody is always reading: told of anyway
constexpr milliseconds BUSY_TURN(50);
constexpr milliseconds IDLE_TURN(1000);
constexpr seconds BUSY_PATIENCE(2);  // what has begun to be received has told something by then
constexpr milliseconds FEED_CHANGE(200);
constexpr std::chrono::hours FORGETTING(1);
constexpr seconds CHECK_INTERVAL(30);  // whether a stream is still the one that was read

bool hasSameServices(const Catalogue& some, const Catalogue& others) {
  const auto isSameMultiplex = [](const auto& a, const auto& b) {
    return a.first == b.first && a.second.receiver == b.second.receiver &&
           a.second.tuning.frequency == b.second.tuning.frequency &&
           a.second.tuning.polarisation == b.second.tuning.polarisation;
  };
  const auto identityOf = [](const StoredService& service) {
    return std::tie(service.multiplex, service.receiver, service.originalNetworkId, service.transportStreamId,
                    service.serviceId, service.isHidden);
  };
  return std::ranges::equal(some.multiplexes, others.multiplexes, isSameMultiplex) &&
         std::ranges::equal(some.services, others.services, [&](const auto& a, const auto& b) {
           return a.first == b.first && identityOf(a.second) == identityOf(b.second);
         });
}

}  // namespace

GuideCollector::GuideCollector(Parts parts)
    : _parts(parts), _thread([this](const std::stop_token& stop) { run(stop); }) {}

GuideCollector::Progress GuideCollector::progress() const {
  const std::scoped_lock lock(_mutex);
  return _progress;
}

void GuideCollector::stop() {
  if (!_thread.joinable()) return;
  _thread.request_stop();
  _thread.join();
}

void GuideCollector::run(const std::stop_token& stop) {
  while (!stop.stop_requested()) {
    try {
      turn(stop);
    } catch (const std::exception& error) {  // the database or memory; the next turn may be luckier
      logLine(std::string("guide: ") + error.what());
      _receiver.reset();
      _parts.feeds.waitForChange(stop, IDLE_TURN);
    }
  }
  _receiver.reset();
}

void GuideCollector::turn(const std::stop_token& stop) {
  if (!_forgotten || Clock::now() - *_forgotten >= FORGETTING) {
    _parts.guide.forgetOld();
    _forgotten = Clock::now();
    flush();
  }
  const bool isOpen = _parts.feeds.isAnyOpen();  // before the list is looked at: a feed is of a list that is there
  refreshCatalogue();
  _isEnabled = _parts.store.property(DURIX_PROPERTY_ESG_UPDATE) != "false";
  takeTapped();
  const auto next = _isEnabled && isOpen ? nextMultiplex() : std::nullopt;
  if (next && takeReceiver()) {
    _busySince.reset();
    tellDone(false);
    collect(stop, _catalogue->multiplexes.at(*next));
    tellOfChange(false);
    return;
  }
  const bool isBusy = next.has_value();
  if (!isBusy) _busySince.reset();
  if (isBusy && !_busySince) _busySince = Clock::now();
  _receiver.reset();
  if (!isBusy && isOpen && wasAllReceived()) {
    _parts.guide.endRound();
    flush();
  }
  if (_isStoreFailing) flush();
  tellOfChange(_tapped.empty());
  tellDone(isOpen && !_changedSince && (!isBusy || isStuck()));
  _parts.feeds.waitForChange(stop, isBusy || _changedSince ? BUSY_TURN : IDLE_TURN);
}

// What the collected programmes belong to; feeds come and go without a meaning for them.
void GuideCollector::refreshCatalogue() {
  auto catalogue = _parts.store.catalogue();
  if (catalogue == _catalogue) return;
  const bool isNewList = _catalogue == nullptr || !hasSameServices(*catalogue, *_catalogue);
  _catalogue = std::move(catalogue);
  if (!isNewList) return;
  _read.clear();
  _tapped.clear();
  for (const auto multiplex : _parts.tap.closed()) _parts.tap.open(multiplex);
}

// What has come of multiplexes that somebody else receives.
void GuideCollector::takeTapped() {
  const auto pieces = _parts.tap.drain();
  if (!_isEnabled) return _tapped.clear();
  for (const auto& piece : pieces) takePiece(piece);
  const auto received = _parts.tuners.multiplexes(ReceiverUse::Guide);
  std::erase_if(_tapped, [&](const auto& entry) {
    return std::find(received.begin(), received.end(), entry.first) == received.end() || _read.contains(entry.first);
  });
  for (const auto closed : _parts.tap.closed()) {
    const auto known = _catalogue->multiplexes.find(closed);
    if (known != _catalogue->multiplexes.end() && isStale(known->second)) _parts.tap.open(closed);
  }
  if (!_tapped.empty() && Clock::now() - _flushed >= FLUSH_INTERVAL) flush();
}

void GuideCollector::takePiece(const GuideTap::Piece& piece) {
  const auto known = _catalogue->multiplexes.find(piece.multiplex);
  if (known == _catalogue->multiplexes.end()) return;
  const StoredMultiplex& multiplex = known->second;
  if (protocolOf(multiplex.receiver) != Protocol::Dvb || !isStale(multiplex)) return _parts.tap.close(multiplex.id);
  auto current = _tapped.find(multiplex.id);
  if (current == _tapped.end() || piece.loop < current->second.loop) {
    current = _tapped.insert_or_assign(multiplex.id, tapped(multiplex, piece.loop)).first;
  }
  current->second.loop = piece.loop;
  if (piece.loop < current->second.endLoop) {
    current->second.reception->feed(PacketView(piece.packet));
  } else {
    finish(multiplex, *current->second.reception, current->second.read);
  }
}

// Who is there from the beginning has seen it all when it begins again.
GuideCollector::Tapped GuideCollector::tapped(const StoredMultiplex& multiplex, std::uint64_t loop) const {
  Read read = readingOf(multiplex);
  const std::int64_t shift = read.shift;
  return {.read = std::move(read),
          .loop = loop,
          .endLoop = loop == 0 ? 1 : loop + 2,
          .reception = std::make_unique<GuideReception>(_parts.guide, _catalogue, multiplex.id, shift)};
}

void GuideCollector::tellDone(bool isDone) {
  const std::scoped_lock lock(_mutex);
  _progress.isDone = isDone;
}

// Every receiver is in use for as long as somebody likes, and what they receive has told all.
bool GuideCollector::isStuck() const {
  if (Clock::now() - *_busySince < BUSY_PATIENCE) return false;
  const auto uses = _parts.tuners.occupations();
  const bool isScanned = std::ranges::any_of(uses, [](const auto& each) { return each.use == ReceiverUse::Scan; });
  return !isScanned &&
         std::ranges::all_of(_tapped, [](const auto& entry) { return entry.second.reception->hasGoneRound(); });
}

// False when none is free.
bool GuideCollector::takeReceiver() {
  if (_receiver != nullptr && !_isTaken) return true;
  _receiver.reset();
  _isTaken = false;
  _receiver = _parts.tuners.reserve(ReceiverUse::Guide, *this);
  return _receiver != nullptr;
}

bool GuideCollector::wasAllReceived() const {
  return !_read.empty() &&
         std::all_of(_read.begin(), _read.end(), [](const auto& entry) { return entry.second.isReceived; });
}

// Who changes from one feed to another has none for a moment.
bool GuideCollector::isWanted(const std::stop_token& stop) {
  if (!_parts.feeds.isAnyOpen()) _parts.feeds.waitForChange(stop, FEED_CHANGE);
  return !stop.stop_requested() && _parts.feeds.isAnyOpen() && !_isTaken;
}

// The first multiplex whose stream is not the one that was read; those with an open feed come first.
std::optional<std::uint32_t> GuideCollector::nextMultiplex() {
  std::vector<std::uint32_t> wanted = _parts.feeds.multiplexes();
  for (const auto& [id, multiplex] : _catalogue->multiplexes) {
    if (std::find(wanted.begin(), wanted.end(), id) == wanted.end()) wanted.push_back(id);
  }
  std::erase_if(wanted, [this](std::uint32_t id) {
    const auto known = _catalogue->multiplexes.find(id);
    return known == _catalogue->multiplexes.end() || known->second.receiver != _parts.receivers.type();
  });
  const auto next = std::find_if(wanted.begin(), wanted.end(),
                                 [this](std::uint32_t id) { return isStale(_catalogue->multiplexes.at(id)); });
  const std::scoped_lock lock(_mutex);
  _progress.multiplexes = static_cast<std::uint32_t>(wanted.size());
  _progress.done = static_cast<std::uint32_t>(_read.size());
  return next == wanted.end() ? std::nullopt : std::optional(*next);
}

bool GuideCollector::isStale(const StoredMultiplex& multiplex) {
  const auto known = _read.find(multiplex.id);
  if (known == _read.end()) return true;
  if (Clock::now() - known->second.checked < CHECK_INTERVAL) return false;
  known->second.checked = Clock::now();
  if (known->second.revision == _parts.receivers.revision(multiplex.tuning) &&
      known->second.shift == shiftOf(multiplex)) {
    return false;
  }
  _read.erase(known);
  return true;
}

std::int64_t GuideCollector::shiftOf(const StoredMultiplex& multiplex) const {
  const auto file = _parts.receivers.shiftedFile(multiplex.tuning);
  return file ? _parts.timeShifts.of(*file) : 0;
}

GuideCollector::Read GuideCollector::readingOf(const StoredMultiplex& multiplex) const {
  return {.revision = _parts.receivers.revision(multiplex.tuning), .shift = shiftOf(multiplex), .checked = {}};
}

void GuideCollector::collect(const std::stop_token& stop, const StoredMultiplex& multiplex) {
  Read read = readingOf(multiplex);
  ReceptionReport report(_parts.events, multiplex.tuning);
  std::unique_ptr<ByteSource> source = tune(multiplex, report);
  if (source == nullptr) return keep(multiplex, std::move(read));
  GuideReception reception(_parts.guide, _catalogue, multiplex.id, read.shift);
  if (receive(stop, reception, std::move(source), report)) finish(multiplex, reception, std::move(read));
}

// The stream of a multiplex was received to its end.
void GuideCollector::finish(const StoredMultiplex& multiplex, GuideReception& reception, Read read) {
  reception.finish();
  flush();
  const auto file = _parts.receivers.shiftedFile(multiplex.tuning);
  if (file && reception.lastEnd()) _parts.timeShifts.tellLastEnd(*file, *reception.lastEnd());
  _dropped += reception.dropped();
  read.isReceived = true;
  keep(multiplex, std::move(read));
}

void GuideCollector::keep(const StoredMultiplex& multiplex, Read read) {
  _parts.tap.close(multiplex.id);
  read.checked = Clock::now();
  _read[multiplex.id] = std::move(read);
  const std::scoped_lock lock(_mutex);
  _progress.done = static_cast<std::uint32_t>(_read.size());
  _progress.dropped = _dropped + _parts.guide.counts().dropped;
}

// Null where nothing is sent, it cannot be read, or the standard has tables of its own.
std::unique_ptr<ByteSource> GuideCollector::tune(const StoredMultiplex& multiplex, ReceptionReport& report) const {
  if (protocolOf(multiplex.receiver) != Protocol::Dvb) return nullptr;
  try {
    std::unique_ptr<ByteSource> source = _parts.receivers.tune(multiplex.tuning);
    if (source == nullptr) report.tellNoSignal();
    return source;
  } catch (const Failure& failure) {
    logLine(std::string("guide: ") + failure.what());
    return nullptr;
  }
}

// Reads a stream to its end; false when it is not wanted so long.
bool GuideCollector::receive(const std::stop_token& stop, GuideReception& reception, std::unique_ptr<ByteSource> source,
                             ReceptionReport& report) {
  PacketReader reader(std::move(source));
  ReceptionMeter meter;
  const auto tellReception = [&] {
    Reception soFar = meter.reception();
    soFar.damagedPackets = reader.statistics().damagedPackets;
    report.tell(soFar);
  };
  std::uint64_t count = 0;
  bool isWhole = true;
  while (const auto packet = reader.next()) {
    meter.feed(*packet);
    reception.feed(*packet);
    if (++count % PACKETS_BETWEEN_QUESTIONS != 0) continue;
    tellReception();
    isWhole = isWanted(stop);
    if (!isWhole) break;
    takeTapped();
    if (Clock::now() - _flushed < FLUSH_INTERVAL) continue;
    flush();
    tellOfChange(false);
  }
  tellReception();
  if (isWhole && isWanted(stop)) return true;
  flush();
  return false;
}

void GuideCollector::flush() {
  _flushed = Clock::now();
  try {
    if (_parts.guide.flush() && !_changedSince) _changedSince = Clock::now();
    _isStoreFailing = false;
  } catch (const Failure& failure) {  // what could not be stored is tried again with the next
    if (!std::exchange(_isStoreFailing, true)) logLine(std::string("guide: ") + failure.what());
  }
}

void GuideCollector::tellOfChange(bool isBurstOver) {
  if (!_changedSince) return;
  const auto waited = Clock::now() - *_changedSince;
  const bool isDue = isBurstOver || waited >= LONGEST_BURST;
  const bool isQuiet = _parts.guide.quiet() >= READER_PAUSE || waited >= LONGEST_READER;
  if (!isDue || !isQuiet) return;
  _changedSince.reset();
  _parts.events.post(EventRecord(DURIX_EVENT_PROGRAM_EVENTS_CHANGED));
}

}  // namespace durix

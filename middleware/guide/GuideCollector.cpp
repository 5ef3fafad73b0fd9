#include "middleware/guide/GuideCollector.h"

#include <algorithm>
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
constexpr milliseconds FEED_CHANGE(200);
constexpr std::chrono::hours FORGETTING(1);
constexpr seconds CHECK_INTERVAL(30);  // whether a stream is still the one that was read

}  // namespace

GuideCollector::GuideCollector(Parts parts)
    : _parts(std::move(parts)), _thread([this](const std::stop_token& stop) { run(stop); }) {}

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
      _parts.feeds.waitForChange(stop, IDLE_TURN);
    }
  }
}

void GuideCollector::turn(const std::stop_token& stop) {
  if (!_forgotten || Clock::now() - *_forgotten >= FORGETTING) {
    _parts.guide.forgetOld();
    _forgotten = Clock::now();
    flush();
  }
  const bool isBusy = _parts.isBusy();
  const auto next = !isBusy && _parts.feeds.isAnyOpen() ? nextMultiplex() : std::nullopt;
  if (next) {
    collect(stop, _catalogue->multiplexes.at(*next));
    tellOfChange(false);
    return;
  }
  if (!isBusy && _parts.feeds.isAnyOpen() && wasAllReceived()) {
    _parts.guide.endRound();
    flush();
  }
  if (_isStoreFailing) flush();
  tellOfChange(true);
  {
    const std::scoped_lock lock(_mutex);
    _progress.isDone = _parts.feeds.isAnyOpen() && !isBusy && !_changedSince;
  }
  _parts.feeds.waitForChange(stop, isBusy || _changedSince ? BUSY_TURN : IDLE_TURN);
}

bool GuideCollector::wasAllReceived() const {
  return !_read.empty() &&
         std::all_of(_read.begin(), _read.end(), [](const auto& entry) { return entry.second.isReceived; });
}

// Who changes from one feed to another has none for a moment.
bool GuideCollector::isWanted(const std::stop_token& stop) {
  if (!_parts.feeds.isAnyOpen()) _parts.feeds.waitForChange(stop, FEED_CHANGE);
  return !stop.stop_requested() && _parts.feeds.isAnyOpen() && !_parts.isBusy();
}

// The first multiplex whose stream is not the one that was read; those with an open feed come first.
std::optional<std::uint32_t> GuideCollector::nextMultiplex() {
  auto catalogue = _parts.store.catalogue();
  if (catalogue != _catalogue) _read.clear();
  _catalogue = std::move(catalogue);
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
  _progress.done = static_cast<std::uint32_t>(_read.size()) - (next != wanted.end() && _read.contains(*next) ? 1 : 0);
  _progress.isDone = false;
  return next == wanted.end() ? std::nullopt : std::optional(*next);
}

bool GuideCollector::isStale(const StoredMultiplex& multiplex) {
  const auto known = _read.find(multiplex.id);
  if (known == _read.end()) return true;
  if (Clock::now() - known->second.checked < CHECK_INTERVAL) return false;
  known->second.checked = Clock::now();
  return known->second.revision != _parts.receivers.revision(multiplex.tuning) ||
         known->second.shift != shiftOf(multiplex);
}

std::int64_t GuideCollector::shiftOf(const StoredMultiplex& multiplex) const {
  const auto file = _parts.receivers.shiftedFile(multiplex.tuning);
  return file ? _parts.timeShifts.of(*file) : 0;
}

void GuideCollector::collect(const std::stop_token& stop, const StoredMultiplex& multiplex) {
  Read read{.revision = _parts.receivers.revision(multiplex.tuning), .shift = shiftOf(multiplex), .checked = {}};
  ReceptionReport report(_parts.events, multiplex.tuning);
  if (std::unique_ptr<ByteSource> source = tune(multiplex, report)) {
    if (!receive(stop, multiplex, std::move(source), read.shift, report)) return;
    read.isReceived = true;
  }
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

// Reads a multiplex to its end; false when it is not wanted so long.
bool GuideCollector::receive(const std::stop_token& stop, const StoredMultiplex& multiplex,
                             std::unique_ptr<ByteSource> source, std::int64_t shift, ReceptionReport& report) {
  const auto file = _parts.receivers.shiftedFile(multiplex.tuning);
  GuideReception reception(_parts.guide, _catalogue, multiplex.id, shift);
  PacketReader reader(std::move(source));
  ReceptionMeter meter;
  const auto tellReception = [&] {
    Reception soFar = meter.reception();
    soFar.damagedPackets = reader.statistics().damagedPackets;
    report.tell(soFar);
  };
  auto flushed = Clock::now();
  std::uint64_t count = 0;
  while (const auto packet = reader.next()) {
    meter.feed(*packet);
    reception.feed(*packet);
    if (++count % PACKETS_BETWEEN_QUESTIONS != 0) continue;
    tellReception();
    if (!isWanted(stop)) break;
    if (Clock::now() - flushed < FLUSH_INTERVAL) continue;
    flush();
    tellOfChange(false);
    flushed = Clock::now();
  }
  tellReception();
  const bool isWhole = isWanted(stop);
  if (isWhole) reception.finish();
  flush();
  if (!isWhole) return false;
  if (file && reception.lastEnd()) _parts.timeShifts.tellLastEnd(*file, *reception.lastEnd());
  _dropped += reception.dropped();
  return true;
}

void GuideCollector::flush() {
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

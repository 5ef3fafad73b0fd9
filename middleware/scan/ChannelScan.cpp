#include "middleware/scan/ChannelScan.h"

#include <algorithm>
#include <set>
#include <utility>

#include "middleware/api/Failure.h"
#include "middleware/portability/Log.h"
#include "middleware/receivers/ReceptionReport.h"
#include "middleware/scan/BoundedSource.h"
#include "middleware/scan/ScanEvents.h"
#include "middleware/si/MultiplexScanner.h"
#include "middleware/stream/PacketReader.h"

namespace durix {
namespace {

// One frequency: twenty seconds of the fastest multiplex (some 50 Mbit/s), where the slowest table comes every ten; and
// longer than any disk takes for that.
constexpr BoundedSource::Bounds BOUNDS{128ULL << 20, std::chrono::seconds(30)};

// Nothing is missing in the list of services, so that one that is not in it is gone. Services are what the SDT
// describes and the PAT lists: half a PAT may leave any of them out, half an SDT only what the PAT still lists.
bool isWhole(const MultiplexTables& tables) {
  if (tables.hasPat && !tables.isPatComplete) return false;
  if (tables.isSdtComplete) return true;
  if (!tables.hasPat) return false;
  std::set<std::uint16_t> seen;
  if (tables.hasSdt) {
    for (const auto& service : tables.services) seen.insert(service.serviceId);
  } else {
    for (const auto& program : tables.programs) seen.insert(program.number);
  }
  return std::all_of(tables.pat.begin(), tables.pat.end(),
                     [&](const auto& program) { return seen.contains(program.first); });
}

bool isChannel(const ScannedService& service) {
  return service.kind != ServiceKind::Other && !service.name.empty() && service.isVisible;
}

}  // namespace

// The receiver of one scan.
class ChannelScan::Claim : private PacketTaker {
 public:
  Claim(Tuners& tuners, std::stop_source stop)
      : _stop(std::move(stop)), _share(tuners.reserve(ReceiverUse::Scan, *this)) {
    if (_share == nullptr) throw Failure(Code::Busy, "a scan is asked for, but every receiver records");
  }

  std::stop_token stop() const { return _stop.get_token(); }

 private:
  void take(const PacketView&) override {}
  void end(End) override { _stop.request_stop(); }

  std::stop_source _stop;
  std::unique_ptr<TunedShare> _share;  // last: its end is the end of all calls
};

void ChannelScan::start(std::vector<durix_scan_frequency> frequencies) {
  ScanReport report;
  for (const auto& frequency : frequencies) report.frequencies.push_back({.tuning = frequency, .text = {}});
  const std::stop_source stop = begin();
  try {
    auto claim = std::make_unique<Claim>(_parts.tuners, stop);
    const std::scoped_lock lock(_mutex);
    if (_isStopped) throw Failure(Code::NoInstance);
    // A scan that has ended needs nothing more that is guarded here, so that its thread can be joined.
    _thread = std::jthread(
        [this, list = std::move(frequencies), claim = std::move(claim)]() mutable { run(std::move(claim), list); });
    _report = std::move(report);
  } catch (...) {
    const std::scoped_lock lock(_mutex);
    _isRunning = false;
    throw;
  }
}

// From here on it is the one that runs, and can be cancelled.
std::stop_source ChannelScan::begin() {
  const std::scoped_lock lock(_mutex);
  if (_isStopped) throw Failure(Code::NoInstance);
  if (_isRunning) throw Failure(Code::Busy, "a scan is running");
  _isRunning = true;
  _stop = std::stop_source();
  return _stop;
}

bool ChannelScan::cancel() {
  const std::scoped_lock lock(_mutex);
  if (!_isRunning) return false;
  _stop.request_stop();
  return true;
}

bool ChannelScan::isRunning() const {
  const std::scoped_lock lock(_mutex);
  return _isRunning;
}

ScanReport ChannelScan::report() const {
  const std::scoped_lock lock(_mutex);
  return _report;
}

void ChannelScan::stop() {
  std::jthread thread;
  {
    const std::scoped_lock lock(_mutex);
    _isStopped = true;
    _stop.request_stop();
    thread = std::move(_thread);
  }
}  // joins it

bool ChannelScan::isStopped() const {
  const std::scoped_lock lock(_mutex);
  return _isStopped;
}

void ChannelScan::run(std::unique_ptr<Claim> claim, const std::vector<durix_scan_frequency>& frequencies) {
  const std::stop_token stop = claim->stop();
  Progress progress;
  progress.total = frequencies.size();
  progress.yield.receiver = _parts.receivers.type();
  try {
    for (const auto& tuning : frequencies) {
      if (stop.stop_requested() || !_parts.events.waitForRoom(stop)) break;
      scan(stop, tuning, progress);
    }
  } catch (const std::exception& error) {  // no memory, at the worst: what was found until then counts
    logLine(std::string("scan: ") + error.what());
  }
  claim.reset();
  finish(progress);
}

void ChannelScan::scan(const std::stop_token& stop, const durix_scan_frequency& tuning, Progress& progress) {
  FrequencyOutcome outcome{.tuning = tuning, .text = {}};
  std::vector<std::string> names;
  try {
    receive(stop, tuning, progress, outcome, names);
  } catch (const Failure& failure) {
    outcome.result = FrequencyOutcome::Result::Unreadable;
    outcome.text = failure.what();
  }
  if (stop.stop_requested()) outcome.result = FrequencyOutcome::Result::Cancelled;
  const std::size_t index = progress.done++;
  const auto percent = static_cast<std::uint32_t>(progress.done * 100 / progress.total);
  const bool isValid = outcome.result == FrequencyOutcome::Result::Services;
  {
    const std::scoped_lock lock(_mutex);
    _report.frequencies.at(index) = std::move(outcome);
  }
  _parts.events.post(discoverProgress(percent, tuning.frequency, isValid, names));
  progress.names.insert(progress.names.end(), std::make_move_iterator(names.begin()),
                        std::make_move_iterator(names.end()));
}

void ChannelScan::receive(const std::stop_token& stop, const durix_scan_frequency& tuning, Progress& progress,
                          FrequencyOutcome& outcome, std::vector<std::string>& names) {
  ReceptionReport report(_parts.events, tuning);
  auto source = tuning.frequency > 0 ? _parts.receivers.tune(tuning) : nullptr;
  if (source == nullptr) {
    outcome.result = FrequencyOutcome::Result::NoSignal;
    report.tellNoSignal();
    return;
  }
  see(tuning);
  if (protocolOf(_parts.receivers.type()) != Protocol::Dvb) {  // other standards have tables and texts of their own
    outcome.result = FrequencyOutcome::Result::NoTables;
    outcome.text = std::string("the tables of ") + nameOf(_parts.receivers.type()) + " are not read yet";
    return;
  }
  PacketReader reader(std::make_unique<BoundedSource>(std::move(source), BOUNDS, stop));
  const MultiplexTables tables = scanMultiplex(reader, {}, [&] { return stop.stop_requested(); });
  if (reader.hasFailed())
    logLine("scan: frequency " + std::to_string(tuning.frequency) + " could not be read to its end");
  report.tell(tables.reception);
  if (!tables.hasPat && !tables.hasSdt) {
    outcome.result = FrequencyOutcome::Result::NoTables;
    outcome.text = std::to_string(tables.reception.packets) + " packets without a programme or service table";
    return;
  }
  auto services = offeredServices(tables);
  for (const auto& service : services) {
    if (isChannel(service)) names.push_back(service.name);
  }
  outcome.result = FrequencyOutcome::Result::Services;
  outcome.services = static_cast<std::uint32_t>(names.size());
  progress.yield.multiplexes.push_back({.tuning = tuning,
                                        .reception = tables.reception,
                                        .isDescribed = tables.hasSdt,
                                        .isWhole = isWhole(tables) && !stop.stop_requested(),
                                        .services = std::move(services)});
}

// What is received for the first time is on air from now on. The frequency is received all the same when that cannot be
// stored.
void ChannelScan::see(const durix_scan_frequency& tuning) {
  try {
    if (const auto file = _parts.receivers.shiftedFile(tuning)) _parts.shifts.see(*file);
  } catch (const Failure& failure) {
    logLine(std::string("scan: ") + failure.what());
  }
}

void ChannelScan::finish(Progress& progress) {
  std::string error;
  Store::Change change;
  EventRecord finished(DURIX_EVENT_DISCOVER_FINISHED);
  if (isStopped()) return;
  try {
    finished = discoverFinished(progress.names);
    change = _parts.store.takeScan(progress.yield);
  } catch (const std::exception& failure) {
    error = failure.what();
    logLine("scan: the services found could not be stored: " + error);
  }
  // Not running any more before the event is out: its handler may start the next scan. In one step, so that no event of
  // that one comes before it.
  const std::scoped_lock lock(_mutex);
  _report.isFinished = true;
  _report.error = std::move(error);
  _isRunning = false;
  if (change.isNewProvider) _parts.events.post(EventRecord(DURIX_EVENT_PROVIDERS_CHANGED));
  if (change.isNewList) _parts.events.post(EventRecord(DURIX_EVENT_SERVICES_CHANGED));
  _parts.events.post(std::move(finished));
}

}  // namespace durix

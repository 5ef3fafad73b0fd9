#include "middleware/si/MultiplexScanner.h"

#include <algorithm>

#include "middleware/si/TableReaders.h"

namespace durix {

namespace {
constexpr std::uint16_t PAT_PID = 0x0000;
constexpr std::uint16_t NIT_PID = 0x0010;
constexpr std::uint16_t SDT_PID = 0x0011;
constexpr std::uint16_t TIME_PID = 0x0014;
constexpr std::uint16_t FIRST_FREE_PID = 0x0020;

constexpr std::size_t MOST_PROGRAMS = 1024;  // of a multiplex; real ones have some ten
constexpr std::size_t MOST_EARLY_PMTS = 256;
constexpr std::size_t MOST_SUBTABLES = 16;  // of SDT actual or NIT actual; one, unless streams were joined
constexpr std::uint64_t PACKETS_BETWEEN_QUESTIONS = 512;

bool isProgramPid(std::uint16_t pid) {
  return pid >= FIRST_FREE_PID && pid != NULL_PID;
}

template <typename Key>
bool hasComplete(const std::map<Key, SubTable>& tables) {
  return std::ranges::any_of(tables, [](const auto& entry) { return entry.second.isComplete(); });
}

template <typename Key>
SubTable* findOrAdd(std::map<Key, SubTable>& tables, const Key& key, std::size_t most) {
  if (!tables.contains(key) && tables.size() >= most) return nullptr;
  return &tables[key];
}
}  // namespace

MultiplexScanner::MultiplexScanner(const ScanLimits& limits, DefaultTable table)
    : _limits(limits),
      _table(table),
      _demux([this](std::uint16_t pid, const Section& section) { takeSection(pid, section); }) {
  for (const std::uint16_t pid : {PAT_PID, NIT_PID, SDT_PID, TIME_PID}) _demux.select(pid);
}

void MultiplexScanner::feed(const PacketView& packet) {
  _meter.feed(packet);
  if (packet.pid() == NULL_PID) return;
  _clock.feed(packet);
  if (!_patTime) watchForEarlyPmts(packet);
  _demux.feed(packet);
}

void MultiplexScanner::takeSection(std::uint16_t pid, const Section& section) {
  if (!section.isLong() && pid != TIME_PID) return;
  const std::uint8_t table = section.tableId();
  if (pid == PAT_PID && table == PAT_TABLE) takePat(section);
  if (pid == NIT_PID && table == NIT_ACTUAL_TABLE) takeNit(section);
  if (pid == SDT_PID && table == SDT_ACTUAL_TABLE) takeSdt(section);
  if (pid == TIME_PID && (table == TDT_TABLE || table == TOT_TABLE)) takeTime(section);
  if (isProgramPid(pid) && table == PMT_TABLE) takePmt(pid, section);
}

// A PAT without programmes is what multiplexers send while they start again: the last one with programmes counts.
void MultiplexScanner::takePat(const Section& section) {
  if (!_pat.add(section)) return;
  std::map<std::uint16_t, std::uint16_t> programs;
  for (const auto& part : _pat.sections()) {
    for (const auto& [number, pid] : readPat(part)) {
      if (programs.size() < MOST_PROGRAMS) programs.emplace(number, pid);
    }
  }
  if (programs.empty()) return;
  _programPids = std::move(programs);
  _isPatWhole = _pat.isComplete();
  _transportStreamId = section.extension();
  for (const auto& [number, pid] : _programPids) {
    if (isProgramPid(pid)) _demux.select(pid);
  }
  if (_isPatWhole && !_patTime) _patTime = _clock.elapsed();
}

void MultiplexScanner::takePmt(std::uint16_t pid, const Section& section) {
  if (_patTime) {
    const auto program = _programPids.find(section.extension());
    if (program == _programPids.end() || program->second != pid) return;
  }
  const std::size_t most = _patTime ? MOST_PROGRAMS + MOST_EARLY_PMTS : MOST_EARLY_PMTS;
  if (auto* const table = findOrAdd(_pmts, Key{section.extension(), pid}, most)) table->add(section);
}

// Only what this multiplex says of itself ("actual"): what it says of others, their own frequencies say better.
void MultiplexScanner::takeSdt(const Section& section) {
  const auto body = section.body();
  if (body.size() < 2) return;
  const auto originalNetworkId = static_cast<std::uint16_t>(body[0] << 8 | body[1]);
  if (auto* const table = findOrAdd(_sdts, Key{section.extension(), originalNetworkId}, MOST_SUBTABLES)) {
    table->add(section);
  }
}

void MultiplexScanner::takeNit(const Section& section) {
  if (auto* const table = findOrAdd(_nits, section.extension(), MOST_SUBTABLES)) table->add(section);
}

void MultiplexScanner::takeTime(const Section& section) {
  auto time = readTime(section);
  if (!time) return;
  if (time->offsets.empty() && _lastTime) time->offsets = std::move(_lastTime->offsets);
  if (!_firstTime) _firstTime = time;
  _lastTime = std::move(time);
}

// PMTs may stand before the first PAT, in a short recording for the only time. Until there is a PAT, every PID on which
// such a section seems to begin is looked at.
void MultiplexScanner::watchForEarlyPmts(const PacketView& packet) {
  if (!packet.startsUnit() || packet.isScrambled() || !isProgramPid(packet.pid())) return;
  if (_demux.isSelected(packet.pid()) || _earlyPids >= MOST_EARLY_PMTS) return;
  const auto payload = packet.payload();
  if (payload.empty() || payload.size() < payload[0] + 3U) return;
  const auto section = payload.subspan(1U + payload[0]);
  if (section[0] != PMT_TABLE || (section[1] & 0xC0) != 0x80) return;
  ++_earlyPids;
  _demux.select(packet.pid());
}

bool MultiplexScanner::hasAllPmts() const {
  return std::ranges::all_of(_programPids, [this](const auto& program) { return _pmts.contains(program); });
}

bool MultiplexScanner::isDone() const {
  if (_meter.reception().packets >= _limits.packets) return true;
  const auto now = _clock.elapsed();
  if (!_patTime) return now >= _limits.pat + _limits.sdt;
  return (hasAllPmts() || now >= *_patTime + _limits.pmt) && (hasComplete(_sdts) || now >= _limits.sdt) &&
         (hasComplete(_nits) || now >= _limits.nit);
}

MultiplexTables MultiplexScanner::result() const {
  MultiplexTables tables;
  tables.hasPat = !_programPids.empty();
  tables.hasSdt = !_sdts.empty();
  tables.hasNit = !_nits.empty();
  tables.isPatComplete = _isPatWhole;
  tables.transportStreamId = tables.hasPat || _sdts.empty() ? _transportStreamId : _sdts.begin()->first.first;
  tables.pat = _programPids;
  addPrograms(tables);
  addServices(tables);
  for (const auto& [id, table] : _nits) tables.networks.push_back(readNit(table.sections(), _table));
  tables.firstTime = _firstTime;
  tables.lastTime = _lastTime;
  tables.reception = _meter.reception();
  tables.reception.damagedSections = _demux.damagedSections();
  return tables;
}

void MultiplexScanner::addPrograms(MultiplexTables& tables) const {
  for (const auto& [key, table] : _pmts) {
    const auto& [number, pid] = key;
    const auto listed = _programPids.find(number);
    const bool isListed = listed != _programPids.end() && listed->second == pid;
    const auto sections = table.sections();
    if ((isListed || !tables.hasPat) && !sections.empty()) tables.programs.push_back(readPmt(sections.front(), pid));
  }
}

// The SDT of this transport stream; any, where none has the PAT's number, and then nobody knows what is missing in it.
void MultiplexScanner::addServices(MultiplexTables& tables) const {
  const auto isOwn = [&](const auto& entry) { return entry.first.first == tables.transportStreamId; };
  const bool hasOwn = std::ranges::any_of(_sdts, isOwn);
  tables.isSdtComplete = hasOwn && std::ranges::all_of(_sdts, [&](const auto& entry) {
                           return !isOwn(entry) || entry.second.isComplete();
                         });
  for (const auto& entry : _sdts) {
    if (hasOwn && !isOwn(entry)) continue;
    for (auto& service : readSdt(entry.second.sections(), _table)) tables.services.push_back(std::move(service));
  }
}

MultiplexTables scanMultiplex(PacketReader& reader, const ScanLimits& limits,
                              const std::function<bool()>& isCancelled) {
  MultiplexScanner scanner(limits);
  std::uint64_t count = 0;
  while (const auto packet = reader.next()) {
    scanner.feed(*packet);
    if (++count % PACKETS_BETWEEN_QUESTIONS != 0) continue;
    if (scanner.isDone() || (isCancelled && isCancelled())) break;
  }
  auto tables = scanner.result();
  tables.reception.damagedPackets = reader.statistics().damagedPackets;
  return tables;
}

}  // namespace durix

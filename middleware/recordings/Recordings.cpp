#include "middleware/recordings/Recordings.h"

#include <algorithm>
#include <utility>

#include "middleware/portability/Files.h"
#include "middleware/recordings/RecordingComponents.h"
#include "middleware/store/RecordingTables.h"
#include "middleware/store/Store.h"

namespace durix {
namespace {

constexpr std::uint32_t OF_RECORDING = 0x80000000;  // in a feed's third word, beside the recording's identifier

template <typename Map>
auto find(const Map& map, std::uint32_t id) -> std::optional<typename Map::mapped_type> {
  const auto found = map.find(id);
  return found == map.end() ? std::nullopt : std::optional(found->second);
}

bool isKind(const durix_esg_object& object, ObjectKind kind) {
  return object.kind == static_cast<std::uint32_t>(kind);
}

}  // namespace

Recordings::Recordings(Store& store) : _store(store) {
  _store.use([this](Database& database) {
    for (auto& timer : readTimers(database)) _timers.emplace(timer.id, std::move(timer));
    for (auto& recording : readRecordings(database)) _recordings.emplace(recording.id, std::move(recording));
  });
}

std::vector<Timer> Recordings::timers() const {
  const std::scoped_lock lock(_mutex);
  std::vector<Timer> timers;
  for (const auto& [id, timer] : _timers) timers.push_back(timer);
  return timers;
}

std::optional<Timer> Recordings::timer(std::uint32_t id) const {
  const std::scoped_lock lock(_mutex);
  return find(_timers, id);
}

std::vector<Recording> Recordings::recordings() const {
  const std::scoped_lock lock(_mutex);
  std::vector<Recording> recordings;
  for (const auto& [id, recording] : _recordings) {
    if (recording.state != Recording::State::Deleting && !isTimeShift(id)) recordings.push_back(recording);
  }
  return recordings;
}

std::vector<Recording> Recordings::unfinished() const {
  const std::scoped_lock lock(_mutex);
  std::vector<Recording> recordings;
  for (const auto& [id, recording] : _recordings) {
    if (recording.state != Recording::State::Finished && !isTimeShift(id)) recordings.push_back(recording);
  }
  return recordings;
}

std::optional<Recording> Recordings::recording(std::uint32_t id) const {
  const std::scoped_lock lock(_mutex);
  return find(_recordings, id);
}

bool Recordings::isTimeShift(std::uint32_t id) const {
  return _timers.contains(id);  // a recording has another identifier than its timer
}

bool Recordings::isWritten(std::uint32_t id) const {
  const std::scoped_lock lock(_mutex);
  return _written.contains(id);
}

durix_esg_object* Recordings::record(ObjectKind kind, std::uint32_t id) {
  const std::scoped_lock lock(_mutex);
  auto& record = _records[id];
  if (record == nullptr) record = std::make_unique<durix_esg_object>();
  *record = {static_cast<std::uint32_t>(kind), id, 0};
  return record.get();
}

std::vector<Feed> Recordings::feeds(std::uint32_t id) {
  std::filesystem::path file;
  {
    const std::scoped_lock lock(_mutex);
    if (const auto known = find(_feeds, id)) return *known;
    const auto recording = find(_recordings, id);
    if (!recording) return {};
    file = recording->file;
  }
  auto feeds = recordedFeeds(componentsOf(resolved(file)));
  if (!feeds.empty()) setFeeds(id, feeds);
  return feeds;
}

std::uint32_t Recordings::add(Timer timer) {
  const std::scoped_lock changing(_changing);
  _store.use([&](Database& database) {
    Transaction transaction(database);
    timer.id = nextRecorderId(database);
    if (timer.type == TimerType::Recording) writeTimer(database, timer);
    transaction.commit();
  });
  const std::scoped_lock lock(_mutex);
  return _timers.emplace(timer.id, std::move(timer)).first->first;
}

void Recordings::changeTimer(std::uint32_t id, const std::function<void(Timer&)>& change) {
  const std::scoped_lock changing(_changing);
  auto timer = this->timer(id);
  if (!timer) return;
  change(*timer);
  if (timer->type == TimerType::Recording) {
    _store.use([&](Database& database) { writeTimer(database, *timer); });
  }
  const std::scoped_lock lock(_mutex);
  _timers[id] = std::move(*timer);
}

void Recordings::removeTimer(std::uint32_t id) {
  const std::scoped_lock changing(_changing);
  _store.use([&](Database& database) { dropTimer(database, id); });
  const std::scoped_lock lock(_mutex);
  _timers.erase(id);
}

std::uint32_t Recordings::begin(std::uint32_t timer, Recording recording, const Naming& naming) {
  const std::scoped_lock changing(_changing);
  auto writer = this->timer(timer);
  if (writer && writer->type == TimerType::TimeShift) {
    recording.id = timer;
    recording.file = naming(timer);
  } else {
    _store.use([&](Database& database) {
      Transaction transaction(database);
      recording.id = nextRecorderId(database);
      recording.file = naming(recording.id);
      writeRecording(database, recording);
      if (writer) {
        writer->recording = recording.id;
        writeTimer(database, *writer);
      }
      transaction.commit();
    });
  }
  const std::scoped_lock lock(_mutex);
  if (writer) _timers[timer].recording = recording.id;
  return _recordings.emplace(recording.id, std::move(recording)).first->first;
}

void Recordings::changeRecording(std::uint32_t id, const std::function<void(Recording&)>& change) {
  const std::scoped_lock changing(_changing);
  auto recording = this->recording(id);
  if (!recording) return;
  change(*recording);
  if (!timer(id)) {  // else it is what a time shift writes
    _store.use([&](Database& database) { writeRecording(database, *recording); });
  }
  const std::scoped_lock lock(_mutex);
  _recordings[id] = std::move(*recording);
}

void Recordings::removeRecording(std::uint32_t id) {
  const std::scoped_lock changing(_changing);
  _store.use([&](Database& database) { dropRecording(database, id); });
  const std::scoped_lock lock(_mutex);
  _recordings.erase(id);
  _feeds.erase(id);
  _beginnings.erase(id);
}

void Recordings::setWritten(std::uint32_t id, bool isWritten) {
  const std::scoped_lock lock(_mutex);
  if (isWritten) {
    _written.insert(id);
  } else {
    _written.erase(id);
  }
}

void Recordings::setFeeds(std::uint32_t id, std::vector<Feed> feeds) {
  const std::scoped_lock lock(_mutex);
  _feeds[id] = std::move(feeds);
}

void Recordings::setBeginning(std::uint32_t id, std::uint64_t offset) {
  const std::scoped_lock lock(_mutex);
  _beginnings[id] = offset;
}

std::uint64_t Recordings::beginning(std::uint32_t id) const {
  const std::scoped_lock lock(_mutex);
  return find(_beginnings, id).value_or(0);
}

std::optional<std::uint32_t> recordingOf(const durix_esg_object& object) {
  if (isKind(object, ObjectKind::Feed)) {
    if ((object.opaque & OF_RECORDING) == 0) return std::nullopt;
    return object.opaque & ~OF_RECORDING;
  }
  const bool isStored = isKind(object, ObjectKind::Recording) || isKind(object, ObjectKind::Timer);
  if (!isStored || object.opaque != 0) return std::nullopt;
  return object.id;
}

std::vector<durix_esg_object> feedRecords(std::uint32_t recording, const std::vector<Feed>& feeds) {
  std::vector<durix_esg_object> records;
  for (std::uint32_t place = 1; place <= feeds.size(); ++place) {
    records.push_back({static_cast<std::uint32_t>(ObjectKind::Feed), place, OF_RECORDING | recording});
  }
  return records;
}

std::optional<Feed> recordedFeed(Recordings& recordings, const durix_esg_object& object) {
  const auto id = recordingOf(object);
  if (!id || !isKind(object, ObjectKind::Feed)) return std::nullopt;
  const auto feeds = recordings.feeds(*id);
  if (object.id == 0 || object.id > feeds.size()) return std::nullopt;
  return feeds[object.id - 1];
}

}  // namespace durix

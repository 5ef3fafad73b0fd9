#include "middleware/store/TimeShifts.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "middleware/portability/Clock.h"

namespace durix {

// `size` and `modified` are what the file was when its first moment was read; the end of the last event is the file's.
const char* const TIME_SHIFT_SCHEMA = R"(
CREATE TABLE time_shift(
  file TEXT PRIMARY KEY, size INTEGER NOT NULL, modified INTEGER NOT NULL,
  on_air INTEGER NOT NULL, first_moment INTEGER, last_end INTEGER) STRICT;
)";

namespace {

using Moment = std::optional<std::int64_t>;

struct Look {
  std::int64_t size = 0;
  std::int64_t modified = 0;
  bool operator==(const Look&) const = default;
};

Look lookAt(const std::filesystem::path& file) {
  std::error_code error;
  const auto size = std::filesystem::file_size(file, error);
  const auto modified = std::filesystem::last_write_time(file, error);
  if (error) return {};
  return {static_cast<std::int64_t>(size), modified.time_since_epoch().count()};
}

std::string keyOf(const std::filesystem::path& file) {
  std::error_code error;
  const auto whole = std::filesystem::weakly_canonical(file, error);
  return error ? file.string() : whole.string();
}

}  // namespace

struct TimeShifts::Row {
  Look look;
  std::int64_t onAir = 0;  // since when
  Moment firstMoment, lastEnd;
  bool operator==(const Row&) const = default;
};

TimeShifts::TimeShifts(Store& store, FirstMoment firstMoment) : _store(store), _firstMoment(std::move(firstMoment)) {}

void TimeShifts::see(const std::filesystem::path& file) {
  const std::scoped_lock lock(_mutex);
  if (!find(file)) keep(file, {.look = {}, .onAir = clock::now(), .firstMoment = {}, .lastEnd = {}});
}

std::int64_t TimeShifts::of(const std::filesystem::path& file) {
  const std::scoped_lock lock(_mutex);
  const auto known = find(file);
  Row row = known.value_or(Row{.look = {}, .onAir = clock::now(), .firstMoment = {}, .lastEnd = {}});
  compare(file, row);
  if (row.firstMoment && row.lastEnd) {
    // Events that ended before the file began are nothing to wait for.
    const bool isOver = clock::now() >= row.onAir + (*row.lastEnd - *row.firstMoment);
    if (isOver && *row.lastEnd > *row.firstMoment) row.onAir = clock::now();
  }
  if (known != row) keep(file, row);
  return row.firstMoment ? row.onAir - *row.firstMoment : 0;
}

void TimeShifts::tellLastEnd(const std::filesystem::path& file, std::int64_t end) {
  const std::scoped_lock lock(_mutex);
  auto row = find(file);
  if (!row || row->lastEnd >= end) return;
  row->lastEnd = end;
  keep(file, *row);
}

// Brings the row up to what the file is now. Its first moment is read once, and again when the file has changed.
void TimeShifts::compare(const std::filesystem::path& file, Row& row) const {
  const Look look = lookAt(file);
  const bool isAway = look == Look{};  // as on a disk that is not mounted; it comes back as it was
  if (row.look == look || isAway) return;
  const auto firstMoment = _firstMoment(file);
  if (row.firstMoment && firstMoment != row.firstMoment) {  // another recording has taken its place
    row.onAir = clock::now();
  }
  row.lastEnd.reset();  // it is told anew; an earlier one counts then, too
  row.firstMoment = firstMoment;
  row.look = look;
}

std::optional<TimeShifts::Row> TimeShifts::find(const std::filesystem::path& file) {
  return _store.use([&](Database& database) -> std::optional<Row> {
    Statement row(database, "SELECT size, modified, on_air, first_moment, last_end FROM time_shift WHERE file = ?");
    if (!row.bind(keyOf(file)).step()) return std::nullopt;
    const auto moment = [&](int column) { return row.isNull(column) ? Moment() : row.integer(column); };
    return Row{.look = {row.integer(0), row.integer(1)},
               .onAir = row.integer(2),
               .firstMoment = moment(3),
               .lastEnd = moment(4)};
  });
}

void TimeShifts::keep(const std::filesystem::path& file, const Row& row) {
  _store.use([&](Database& database) {
    Statement change(database,
                     "INSERT OR REPLACE INTO time_shift(file, size, modified, on_air, first_moment, last_end) "
                     "VALUES(?, ?, ?, ?, ?, ?)");
    change.bind(keyOf(file)).bind(row.look.size).bind(row.look.modified).bind(row.onAir);
    change.bind(row.firstMoment).bind(row.lastEnd).run();
  });
}

}  // namespace durix

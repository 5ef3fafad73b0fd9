#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>

#include "middleware/store/Store.h"

namespace durix {

/// The table of the time shifts.
extern const char* const TIME_SHIFT_SCHEMA;

/// When the recorded streams of time=now are on air: each file has one shift, so that its first moment is when it was
/// first seen. It stays, whoever asks and whichever process, until the last event of the file is over; then the file is
/// on air anew, as is another recording under the same name. Moments are seconds since the epoch. Owned by the
/// instance; any thread. Operations throw Failure as the store does.
class TimeShifts {
 public:
  /// The first moment that a file tells; nothing when it tells none.
  using FirstMoment = std::function<std::optional<std::int64_t>(const std::filesystem::path& file)>;

  /// The store outlives this.
  TimeShifts(Store& store, FirstMoment firstMoment);
  TimeShifts(const TimeShifts&) = delete;
  TimeShifts& operator=(const TimeShifts&) = delete;

  /// The file is on air: from now on, if it was not before.
  void see(const std::filesystem::path& file);

  /// Seconds to be added to the moments in a file; 0 when it tells none. Sees the file.
  std::int64_t of(const std::filesystem::path& file);

  /// The end of the last event in a file, as the file tells it. An earlier one than was told before is ignored; a file
  /// that was never seen, too.
  void tellLastEnd(const std::filesystem::path& file, std::int64_t end);

 private:
  struct Row;

  std::optional<Row> find(const std::filesystem::path& file);
  void keep(const std::filesystem::path& file, const Row& row);
  void compare(const std::filesystem::path& file, Row& row) const;

  Store& _store;
  const FirstMoment _firstMoment;
  std::mutex _mutex;  // one file is looked at at a time; the store is used under it
};

}  // namespace durix

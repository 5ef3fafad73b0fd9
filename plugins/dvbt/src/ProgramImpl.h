#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "durix/durix.h"
#include "velmora/Program.h"

/// One programme of the guide, read from its middleware event. Each value is read when it is first asked for and kept.
/// Its service owns it. It has no lock: the guide updater reads every value before other threads see the programme.
class ProgramImpl : public Program {
 public:
  ProgramImpl(durix_esg_object object, Service* parent, Plugin* plugin);
  ~ProgramImpl() override;

  std::string getTitle() override;
  std::string getDescription() override;
  ParentalRating* getParentalRating() override;  // owned by the programme; a programme without one is rated 0
  std::vector<Tag*> getGenres() override;        // always empty
  StreamType getStreamType() override;
  std::string getStartTime() override;  // the middleware's text and "Z"
  std::int32_t getStartTimeT() override;
  std::string getEndTime() override;
  std::int32_t getEndTimeT() override;

  /// `getEndTime` without the copy.
  const std::string& endTimeText();

  /// Forgets every value that was read.
  void reset();

  Service* getParent() const { return _service; }

  /// The programme after this one in its service; null after the last. Written under the service's programme mutex.
  ProgramImpl* getNextProgram() const { return _next; }
  void setNextProgram(ProgramImpl* next) { _next = next; }

  std::vector<durix_esg_object> getFeeds();  // empty when the middleware gives none

  /// Local time of `t`, seconds since the epoch, as YYYY-MM-DDTHH:MM:SS; empty when there is no such time.
  static std::string time_t_to_time_str(long t);

 private:
  const std::string& readOnce(std::string* cache, durix_attribute attribute);

  const durix_esg_object _object;

  // Values that have been read, or the placeholder.
  std::string _startTime;
  std::string _endTime;
  std::atomic<std::int32_t> _startTimeT;  // seconds since the epoch
  std::atomic<std::int32_t> _endTimeT;
  std::string _eventTitle;  // the host's own title is another one
  std::string _eventDescription;

  std::atomic<ProgramImpl*> _next = nullptr;  // not owned; the notifier reads it without the service's mutex
};

/// True when `a` starts before `b`.
bool sortProgramsByTime(Program* a, Program* b);

/// True when `a` has the smaller content identifier (unsigned).
bool programComparation(Program* a, Program* b);

/// Sorts as `sortProgramsByTime` says. Each start time is read once; programmes of one start time keep their order.
template <typename AnyProgram>
void sortByStartTime(std::vector<AnyProgram*>* programs) {
  std::vector<std::pair<std::int32_t, AnyProgram*>> timed;
  timed.reserve(programs->size());
  for (AnyProgram* const program : *programs) timed.emplace_back(program->getStartTimeT(), program);
  std::stable_sort(timed.begin(), timed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::transform(timed.begin(), timed.end(), programs->begin(), [](const auto& entry) { return entry.second; });
}

#pragma once

#include <atomic>
#include <cstdint>
#include <string>
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

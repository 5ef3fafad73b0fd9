#include "ProgramImpl.h"

#include <cstdio>

#include "guide/EsgAttributes.h"
#include "support/Log.h"
#include "support/MwMemory.h"
#include "support/Text.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/ProgramImpl"};

// What stands where a value has not been read yet; the description shares the title's.
constexpr const char* UNKNOWN_TITLE = "unknown_program_title";
constexpr const char* UNKNOWN_TIME = "unknown_program_time";
constexpr std::int32_t UNKNOWN_TIME_T = -1;

}  // namespace

ProgramImpl::ProgramImpl(durix_esg_object object, Service* parent, Plugin* plugin)
    : Program(object.id, plugin), _object(object) {
  reset();
  _service = parent;
}

ProgramImpl::~ProgramImpl() {
  delete _parentalRating;
}

void ProgramImpl::reset() {
  _eventTitle = UNKNOWN_TITLE;
  _eventDescription = UNKNOWN_TITLE;
  _startTime = UNKNOWN_TIME;
  _endTime = UNKNOWN_TIME;
  _startTimeT = UNKNOWN_TIME_T;
  _endTimeT = UNKNOWN_TIME_T;
  delete _parentalRating;
  _parentalRating = nullptr;
}

std::string ProgramImpl::getTitle() {
  return readOnce(&_eventTitle, DURIX_ATTRIBUTE_NAME);
}

std::string ProgramImpl::getDescription() {
  return readOnce(&_eventDescription, DURIX_ATTRIBUTE_DESCRIPTION);
}

const std::string& ProgramImpl::readOnce(std::string* cache, durix_attribute attribute) {
  if (*cache != UNKNOWN_TITLE) return *cache;
  std::string text = getStringAttribute(&_object, attribute);
  // A broadcast title may be the placeholder itself; without a write, threads that read it again do not disturb others.
  if (text != UNKNOWN_TITLE) *cache = std::move(text);
  return *cache;
}

std::string ProgramImpl::getStartTime() {
  if (_startTime == UNKNOWN_TIME) _startTime = getStringAttribute(&_object, DURIX_ATTRIBUTE_START_TIME_STR) + "Z";
  return _startTime;
}

const std::string& ProgramImpl::endTimeText() {
  if (_endTime == UNKNOWN_TIME) _endTime = getStringAttribute(&_object, DURIX_ATTRIBUTE_END_TIME_STR) + "Z";
  return _endTime;
}

std::string ProgramImpl::getEndTime() {
  return endTimeText();
}

std::int32_t ProgramImpl::getStartTimeT() {
  if (_startTimeT == UNKNOWN_TIME_T) _startTimeT = getIntAttribute(&_object, DURIX_ATTRIBUTE_START_TIME);
  return _startTimeT;
}

std::int32_t ProgramImpl::getEndTimeT() {
  if (_endTimeT == UNKNOWN_TIME_T) _endTimeT = getIntAttribute(&_object, DURIX_ATTRIBUTE_END_TIME);
  return _endTimeT;
}

ParentalRating* ProgramImpl::getParentalRating() {
  if (_parentalRating != nullptr) return _parentalRating;
  const std::string text = getStringAttribute(&_object, DURIX_ATTRIBUTE_PARENTAL_RATING);
  if (text != "0") BC_INFO(LOG, "getParentalRating = %s", text.c_str());
  _parentalRating = new ParentalRating(ParentalRating::RATING_SYSTEM_AGE, decimalValue(text));
  return _parentalRating;
}

std::vector<Tag*> ProgramImpl::getGenres() {
  // The text is read but no tag is made of it: how genres map to the host's tags is not settled.
  static_cast<void>(getStringAttribute(&_object, DURIX_ATTRIBUTE_GENRE));
  return {};
}

AvContent::StreamType ProgramImpl::getStreamType() {
  return _streamType;
}

std::vector<durix_esg_object> ProgramImpl::getFeeds() {
  EsgArray feeds;
  if (durix_esg_object_feeds_get(&_object, feeds.items(), feeds.count()) != 0) return {};
  BC_INFO(LOG, "durix_esg_object_feeds_get numFound = %u", *feeds.count());
  return {feeds.begin(), feeds.end()};
}

std::string ProgramImpl::time_t_to_time_str(long t) {
  ostiv_tm local{};
  if (ostiv_localtime_s(t, &local) != 0) return {};
  char text[80];  // six numbers of any size
  const int length = std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", local.year + 1900,
                                   local.month + 1, local.day, local.hour, local.minute, local.second);
  return {text, static_cast<std::size_t>(length)};
}

bool sortProgramsByTime(Program* a, Program* b) {
  return a->getStartTimeT() < b->getStartTimeT();
}

bool programComparation(Program* a, Program* b) {
  return a->getId() < b->getId();
}

#include "ServiceImpl.h"

#include <algorithm>
#include <cstdint>

#include "guide/EsgAttributes.h"
#include "support/Log.h"
#include "support/MwMemory.h"
#include "support/Text.h"
#include "velmora/Plugin.h"
#include "velmora/Velmora.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/ServiceImpl"};

// Two values are kept in the host's property store.
constexpr const char* NAME_PROPERTY = "title";
constexpr const char* NUMBER_PROPERTY = "channelnumber";

constexpr const char* UNKNOWN_NAME = "unknown_service_name";
constexpr const char* UNKNOWN_PROGRAM = "unknown_program_title";
constexpr int UNKNOWN = -1;  // a quality or number that has not been read; a rating that the service does not have

constexpr int LOGO = 0;  // the only type of resource that a service has

}  // namespace

ServiceImpl::ServiceImpl(durix_esg_object object, Plugin* plugin, ServiceHost* host)
    : Service(object.id, plugin), _object(object), _host(host) {
  reset();
}

ServiceImpl::~ServiceImpl() {
  const Lock lock(_programMutex);
  for (const ProgramImpl* const program : _programList) delete program;
  _programList.clear();
  delete _parentalRating;
}

void ServiceImpl::reset() {
  setIntProperty(NUMBER_PROPERTY, UNKNOWN);
  propertyAdd(NAME_PROPERTY, UNKNOWN_NAME);
  _quality = UNKNOWN;
  const Lock lock(_programMutex);
  delete _parentalRating;
  _parentalRating = nullptr;
}

bool ServiceImpl::hasResource(int type) {
  return type == LOGO && !getLogoUri().empty();
}

Resource* ServiceImpl::getResource(int type) {
  const std::string uri = getLogoUri();
  return type == LOGO ? VmResourceLoader::getResource(uri, LOGO) : nullptr;
}

std::string ServiceImpl::getTitle() {
  return getName();
}

std::string ServiceImpl::getName() {
  std::string name = propertyGet(NAME_PROPERTY, "");
  if (!name.empty() && name != UNKNOWN_NAME) return name;
  propertyAdd(NAME_PROPERTY, getStringAttribute(&_object, DURIX_ATTRIBUTE_NAME));
  return propertyGet(NAME_PROPERTY, "");
}

int ServiceImpl::getChannelNumber() {
  // A service without a number has 0 and asks again each time.
  if (getIntProperty(NUMBER_PROPERTY) < 1) {
    setIntProperty(NUMBER_PROPERTY, getIntAttribute(&_object, DURIX_ATTRIBUTE_CHANNEL_NUMBER));
  }
  return getIntProperty(NUMBER_PROPERTY);
}

int ServiceImpl::getServiceId() {
  // The text is read, but how it maps to a number is not settled.
  static_cast<void>(getStringAttribute(&_object, DURIX_ATTRIBUTE_SERVICE_ID));
  return 0;
}

int ServiceImpl::getOriginalNetwork() {
  return getIntAttribute(&_object, DURIX_ATTRIBUTE_ORIGINAL_NETWORK_ID);
}

int ServiceImpl::getSourceID() {
  return getIntAttribute(&_object, DURIX_ATTRIBUTE_SOURCE_ID);
}

int ServiceImpl::getQuality() {
  if (_quality == UNKNOWN) _quality = getIntAttribute(&_object, DURIX_ATTRIBUTE_QUALITY);
  return _quality;
}

AvContent::StreamType ServiceImpl::getStreamType() {
  const std::vector<int> types = getIntArrayAttribute(&_object, DURIX_ATTRIBUTE_STREAM_TYPES);
  if (types.empty()) return STREAM_UNKNOWN;
  switch (types.front()) {
    case STREAM_UNKNOWN:
    case STREAM_TV:
    case STREAM_RADIO:
      return static_cast<StreamType>(types.front());
    default:
      BC_WARN(LOG, "Unkown Stream type");  // "Unkown" is how the contract spells it
      return STREAM_UNKNOWN;
  }
}

std::string ServiceImpl::getProtocolType() {
  return _host == nullptr ? std::string() : _host->getDurixProperty(DURIX_PROPERTY_PROTOCOL_TYPE);
}

bool ServiceImpl::isProtected() {
  return getBoolAttribute(&_object, DURIX_ATTRIBUTE_PROTECTED);
}

bool ServiceImpl::isPlayable() {
  return AvContent::isPlayable();
}

std::string ServiceImpl::getLogoUri() {
  return getStringAttribute(&_object, DURIX_ATTRIBUTE_LOGO_URI);
}

std::vector<durix_esg_object> ServiceImpl::getFeeds() {
  EsgArray feeds;
  if (durix_esg_object_feeds_get(&_object, feeds.items(), feeds.count()) != 0) return {};
  return {feeds.begin(), feeds.end()};
}

std::string ServiceImpl::getUri() {
  EsgArray feeds;
  if (durix_esg_object_feeds_get(&_object, feeds.items(), feeds.count()) != 0 || feeds.size() == 0) return {};
  return getStringAttribute(feeds.begin(), DURIX_ATTRIBUTE_URI);
}

void ServiceImpl::addProgram(ProgramImpl* program) {
  const Lock lock(_programMutex);
  _unsorted = true;
  _programList.push_back(program);
}

std::vector<Program*> ServiceImpl::getProgramList() {
  const Lock lock(_programMutex);
  return {_programList.begin(), _programList.end()};
}

std::vector<Program*> ServiceImpl::getPrograms(bool all) {
  const Lock lock(_programMutex);
  if (!_programList.empty()) sortPrograms();
  return all ? getProgramList() : getCurrentPrograms();
}

std::vector<Program*> ServiceImpl::getCurrentPrograms() {
  const Lock lock(_programMutex);
  const std::string now = Velmora::getInstance()->getTime(true);
  std::vector<Program*> current;
  // Both are texts of one width, so that bytes compare as times; one that could not be read is "Z" and never ends.
  for (ProgramImpl* const program : _programList) {
    if (program->endTimeText() > now) current.push_back(program);
  }
  return current;
}

Program* ServiceImpl::getCurrentProgram() {
  const Lock lock(_programMutex);
  return findCurrent();
}

Program* ServiceImpl::getNextProgram() {
  const Lock lock(_programMutex);
  if (const ProgramImpl* const current = findCurrent()) return current->getNextProgram();
  if (_programList.empty()) return nullptr;
  const std::int64_t now = Velmora::getInstance()->getTimeI(true);
  ProgramImpl* program = _programList.front();
  while (program != nullptr && program->getStartTimeT() <= now) program = program->getNextProgram();
  return program;
}

ProgramImpl* ServiceImpl::findCurrent() {
  if (_programList.empty()) return nullptr;
  sortPrograms();
  const std::int64_t now = Velmora::getInstance()->getTimeI(true);
  // Not an upper bound: which programme is found at a shared boundary, or among overlapping ones, is what these probes
  // meet.
  int low = 0;
  int high = static_cast<int>(_programList.size()) - 1;
  while (low <= high) {
    const int middle = (low + high) / 2;
    ProgramImpl* const program = _programList[static_cast<std::size_t>(middle)];
    const std::int32_t start = program->getStartTimeT();
    const std::int32_t end = program->getEndTimeT();
    if (start < now && end < now) {
      low = middle + 1;
    } else if (start <= now || end <= now) {
      return program;
    } else {
      high = middle - 1;
    }
  }
  return nullptr;
}

void ServiceImpl::update() {
  const Lock lock(_programMutex);
  sortPrograms();
  ProgramImpl* previous = nullptr;
  for (ProgramImpl* const program : _programList) {
    if (previous != nullptr) previous->setNextProgram(program);
    previous = program;
  }
  if (previous != nullptr) previous->setNextProgram(nullptr);
}

void ServiceImpl::sortPrograms() {
  if (!_unsorted) return;
  sortByStartTime(&_programList);
  BC_INFO(LOG, "ServiceImpl programs sort END, programList.size = %d", static_cast<int>(_programList.size()));
  _unsorted = false;
}

bool ServiceImpl::containsProgram(const std::vector<Program*>& programs, durix_esg_object object) {
  return std::any_of(programs.begin(), programs.end(),
                     [&](const Program* program) { return program->getId() == object.id; });
}

void ServiceImpl::flush() {
  const Lock lock(_programMutex);
  // The host's own texts: what a programme has read of its event stays.
  for (ProgramImpl* const program : _programList) {
    program->setTitle(UNKNOWN_PROGRAM);
    program->setDescription(UNKNOWN_PROGRAM);
  }
}

ParentalRating* ServiceImpl::getParentalRating() {
  // Held to the end, so that two threads never make two ratings of one service or programme.
  const Lock lock(_programMutex);
  ParentalRating* const own = ownRating();
  Program* const program = getCurrentProgram();
  BC_INFO(LOG, "Program");
  if (program == nullptr) return own;

  ParentalRating* const programs = program->getParentalRating();
  const int programLimit = programs->getValue();
  BC_INFO(LOG, "Program parental control = %d", programLimit);
  const int ownLimit = own->getValue();
  if (programLimit >= ownLimit && ownLimit != UNKNOWN) {
    BC_INFO(LOG, "returning Service parental control, limit = %d", ownLimit);
    return own;
  }
  BC_INFO(LOG, "returning Program parental control, limit = %d", programLimit);
  return programs;
}

ParentalRating* ServiceImpl::ownRating() {
  if (_parentalRating != nullptr) return _parentalRating;
  const std::string text = getStringAttribute(&_object, DURIX_ATTRIBUTE_PARENTAL_RATING);
  int value = UNKNOWN;
  if (text.empty()) {
    BC_INFO(LOG, "serviceParentalValue = -1");
  } else {
    value = decimalValue(text);
    BC_INFO(LOG, "serviceParentalValue = % d", value);  // the blank flag is the contract's
  }
  _parentalRating = new ParentalRating(ParentalRating::RATING_SYSTEM_AGE, value);
  return _parentalRating;
}

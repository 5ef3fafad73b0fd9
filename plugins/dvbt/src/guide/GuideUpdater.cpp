#include "guide/GuideUpdater.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <unordered_map>

#include "ProgramImpl.h"
#include "ServiceImpl.h"
#include "guide/ServiceList.h"
#include "support/Clock.h"
#include "support/Log.h"
#include "support/MwMemory.h"
#include "velmora/BroadcastPlugin.h"
#include "velmora/Velmora.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

constexpr std::int64_t TITLE_SPAN = 86400;  // seconds

int asHostTime(std::int64_t time) {
  return static_cast<int>(
      std::clamp<std::int64_t>(time, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

std::string lowerCase(const std::string& text) {
  const MwText lower(ostiv_utf8_to_lower(text.c_str()));
  return lower.str();
}

bool containsOne(const std::string& text, const std::vector<std::string>& words) {
  return std::any_of(words.begin(), words.end(),
                     [&](const std::string& word) { return text.find(word) != std::string::npos; });
}

/// Fills every cache on this thread, so that the threads that see the programme later only read.
void readAll(Program& program) {
  program.getTitle();
  program.getDescription();
  program.getStartTime();
  program.getStartTimeT();
  program.getEndTime();
  program.getEndTimeT();
  program.getParentalRating();
}

}  // namespace

ProgramUpdater::~ProgramUpdater() {
  _enabled = false;
  join();
}

void ProgramUpdater::startPass() {
  if (_running || !_enabled || _claimed.exchange(true)) return;
  try {
    start();
  } catch (const std::exception& failure) {
    _claimed = false;
    BC_ERR(LOG, "ProgramUpdater could not start: %s", failure.what());
  }
}

void ProgramUpdater::stopAndWait() {
  setEnabled(false);
  join();            // always: a thread that was just started has not set the running flag yet
  _claimed = false;  // a claim whose thread could not be started ends here
}

void ProgramUpdater::run(void* /*argument*/) {
  if (_running || !_enabled || _host.isClosing()) {
    _claimed = false;
    return;
  }
  _running = true;
  try {
    _guide.updatePrograms();
  } catch (const std::exception& failure) {
    BC_ERR(LOG, "ProgramUpdater stopped: %s", failure.what());
  }
  _claimed = false;  // first, so that a start that no longer sees the pass running finds it free
  _running = false;
}

GuideUpdater::GuideUpdater(ServiceList& services, BroadcastPlugin& plugin, GuideUpdaterHost& host)
    : _services(services), _plugin(plugin), _host(host), _programUpdater(*this, host) {}

GuideUpdater::~GuideUpdater() = default;

void GuideUpdater::updatePrograms() {
  for (Service* const service : _services.channelList()) {
    if (!_programUpdater.isEnabled()) return;
    if (auto* const known = dynamic_cast<ServiceImpl*>(service)) updateProgramList(known);
  }
}

/// The contract holds `_servicesMutex` for the whole pass. Here it is held for one service's collection and released
/// before the host is told: a listener may ask for programmes, and the host's threads wait for one service at most. The
/// services stay alive, since whoever deletes them stops the updater first.
void GuideUpdater::updateProgramList(ServiceImpl* service) {
  std::vector<Program*> added;
  {
    const Lock lock(_services.servicesMutex());
    const PluginState state = _plugin.getState();
    if (state == PLUGIN_ERROR || state == PLUGIN_INACTIVE) return;
    if (!collectEvents(service, &added) || added.empty()) return;
    service->update();
  }
  announce(service, &added);
}

/// Makes programmes of the service's new events; false when the service is done with.
bool GuideUpdater::collectEvents(ServiceImpl* service, std::vector<Program*>* added) {
  const durix_esg_object object = service->getData();
  EsgArray events;
  const durix_return_code code = durix_program_events_get(&object, events.items(), events.count());
  if (code == DURIX_NO_PROGRAMS) {
    BC_WARN(LOG, "durix_program_events_get(serviceId = %u), has no programs", service->getId());
    return false;
  }
  if (code != DURIX_OK) {
    BC_ERR(LOG, "durix_program_events_get Failed, return_code = %u", code);
    ostiv_log_debug("durix_program_events_get Failed in BroadcastPluginImpl");
    return false;  // the pass goes on with the next service
  }
  for (const durix_esg_object& event : events) {
    // A known event is left alone, even if its data changed.
    if (findProgram(static_cast<int>(event.id)) == nullptr) added->push_back(addProgram(service, event));
    if (!_programUpdater.isEnabled()) {
      // What was added stays, not linked until the service gets its next new event.
      BC_ERR(LOG, "ProgramUpdater disabled when running!");
      return false;
    }
  }
  return true;
}

Program* GuideUpdater::addProgram(ServiceImpl* service, const durix_esg_object& event) {
  auto program = std::make_unique<ProgramImpl>(event, service, &_plugin);
  readAll(*program);
  ProgramImpl* const added = program.get();
  service->addProgram(program.release());
  const Lock lock(_programsMutex);
  _programs[static_cast<int>(event.id)] = added;
  return added;
}

void GuideUpdater::announce(ServiceImpl* service, std::vector<Program*>* added) {
  _host.notifyProgramUpdate(service, added);
  _host.programsChanged(service);
  if (!_programUpdater.isEnabled()) return;  // a listener may have ended the pass, and with it these programmes
  VmRecommendationUpdater* const recommendations = _host.recommendationUpdater();
  if (recommendations == nullptr || !recommendations->Start()) return;
  recommendations->updateContentRecommendations({added->begin(), added->end()}, nullptr);
}

std::vector<Program*> GuideUpdater::getPrograms() {
  const Lock lock(_services.servicesMutex());
  const Lock containers(_programsMutex);
  std::vector<Program*> all;
  all.reserve(_programs.size());
  for (const auto& [id, program] : _programs) all.push_back(program);
  return all;
}

Program* GuideUpdater::findProgram(int id) const {
  const Lock lock(_programsMutex);
  const auto found = _programs.find(id);
  return found == _programs.end() ? nullptr : found->second;
}

std::vector<Program*> GuideUpdater::search(std::vector<std::string> words) {
  for (std::string& word : words) word = lowerCase(word);
  if (_plugin.getState() == PLUGIN_INACTIVE) return {};
  const Lock lock(_services.servicesMutex());  // the programmes stay until the hits are sorted
  std::vector<Program*> hits;
  for (Program* const program : getPrograms()) {
    if (_plugin.getState() == PLUGIN_INACTIVE) break;
    if (containsOne(lowerCase(program->getTitle()), words) || containsOne(lowerCase(program->getDescription()), words))
      hits.push_back(program);
  }
  sortByStartTime(&hits);
  return hits;
}

std::vector<Program*> GuideUpdater::getProgramsWithTitles(std::vector<std::string> titles) {
  if (_plugin.getState() != PLUGIN_ACTIVE) return {};
  std::unordered_map<std::string, std::size_t> wanted;  // how often each title is still asked for
  for (std::string& title : titles) ++wanted[std::move(title)];

  const Lock lock(_services.servicesMutex());
  const std::int64_t now = currentTime();
  std::vector<Program*> candidates;
  const auto consider = [&](Program* program) {
    if (wanted.count(program->getTitle()) != 0) candidates.push_back(program);
  };
  for (Service* const service : _services.services()) {
    // The current programme stands in the span too, and may then use up a second copy of its title.
    if (Program* const current = service->getCurrentProgram()) consider(current);
    for (Program* const program : service->getPrograms(asHostTime(now), asHostTime(now + TITLE_SPAN)))
      consider(program);
  }
  sortByStartTime(&candidates);

  std::vector<Program*> result;
  for (Program* const program : candidates) {
    std::size_t& left = wanted[program->getTitle()];
    if (left == 0) continue;
    --left;
    result.push_back(program);
  }
  return result;
}

void GuideUpdater::flush() {
  const Lock lock(_services.servicesMutex());
  for (Service* const service : _services.channelList()) {
    if (auto* const known = dynamic_cast<ServiceImpl*>(service)) known->flush();
  }
}

void GuideUpdater::clearPrograms() {
  const Lock lock(_programsMutex);
  _programs.clear();
}

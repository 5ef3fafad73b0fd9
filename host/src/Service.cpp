#include "velmora/Service.h"

#include <algorithm>

#include "host/HostClock.h"
#include "velmora/Program.h"

Service::Service(unsigned id, Plugin* plugin) : AvContent(id, plugin, AV_SERVICE) {}
Service::~Service() = default;

int Service::getQuality() {
  return 0;
}
void Service::setChannelNumber(unsigned number) {
  setIntProperty("channelnumber", static_cast<int>(number));
}
int Service::getOriginalNetwork() {
  return 0;
}
int Service::getServiceId() {
  return 0;
}
std::string Service::getProtocolType() {
  return {};
}

Program* Service::getCurrentProgram() {
  const std::int64_t now = host::now();
  for (Program* const program : getPrograms(true)) {
    if (program->getStartTimeT() <= now && now < program->getEndTimeT()) return program;
  }
  return nullptr;
}

int Service::getSourceID() {
  return 0;
}

std::vector<Program*> Service::getPrograms(int from, int to) {
  std::vector<Program*> found = getPrograms(true);
  std::erase_if(found,
                [&](Program* program) { return program->getEndTimeT() <= from || program->getStartTimeT() >= to; });
  return found;
}

Program* Service::getNextProgram() {
  const std::vector<Program*> programs = getPrograms(true);
  if (Program* const current = getCurrentProgram()) {
    const auto here = std::find(programs.begin(), programs.end(), current);
    if (here != programs.end()) return here + 1 == programs.end() ? nullptr : *(here + 1);
  }
  const std::int64_t now = host::now();
  const auto later =
      std::find_if(programs.begin(), programs.end(), [&](Program* program) { return program->getStartTimeT() > now; });
  return later == programs.end() ? nullptr : *later;
}

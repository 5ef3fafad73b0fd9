#include "velmora/Program.h"

namespace {
constexpr const char* SCHEDULED = "scheduledforrecording";
}

Program::Program(unsigned id, Plugin* plugin) : AvContent(id, plugin, AV_PROGRAM) {}
Program::~Program() = default;

std::string Program::getStartTime() {
  return {};
}
std::int32_t Program::getStartTimeT() {
  return 0;
}
std::string Program::getEndTime() {
  return {};
}
std::int32_t Program::getEndTimeT() {
  return 0;
}
std::string Program::getStartTimeUtc() {
  return getStartTime();
}
std::string Program::getEndTimeUtc() {
  return getEndTime();
}
void Program::setScheduledForRecording(bool scheduled) {
  setBoolProperty(SCHEDULED, scheduled);
}
bool Program::isScheduledForRecording() {
  return getBoolProperty(SCHEDULED);
}

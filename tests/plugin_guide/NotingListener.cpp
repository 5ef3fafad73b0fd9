#include "NotingListener.h"

#include "velmora/Program.h"
#include "velmora/Service.h"

void NotingListener::tell(const char* what, Service* service, const std::vector<Program*>& programs) {
  std::string text = what + std::string(" ") + std::to_string(service->getId()) + ":";
  for (const Program* const program : programs) text += " " + std::to_string(program->getId());
  _note(text);
  if (onNotice) onNotice();
}

void NotingListener::notifyProgramUpdate(Plugin*, Service* service, std::vector<Program*>* programs) {
  tell("update", service, *programs);
}

void NotingListener::notifyProgramStarted(Plugin*, Service* service, Program* program) {
  tell("started", service, {program});
}

void NotingListener::notifyProgramEnded(Plugin*, Service* service, Program* program) {
  tell("ended", service, {program});
}

void NotingListener::notifyCurrentProgram(Plugin*, Service* service, Program* program) {
  tell("current", service, {program});
}

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "velmora/PluginListener.h"

/// Notes what the host is told.
class NotingListener : public PluginListener {
 public:
  explicit NotingListener(std::function<void(const std::string&)> note) : _note(std::move(note)) {}
  std::function<void()> onNotice;  // inside a notice

  void notifyProgramUpdate(Plugin*, Service* service, std::vector<Program*>* programs) override;
  void notifyProgramStarted(Plugin*, Service* service, Program* program) override;
  void notifyProgramEnded(Plugin*, Service* service, Program* program) override;
  void notifyCurrentProgram(Plugin*, Service* service, Program* program) override;

 private:
  void tell(const char* what, Service* service, const std::vector<Program*>& programs);
  const std::function<void(const std::string&)> _note;
};

#include "middleware/recorder/SoundChoice.h"

#include <algorithm>

#include "middleware/portability/Text.h"
#include "middleware/si/Languages.h"

namespace durix {
namespace {

std::string canonical(const std::string& code) {
  return std::string(canonicalLanguage(lowerCase(code)));
}

bool isIn(const Component& component, const std::string& language) {
  const auto languages = languagesOf(component);
  return std::ranges::any_of(languages, [&](const auto& code) { return canonical(code) == language; });
}

}  // namespace

Program withOneSound(const Program& program, const std::string& language) {
  const std::string wanted = canonical(language);
  const Component* sound = nullptr;
  for (const auto& component : program.components) {
    if (!isAudio(component.kind)) continue;
    if (sound == nullptr) sound = &component;
    if (!isIn(component, wanted)) continue;
    sound = &component;
    break;
  }
  Program chosen = program;
  std::erase_if(chosen.components,
                [&](const auto& component) { return isAudio(component.kind) && component.pid != sound->pid; });
  return chosen;
}

}  // namespace durix

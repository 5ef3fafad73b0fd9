#include "HiddenNote.h"

#include "Session.h"
#include "Text.h"

namespace tv {

void tellHidden(const Context& context) {
  const std::optional<SideDoor::Hidden> hidden = context.session.sideDoor().hidden();
  if (!hidden) return;
  const auto tell = [&](unsigned count, const std::string& what, const std::string& option) {
    if (count == 0) return;
    context.output.message(counted(count, what + " channel") + " hidden; \"tv settings " + option + " false\" shows " +
                               (count == 1 ? "it" : "them"),
                           Tone::FAINT);
  };
  tell(hidden->isProtected, "protected", "hide.protected");
  tell(hidden->radio, "radio", "hide.radio");
}

}  // namespace tv

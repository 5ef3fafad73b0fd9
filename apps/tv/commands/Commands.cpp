#include "Commands.h"

namespace tv {

void addCommands(CLI::App& app, Action& action) {
  addLocationsCommand(app, action);
  addScanCommand(app, action);
  addChannelCommands(app, action);
  addGuideCommands(app, action);
  addResidentCommands(app, action);
  addSettingsCommand(app, action);
  addReceiverCommands(app, action);
}

}  // namespace tv

#include "Commands.h"

namespace tv {

void addCommands(Syntax& app, Action& action) {
  addLocationsCommand(app, action);
  addScanCommand(app, action);
  addChannelCommands(app, action);
  addGuideCommands(app, action);
  addPlayCommand(app, action);
  addTeletextCommand(app, action);
  addRecordCommands(app, action);
  addRecordingCommands(app, action);
  addResidentCommands(app, action);
  addSettingsCommand(app, action);
  addReceiverCommands(app, action);
}

}  // namespace tv

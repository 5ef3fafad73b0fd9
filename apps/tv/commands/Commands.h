#pragma once

#include "CommandLine.h"
#include "Syntax.h"

namespace tv {

// Each adds the commands of its file to the parser; the one that is chosen puts its work into `action`.
void addLocationsCommand(Syntax& app, Action& action);
void addScanCommand(Syntax& app, Action& action);
void addChannelCommands(Syntax& app, Action& action);  // channels, order
void addGuideCommands(Syntax& app, Action& action);    // now, guide, search
void addTeletextCommand(Syntax& app, Action& action);
void addRecordCommands(Syntax& app, Action& action);     // record, timers
void addRecordingCommands(Syntax& app, Action& action);  // recordings, playlists, timeshift
void addResidentCommands(Syntax& app, Action& action);   // watch, run
void addPlayCommand(Syntax& app, Action& action);
void addSettingsCommand(Syntax& app, Action& action);
void addReceiverCommands(Syntax& app, Action& action);

/// All of them, in the order of the help.
void addCommands(Syntax& app, Action& action);

}  // namespace tv

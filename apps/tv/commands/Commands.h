#pragma once

#include <CLI/CLI.hpp>

#include "CommandLine.h"

namespace tv {

// Each adds the commands of its file to the parser; the one that is chosen puts its work into `action`.
void addLocationsCommand(CLI::App& app, Action& action);
void addScanCommand(CLI::App& app, Action& action);
void addChannelCommands(CLI::App& app, Action& action);   // channels, order
void addGuideCommands(CLI::App& app, Action& action);     // now, guide, search
void addResidentCommands(CLI::App& app, Action& action);  // watch, run
void addSettingsCommand(CLI::App& app, Action& action);
void addReceiverCommands(CLI::App& app, Action& action);

/// All of them, in the order of the help.
void addCommands(CLI::App& app, Action& action);

}  // namespace tv

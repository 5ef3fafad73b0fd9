#pragma once

#include <map>
#include <string>

class OptionGroup;

/// What the host keeps over runs: its properties and the values that the user gave to options. It lies in the file
/// host.json of the data directory and is written at every change; `system.*` is never kept. Any thread may call.
namespace host {

/// Loads what is kept in `dataDirectory`, drops what another directory gave, and gives the host's own options their
/// values. A damaged file is put aside as host.json.damaged. False, with one line in the log, when the file cannot be
/// read or comes from a newer version: it is then left as it is and nothing is written until the next `open`.
/// Nobody is told of properties that change here, so it comes before a plugin is loaded.
bool open(const std::string& dataDirectory);

/// Writes the file. False, with one line in the log, when that fails; the old file then stays whole.
bool save();

/// Keeps the value, as text, of the option `id` of whatever group.
void rememberOption(const std::string& id, const std::string& value);

std::map<std::string, std::string> rememberedOptions();

/// Adds to the groups that `Velmora::getOptions` gives. The group is the host's from here on and lives as long as the
/// process; its members get the values that are remembered for them.
void addHostOptionGroup(OptionGroup* group);

}  // namespace host

#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace host {

/// What host.json holds.
struct KeptState {
  std::map<std::string, std::string> properties;
  std::map<std::string, std::string> options;  // value as text, by option id
};

enum class Loaded { FINE, ABSENT, DAMAGED, NEWER, UNREADABLE };

/// Reads the file; `state` is filled only with FINE. `why` names the reason for DAMAGED, NEWER and UNREADABLE.
Loaded readState(const std::filesystem::path& file, KeptState& state, std::string& why);

/// Writes a new file and puts it in place of the old one in one step, so that one of the two is whole at any moment.
/// On failure `why` names the reason and the old file stays.
bool writeState(const std::filesystem::path& file, const KeptState& state, std::string& why);

}  // namespace host

#pragma once

#include <filesystem>

namespace durix {

/// Where relative names of the portability layer resolve; at first the process's working directory.
void setDataDirectory(const std::filesystem::path& directory);

/// `path` itself when it is absolute, else below the data directory.
std::filesystem::path resolved(const std::filesystem::path& path);

/// Removes what processes that were killed between open and close of a new file have left in `directory`.
void removeAbandonedFiles(const std::filesystem::path& directory);

}  // namespace durix

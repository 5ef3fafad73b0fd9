#pragma once

#include <cstdint>
#include <filesystem>

#include "middleware/recordings/Recording.h"

namespace durix {

class Store;

/// Bytes that recordings leave free on their file system, so that everything else can still be written.
inline constexpr std::uint64_t FREE_RESERVE = std::uint64_t{32} << 20U;

/// Where recordings go: the directory that the user wants, else one in the data directory, which is made.
std::filesystem::path recordingsDirectory(Store& store);

/// Where time shifts go; made.
std::filesystem::path timeShiftDirectory();

/// "12 News.ts": a title that any file system takes, and that says which recording it is if the title does not. It is
/// not there yet: where the store was lost, another recording may have had the number.
std::filesystem::path newRecordingFile(const std::filesystem::path& directory, std::uint32_t id,
                                       const std::string& title);

/// As the store keeps it: relative when it is in the data directory, which may move.
std::filesystem::path keptPath(const std::filesystem::path& file);

/// Bytes that are free for this process. 0 when it cannot be known.
std::uint64_t freeBytes(const std::filesystem::path& directory);

/// How many bytes a service takes in this time, roughly.
std::uint64_t estimatedBytes(const StoredService& service, std::int64_t seconds);

/// Puts what describes a recording beside it, if it is not there; false when it cannot be written.
bool describe(const Recording& recording, std::uint64_t bytes);

/// Removes a recording's file, index and description. False when the file is still there, or its directory is not.
bool removeFiles(const std::filesystem::path& file);

}  // namespace durix

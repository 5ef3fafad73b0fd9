#pragma once

#include <filesystem>
#include <span>
#include <vector>

#include "middleware/si/Program.h"
#include "middleware/store/Catalogue.h"

namespace durix {

/// What the tables of a recording's stream announce, at its beginning and at its end; each component once.
std::vector<Component> componentsOf(const std::filesystem::path& recording);

/// The feeds of a recording: video, audio and subtitles, of the kinds that recordings have, without identifiers.
std::vector<Feed> recordedFeeds(std::span<const Component> components);

}  // namespace durix

#pragma once

#include <filesystem>

namespace durix {

/// Takes the units of elementary streams that are not there to their end from the end of a recording, so that no
/// decoder is given a part of a picture. Touches its last seconds only; nothing when the file cannot be used. True when
/// something was taken.
bool cutIncompleteUnits(const std::filesystem::path& recording);

}  // namespace durix

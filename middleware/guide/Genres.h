#pragma once

#include <cstdint>

namespace durix {

/// What a content descriptor's first byte means (EN 300 468, table 29), by its upper nibble; empty for none and for
/// broadcasters' own. Static texts.
const char* genreText(std::uint8_t content);

}  // namespace durix

#pragma once

#include <cstdint>
#include <span>

#include "middleware/si/Descriptors.h"
#include "middleware/si/Program.h"

namespace durix {

/// What a stream is: by its type (ISO/IEC 13818-1, table 2-34), and for private streams by its descriptors.
StreamKind kindOfStream(std::uint8_t streamType, std::span<const Descriptor> descriptors);

}  // namespace durix

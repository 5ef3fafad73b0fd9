#pragma once

#include <string>

#include "middleware/si/Program.h"

namespace durix {

/// The programme with one of its sounds only: the first one in a language (ISO 639-2, of either kind), else the first.
Program withOneSound(const Program& program, const std::string& language);

}  // namespace durix

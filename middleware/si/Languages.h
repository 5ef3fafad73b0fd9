#pragma once

#include <string_view>

namespace durix {

/// The terminological code of a language (ISO 639-2/T: deu) for either of its codes (ger); others stay as they are.
/// Lower case.
std::string_view canonicalLanguage(std::string_view code);

}  // namespace durix

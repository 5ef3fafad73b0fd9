#include "middleware/si/Languages.h"

#include <algorithm>
#include <array>
#include <utility>

namespace durix {
namespace {

// ISO 639-2 has two codes for these languages, the last two of them until 2008; broadcasts carry either.
constexpr std::array<std::pair<std::string_view, std::string_view>, 22> TWINS{{
    {"alb", "sqi"}, {"arm", "hye"}, {"baq", "eus"}, {"bur", "mya"}, {"chi", "zho"}, {"cze", "ces"},
    {"dut", "nld"}, {"fre", "fra"}, {"geo", "kat"}, {"ger", "deu"}, {"gre", "ell"}, {"ice", "isl"},
    {"mac", "mkd"}, {"mao", "mri"}, {"may", "msa"}, {"per", "fas"}, {"rum", "ron"}, {"slo", "slk"},
    {"tib", "bod"}, {"wel", "cym"}, {"scc", "srp"}, {"scr", "hrv"},
}};

}  // namespace

std::string_view canonicalLanguage(std::string_view code) {
  const auto* const twin =
      std::find_if(TWINS.begin(), TWINS.end(), [&](const auto& pair) { return pair.first == code; });
  return twin == TWINS.end() ? code : twin->second;
}

}  // namespace durix

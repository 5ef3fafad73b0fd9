#include "middleware/si/TableReaders.h"

namespace durix {

std::vector<std::pair<std::uint16_t, std::uint16_t>> readPat(const Section& section) {
  std::vector<std::pair<std::uint16_t, std::uint16_t>> programs;
  for (auto rest = section.body(); rest.size() >= 4; rest = rest.subspan(4)) {
    const auto number = static_cast<std::uint16_t>(rest[0] << 8 | rest[1]);
    const auto pid = static_cast<std::uint16_t>((rest[2] & 0x1F) << 8 | rest[3]);
    if (number != 0) programs.emplace_back(number, pid);
  }
  return programs;
}

}  // namespace durix

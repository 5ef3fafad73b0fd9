#include "middleware/si/SectionDemux.h"

namespace durix {

void SectionDemux::select(std::uint16_t pid) {
  if (!isSelected(pid)) _assemblers.emplace(pid, [this, pid](const Section& section) { _sink(pid, section); });
}

void SectionDemux::feed(const PacketView& packet) {
  const auto assembler = _assemblers.find(packet.pid());
  if (assembler != _assemblers.end()) assembler->second.feed(packet);
}

std::uint64_t SectionDemux::damagedSections() const {
  std::uint64_t sum = 0;
  for (const auto& [pid, assembler] : _assemblers) sum += assembler.damagedSections();
  return sum;
}

}  // namespace durix

#include "middleware/si/SubTable.h"

#include <algorithm>

namespace durix {

bool SubTable::add(const Section& section) {
  if (!section.isLong() || !section.isCurrent()) return false;
  if (_version && section.extension() != _extension) {
    _sections.clear();
    _version.reset();
  }
  _extension = section.extension();
  const auto stored = _sections.find(section.number());
  if (stored != _sections.end() && _version == section.version() && stored->second.version == section.version() &&
      std::ranges::equal(stored->second.bytes, section.bytes())) {
    return false;
  }
  _version = section.version();
  _lastNumber = std::max(section.lastNumber(), section.number());
  _sections[section.number()] = {section.version(), {section.bytes().begin(), section.bytes().end()}};
  _sections.erase(_sections.upper_bound(_lastNumber), _sections.end());
  return true;
}

bool SubTable::isComplete() const {
  return _version && _sections.size() == _lastNumber + 1U &&
         std::ranges::all_of(_sections, [this](const auto& entry) { return entry.second.version == *_version; });
}

std::vector<Section> SubTable::sections() const {
  std::vector<Section> sections;
  sections.reserve(_sections.size());
  for (const auto& [number, stored] : _sections) sections.emplace_back(stored.bytes);
  return sections;
}

}  // namespace durix

#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "middleware/si/Section.h"

namespace durix {

/// The sections of one sub-table: one table with one extension. The version that came last counts; of the version
/// before, sections stand in for those that have not come yet. Sections that are only announced ("next") are passed
/// over.
class SubTable {
 public:
  /// Whether the section said anything new.
  bool add(const Section& section);

  /// Whether every section of the newest version is there.
  bool isComplete() const;

  /// What is there, in the order of the section numbers; valid until the next `add`.
  std::vector<Section> sections() const;

  std::uint8_t version() const { return _version.value_or(0); }

 private:
  struct Stored {
    std::uint8_t version = 0;
    std::vector<std::uint8_t> bytes;
  };

  std::optional<std::uint8_t> _version;
  std::uint16_t _extension = 0;
  std::uint8_t _lastNumber = 0;
  std::map<std::uint8_t, Stored> _sections;  // by number
};

}  // namespace durix

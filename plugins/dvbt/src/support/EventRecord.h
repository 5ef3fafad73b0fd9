#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "durix/durix.h"
#include "support/Text.h"

/// Reads the fields of a middleware event at their stated offsets, aligned or not.
class EventRecord {
 public:
  explicit EventRecord(const durix_event_data* data) : _bytes(reinterpret_cast<const char*>(data)) {}

  std::uint32_t id() const { return word(DURIX_OFFSET_EVENT); }
  std::uint32_t word(std::size_t offset) const { return read<std::uint32_t>(offset); }
  std::uint8_t byte(std::size_t offset) const { return read<std::uint8_t>(offset); }
  template <typename Pointee>
  Pointee* pointer(std::size_t offset) const {
    return read<Pointee*>(offset);
  }
  std::string text(std::size_t offset, std::size_t size) const { return fixedText(_bytes + offset, size); }
  const void* address() const { return _bytes; }
  std::vector<char> copy(std::size_t size) const { return {_bytes, _bytes + size}; }

 private:
  template <typename Value>
  Value read(std::size_t offset) const {
    Value value{};
    std::memcpy(&value, _bytes + offset, sizeof value);  // NOLINT(bugprone-sizeof-expression): of a pointer itself too
    return value;
  }

  const char* _bytes;
};

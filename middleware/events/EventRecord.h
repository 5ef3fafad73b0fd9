#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "durix/durix.h"

namespace durix {

/// The bytes of one event as handlers get them: fields at the offsets of durix.h, copied there one by one, so that a
/// pointer may stand unaligned and no compiler's padding moves anything. Fields never written are zero.
class EventRecord {
 public:
  explicit EventRecord(std::uint32_t event) : _bytes(SMALLEST) { put(DURIX_OFFSET_EVENT, event); }

  std::uint32_t event() const {
    std::uint32_t event = 0;
    std::memcpy(&event, _bytes.data(), sizeof event);
    return event;
  }

  /// A number or a pointer in the platform's width.
  template <typename T>
  EventRecord& put(std::size_t offset, T value) {
    static_assert(std::is_arithmetic_v<T> || std::is_pointer_v<T>);
    reach(offset + sizeof value);
    std::memcpy(_bytes.data() + offset, &value, sizeof value);
    return *this;
  }

  /// Text in a field of `size` bytes, cut so that it ends with a NUL in any case.
  EventRecord& putText(std::size_t offset, std::size_t size, std::string_view text) {
    reach(offset + size);
    std::copy_n(text.data(), std::min(text.size(), size - 1), _bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    return *this;
  }

  /// Whom it tells of: once that is forgotten, nobody is told any more.
  EventRecord& about(const void* subject) {
    _subject = subject;
    return *this;
  }
  const void* subject() const { return _subject; }

  /// What a pointer in the record points to lives as long as the record does.
  EventRecord& keep(std::shared_ptr<const void> owner) {
    _kept = std::move(owner);
    return *this;
  }

  std::size_t size() const { return _bytes.size(); }
  durix_event_data* data() { return reinterpret_cast<durix_event_data*>(_bytes.data()); }

 private:
  static constexpr std::size_t SMALLEST =
      32;  // every field that events without a table of their own might be asked for

  void reach(std::size_t end) {
    if (_bytes.size() < end) _bytes.resize(end);
  }

  std::vector<std::uint8_t> _bytes;
  const void* _subject = nullptr;
  std::shared_ptr<const void> _kept;
};

}  // namespace durix

#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

#include "durix/ostiv.h"

namespace durix {

/// What ostiv_mem_* has to tell of itself. Any thread.
struct MemoryStatistics {
  std::uint64_t liveBlocks = 0;
  std::uint64_t mixUps = 0;  // blocks given to ostiv_mem_free that ostiv_mem_calloc never gave, or twice
};
MemoryStatistics memoryStatistics();

/// The bytes of a block of ostiv_mem_calloc; 0 when the pointer is none that was given and not freed.
std::size_t sizeOfBlock(const void* memory);

/// A copy that passes to the caller of the contract, who frees it with ostiv_mem_free. Throws std::bad_alloc.
char* copyForCaller(std::string_view text);

/// An array for the caller of the contract, as above; null when there is nothing in it.
template <typename T>
T* copyForCaller(std::span<const T> values);

/// The system's own allocation of `size` bytes, for the one array that the caller frees so. Throws std::bad_alloc.
void* systemBytes(std::size_t size);

namespace detail {
void* copyBytesForCaller(const void* bytes, std::size_t size);
}

template <typename T>
T* copyForCaller(std::span<const T> values) {
  static_assert(std::is_trivially_copyable_v<T>);
  if (values.empty()) return nullptr;
  return static_cast<T*>(detail::copyBytesForCaller(values.data(), values.size_bytes()));
}

}  // namespace durix

#include "middleware/portability/Memory.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <new>
#include <unordered_map>

#include "middleware/portability/Log.h"

namespace durix {
namespace {

// Every block that was given and not freed, so that a foreign one, or one freed before, is told without looking at it.
struct Blocks {
  std::mutex mutex;  // a leaf
  std::unordered_map<std::uintptr_t, std::size_t> sizes;
};

// The complement: a leak checker is not to take this register for somebody who still holds the block.
std::uintptr_t keyOf(const void* block) {
  return ~reinterpret_cast<std::uintptr_t>(block);
}

// Never destroyed: memory is freed while the process ends.
Blocks& blocks() {
  static auto* const instance = new Blocks;
  return *instance;
}

// Blocks begin this far behind what the system's allocator gave: it notices one that is given back to it directly.
constexpr std::size_t GAP = alignof(std::max_align_t);

std::atomic<std::uint64_t> g_mixUps{0};

}  // namespace

MemoryStatistics memoryStatistics() {
  const std::scoped_lock lock(blocks().mutex);
  return {blocks().sizes.size(), g_mixUps.load()};
}

std::size_t sizeOfBlock(const void* memory) {
  const std::scoped_lock lock(blocks().mutex);
  const auto found = blocks().sizes.find(keyOf(memory));
  return found == blocks().sizes.end() ? 0 : found->second;
}

void* detail::copyBytesForCaller(const void* bytes, std::size_t size) {
  void* const block = ostiv_mem_calloc(size, 1);
  if (block == nullptr) throw std::bad_alloc();
  std::memcpy(block, bytes, size);
  return block;
}

char* copyForCaller(std::string_view text) {
  auto* const copy = static_cast<char*>(ostiv_mem_calloc(text.size() + 1, 1));
  if (copy == nullptr) throw std::bad_alloc();
  if (!text.empty()) std::memcpy(copy, text.data(), text.size());
  return copy;
}

void* systemBytes(std::size_t size) {
  void* const block = std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace durix

extern "C" {

void* ostiv_mem_calloc(size_t count, size_t size) {
  if (size != 0 && count > (std::numeric_limits<std::size_t>::max() - durix::GAP) / size) return nullptr;
  auto* const start = static_cast<std::byte*>(std::calloc(1, durix::GAP + count * size));
  if (start == nullptr) return nullptr;
  std::byte* const block = start + durix::GAP;
  try {
    const std::scoped_lock lock(durix::blocks().mutex);
    durix::blocks().sizes.emplace(durix::keyOf(block), count * size);
  } catch (...) {
    std::free(start);
    return nullptr;
  }
  return block;
}

void ostiv_mem_free(void* memory) {
  if (memory == nullptr) return;
  bool isOurs = false;
  {
    const std::scoped_lock lock(durix::blocks().mutex);
    isOurs = durix::blocks().sizes.erase(durix::keyOf(memory)) > 0;
  }
  if (isOurs) {
    std::free(static_cast<std::byte*>(memory) - durix::GAP);
    return;
  }
  // Left alone: leaking it is harmless, freeing it with the wrong allocator is not.
  ++durix::g_mixUps;
  durix::logLine("ostiv_mem_free: a block that ostiv_mem_calloc did not give, or freed before");
}
}

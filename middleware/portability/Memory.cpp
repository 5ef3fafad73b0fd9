#include "middleware/portability/Memory.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "middleware/portability/Log.h"

namespace durix {
namespace {

// In front of every block, so that one of another allocator is recognised and never handed to the wrong one.
struct alignas(std::max_align_t) Header {
  std::uint64_t magic;
};
constexpr std::uint64_t LIVE = 0x6f737469762d6c76;   // "ostiv-lv"
constexpr std::uint64_t FREED = 0x6f737469762d6672;  // "ostiv-fr"

std::atomic<std::uint64_t> g_liveBlocks{0};
std::atomic<std::uint64_t> g_mixUps{0};

// Looks in front of a block that may be anybody's; the address sanitizer would stop at a foreign one, where the whole
// point is to survive it and to say so.
__attribute__((no_sanitize("address"))) bool isLive(const Header* header) {
  return header->magic == LIVE;
}

}  // namespace

MemoryStatistics memoryStatistics() {
  return {g_liveBlocks.load(), g_mixUps.load()};
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
  using durix::Header;
  if (size != 0 && count > (std::numeric_limits<std::size_t>::max() - sizeof(Header)) / size) return nullptr;
  void* const block = std::calloc(1, sizeof(Header) + count * size);
  if (block == nullptr) return nullptr;
  auto* const header = new (block) Header{durix::LIVE};
  ++durix::g_liveBlocks;
  return header + 1;
}

void ostiv_mem_free(void* memory) {
  if (memory == nullptr) return;
  auto* const header = static_cast<durix::Header*>(memory) - 1;
  if (!durix::isLive(header)) {
    // Left alone: leaking it is harmless, freeing it with the wrong allocator is not.
    ++durix::g_mixUps;
    durix::logLine("ostiv_mem_free: a block that ostiv_mem_calloc did not give, or freed before");
    return;
  }
  header->magic = durix::FREED;
  --durix::g_liveBlocks;
  std::free(header);
}
}

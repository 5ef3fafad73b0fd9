#pragma once

#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "durix/durix.h"

// Owners for what the middleware hands out. The type names the allocator, so that a mix-up does not compile. Out values
// start null and 0 and are read only after success; a null array is an empty one.

/// How an array goes back.
struct ByOstiv {
  static void release(void* memory) { ostiv_mem_free(memory); }
};
struct ByFree {
  static void release(void* memory) { std::free(memory); }
};

/// An array that the middleware filled in through `items()` and `count()`.
template <typename Item, typename Allocator>
class MwArrayOf {
 public:
  MwArrayOf() = default;
  MwArrayOf(const MwArrayOf&) = delete;
  MwArrayOf& operator=(const MwArrayOf&) = delete;
  ~MwArrayOf() { reset(); }

  Item** items() { return &_items; }
  std::uint32_t* count() { return &_count; }

  std::uint32_t size() const { return _items == nullptr ? 0 : _count; }
  std::span<Item> view() const { return {_items, size()}; }
  Item* begin() const { return _items; }
  Item* end() const { return _items + size(); }

  void reset() {
    if (_items != nullptr) Allocator::release(_items);
    _items = nullptr;
    _count = 0;
  }

 private:
  Item* _items = nullptr;
  std::uint32_t _count = 0;
};

template <typename Item>
using MwArray = MwArrayOf<Item, ByOstiv>;
using EsgArray = MwArray<durix_esg_object>;
/// Only `durix_services_get` gives arrays of the system's allocator.
using ServiceArray = MwArrayOf<durix_esg_object, ByFree>;

/// A text that the middleware handed out; null is the empty text.
class MwText {
 public:
  MwText() = default;
  explicit MwText(char* text) : _text(text) {}
  MwText(const MwText&) = delete;
  MwText& operator=(const MwText&) = delete;
  ~MwText() {
    if (_text != nullptr) ostiv_mem_free(_text);
  }

  char** out() { return &_text; }
  std::string str() const { return _text == nullptr ? std::string() : std::string(_text); }

 private:
  char* _text = nullptr;
};

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <new>
#include <vector>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace kes::detail {

/// Memory for tables that are read in no order. Looking up addresses takes as long as reading there when a table spans
/// thousands of the system's pages, so larger ones ask for pages of 2 MiB. A system that has none to give reads more
/// slowly.
template <class Value>
class LargePages {
public:
  using value_type = Value;

  LargePages() = default;
  template <class Other>
  // NOLINTNEXTLINE(google-explicit-constructor): as the standard's allocators
  LargePages(LargePages<Other> const&) {}

  Value* allocate(std::size_t count) {
    std::size_t const size = count * sizeof(Value);
    void* const memory = ::operator new(size, alignment(count));
#if defined(__linux__)
    if (size >= PAGE) {
      madvise(memory, size, MADV_HUGEPAGE);
    }
#endif
    return static_cast<Value*>(memory);
  }
  void deallocate(Value* memory, std::size_t count) {
    ::operator delete(memory, alignment(count));
  }

  bool operator==(LargePages const&) const {
    return true;
  }

private:
  static constexpr std::size_t PAGE = std::size_t{2} << 20U;

  static std::align_val_t alignment(std::size_t count) {
    return std::align_val_t{count * sizeof(Value) >= PAGE ? PAGE : alignof(Value)};
  }
};

template <class Value>
using LargeTable = std::vector<Value, LargePages<Value>>;

}  // namespace kes::detail

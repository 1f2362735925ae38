// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AllocationCount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long> allocations{0};
std::atomic<long> deletions{0};
}  // namespace

long test::allocationCount() {
  return allocations;
}

long test::liveAllocationCount() {
  return allocations - deletions;
}

void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
  ++allocations;
  return std::malloc(size);
}

void* operator new(std::size_t size) {
  if (void* memory = operator new(size, std::nothrow)) {
    return memory;
  }
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  deletions += memory == nullptr ? 0 : 1;
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}

void operator delete(void* memory, std::nothrow_t const&) noexcept {
  operator delete(memory);
}

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ElevationHeap.h"

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

std::atomic<long> allocations{0};
std::atomic<std::size_t> bytes{0};

void release(void* memory) {
  bytes -= memory != nullptr ? malloc_usable_size(memory) : 0;
  std::free(memory);
}

}  // namespace

long test::allocationCount() {
  return allocations;
}

std::size_t test::bytesInUse() {
  return bytes;
}

void* operator new(std::size_t size, std::nothrow_t const& /*tag*/) noexcept {
  void* const memory = std::malloc(size);
  if (memory != nullptr) {
    ++allocations;
    bytes += malloc_usable_size(memory);
  }
  return memory;
}

void* operator new(std::size_t size) {
  if (void* const memory = operator new(size, std::nothrow)) {
    return memory;
  }
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  release(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  release(memory);
}

void operator delete(void* memory, std::nothrow_t const& /*tag*/) noexcept {
  release(memory);
}

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

void* operator new(std::size_t size) {
  ++allocations;
  if (void* memory = std::malloc(size)) {
    return memory;
  }
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  deletions += memory == nullptr ? 0 : 1;
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  deletions += memory == nullptr ? 0 : 1;
  std::free(memory);
}

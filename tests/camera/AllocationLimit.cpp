// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AllocationLimit.h"

#include <cstdlib>
#include <new>

namespace {

constexpr int unlimited = -1;
thread_local int left = unlimited;

}  // namespace

void* operator new(std::size_t size) {
  if (left == 0) {
    throw std::bad_alloc();
  }
  if (left != unlimited) {
    --left;
  }
  if (void* memory = std::malloc(size == 0 ? 1 : size)) {
    return memory;
  }
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace test {

AllocationLimit::AllocationLimit(int count) {
  left = count;
}

AllocationLimit::~AllocationLimit() {
  left = unlimited;
}

}  // namespace test

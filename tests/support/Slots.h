// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstring>

namespace test {

/// The place of a virtual operation in the table of its class, from 0, as a host calls it that was built against the
/// library's headers. A virtual destructor takes two places. In the C++ ABI of GCC and clang a pointer to a virtual
/// operation holds the place in bytes; on some machines its lowest bit marks it as virtual.
template <class Operation>
std::size_t slotOf(Operation operation) {
  std::size_t bytes = 0;
  static_assert(sizeof operation >= sizeof bytes);
  std::memcpy(&bytes, &operation, sizeof bytes);
  return bytes / sizeof(void*);
}

}  // namespace test

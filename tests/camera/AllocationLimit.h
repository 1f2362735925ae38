// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

namespace test {

/// While it lives, this thread's allocations fail after the first `count`.
class AllocationLimit {
public:
  explicit AllocationLimit(int count);
  ~AllocationLimit();
  AllocationLimit(AllocationLimit const&) = delete;
  AllocationLimit& operator=(AllocationLimit const&) = delete;
};

}  // namespace test

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>

namespace test {

/// How often this process has asked for memory with `new`, and how many bytes of that it has at the moment. The
/// operators that count stand in a source of their own, which no compiler sees through.
long allocationCount();
std::size_t bytesInUse();

}  // namespace test

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Parallel.h>

#include <algorithm>
#include <cstddef>

namespace kes::detail {

/// Points that are worked on together.
inline constexpr std::size_t pointsPerPart = 2048;

/// Calls `work(begin, end)` for parts of `count` points in so many threads (see `forEachIndex`); in one, for all at
/// once.
template <class Work>
void forEachPart(std::size_t count, int threads, Work const& work) {
  if (threads > 1 && count > pointsPerPart) {
    forEachIndex((count + pointsPerPart - 1) / pointsPerPart, threads, [&](std::size_t part) {
      std::size_t const begin = part * pointsPerPart;
      work(begin, std::min(begin + pointsPerPart, count));
    });
    return;
  }
  if (count > 0) {
    work(std::size_t{0}, count);
  }
}

}  // namespace kes::detail

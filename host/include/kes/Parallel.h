// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/keshost_export.h>

#include <cstddef>
#include <functional>

namespace kes {

/// How many threads the machine runs at a time; 1 when it doesn't say.
[[nodiscard]] KESHOST_EXPORT int threadsOfMachine();

/// Does one piece of a work, by its number.
using Worker = std::function<void(std::size_t)>;

/// Does `count` pieces of a work, each once and begun in order, in this thread and `threads` - 1 others, but in no more
/// than there are pieces. Each thread that takes part calls `makeWorker`, and does pieces with what it returns. When
/// threads can't be started, the others do their work. When a call throws, no more pieces are begun, and the first
/// exception comes out after all threads have ended.
KESHOST_EXPORT void forEachIndexByWorkers(std::size_t count, int threads, std::function<Worker()> const& makeWorker);

/// The same with one function, which all threads call at once.
KESHOST_EXPORT void forEachIndex(std::size_t count, int threads, Worker const& work);

}  // namespace kes

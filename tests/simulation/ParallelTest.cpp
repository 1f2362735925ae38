// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/Interposed.h"

#include <simulation/Parallel.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>

namespace {

TEST(ForEachIndex, ThreadsThatCantBeStartedAreDoneWithout) {
  for (int const failing : {1, 2}) {
    int starts = 0;
    test::Interposed const system(
        [&](std::string const& function) { return function == "pthread_create" && ++starts >= failing ? EAGAIN : 0; });
    std::atomic<int> sum = 0;
    simulation::forEachIndex(100, 4, [&](int i) { sum += i; });
    EXPECT_EQ(sum, 4950);
    EXPECT_EQ(starts, failing);
  }
}

TEST(ForEachIndex, AnythingThatIsThrownComesOut) {
  EXPECT_THROW(simulation::forEachIndex(100, 4, [](int) { throw 42; }), int);
}

}  // namespace

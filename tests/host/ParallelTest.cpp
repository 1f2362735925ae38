// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/Interposed.h"
#include "support/Matchers.h"

#include <kes/Parallel.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <numeric>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using kes::forEachIndex;

TEST(ForEachIndex, CallsEachIndexOnce) {
  for (int const threads : {-1, 0, 1, 2, 7}) {
    std::mutex mutex;
    std::multiset<std::size_t> seen;
    forEachIndex(100, threads, [&](std::size_t i) {
      std::lock_guard const lock(mutex);
      seen.insert(i);
    });
    EXPECT_EQ(seen.size(), 100U);
    EXPECT_EQ(std::set<std::size_t>(seen.begin(), seen.end()).size(), 100U);
  }
  forEachIndex(0, 2, [](std::size_t) { FAIL(); });
}

TEST(ForEachIndex, OneThreadGoesInOrderAndIsTheCallers) {
  std::vector<std::size_t> seen;
  std::thread::id const caller = std::this_thread::get_id();
  forEachIndex(50, 1, [&](std::size_t i) {
    EXPECT_EQ(std::this_thread::get_id(), caller);
    seen.push_back(i);
  });
  std::vector<std::size_t> expected(50);
  std::iota(expected.begin(), expected.end(), 0U);
  EXPECT_EQ(seen, expected);
}

TEST(ForEachIndex, ThreadsThatCantBeStartedAreDoneWithout) {
  for (int const failing : {1, 2}) {
    int starts = 0;
    test::Interposed const system(
        [&](std::string const& function) { return function == "pthread_create" && ++starts >= failing ? EAGAIN : 0; });
    std::atomic<std::size_t> sum = 0;
    forEachIndex(100, 4, [&](std::size_t i) { sum += i; });
    EXPECT_EQ(sum, 4950U);
    EXPECT_EQ(starts, failing);
  }
}

TEST(ForEachIndex, AnythingThatIsThrownComesOut) {
  EXPECT_THROW(forEachIndex(100, 4, [](std::size_t) { throw 42; }), int);
}

TEST(ForEachIndex, FailureEndsIt) {
  std::atomic<int> calls = 0;
  EXPECT_MESSAGE(forEachIndex(1000000, 2,
                              [&](std::size_t i) {
                                ++calls;
                                if (i == 3) {
                                  throw std::runtime_error("three");
                                }
                              }),
                 "three");
  EXPECT_LT(calls, 1000000);
}

// Two workers meet in their first pieces, so that both threads are known to take part.
TEST(ForEachIndexByWorkers, EachThreadHasAWorkerOfItsOwn) {
  std::atomic<int> made = 0;
  std::atomic<int> waiting = 0;
  std::atomic<int> done = 0;
  kes::forEachIndexByWorkers(10, 2, [&]() -> kes::Worker {
    ++made;
    return [&, thread = std::this_thread::get_id()](std::size_t i) {
      EXPECT_EQ(std::this_thread::get_id(), thread);
      if (i < 2) {
        ++waiting;
        while (waiting < 2) {
          std::this_thread::yield();
        }
      }
      ++done;
    };
  });
  EXPECT_EQ(made, 2);
  EXPECT_EQ(done, 10);
}

TEST(ForEachIndexByWorkers, WorkerThatCantBeMadeEndsIt) {
  EXPECT_MESSAGE(kes::forEachIndexByWorkers(10, 2, []() -> kes::Worker { throw std::runtime_error("no worker"); }),
                 "no worker");
  int made = 0;
  kes::forEachIndexByWorkers(0, 2, [&]() -> kes::Worker {
    ++made;
    return {};
  });
  EXPECT_EQ(made, 0);
}

}  // namespace

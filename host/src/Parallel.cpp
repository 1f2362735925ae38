// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace kes::detail {

namespace {

class Crew {
public:
  using Work = std::function<void(std::size_t, std::size_t)>;

  Crew(std::size_t count, Work const& work) : mCount(count), mWork(work) {}

  void run(std::size_t threads) {
    std::vector<std::thread> others;
    try {
      others.reserve(threads - 1);
      while (others.size() + 1 < threads) {
        others.emplace_back([this] { takeParts(); });
      }
    } catch (std::exception const&) {
      // There was no room for more; those that run do all the work.
    }
    takeParts();
    for (std::thread& other : others) {
      other.join();
    }
    if (mFailure) {
      std::rethrow_exception(mFailure);
    }
  }

private:
  void takeParts() {
    try {
      for (std::size_t begin = mNext.fetch_add(pointsPerPart); begin < mCount; begin = mNext.fetch_add(pointsPerPart)) {
        mWork(begin, std::min(begin + pointsPerPart, mCount));
      }
    } catch (...) {
      mNext = mCount;
      std::lock_guard const lock(mMutex);
      mFailure = mFailure ? mFailure : std::current_exception();
    }
  }

  std::size_t mCount;
  Work const& mWork;
  std::atomic<std::size_t> mNext{0};
  std::mutex mMutex;
  std::exception_ptr mFailure;
};

}  // namespace

void forEachPartInThreads(std::size_t count, std::size_t threads,
                          std::function<void(std::size_t begin, std::size_t end)> const& work) {
  std::size_t const parts = (count + pointsPerPart - 1) / pointsPerPart;
  Crew(count, work).run(std::min(threads, parts));
}

}  // namespace kes::detail

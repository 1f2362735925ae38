// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/Parallel.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace simulation {

namespace {

class Crew {
public:
  Crew(int count, std::function<void(int)> const& work) : mCount(count), mWork(work) {}

  void run(int threads) {
    std::vector<std::thread> others;
    try {
      for (int i = 1; i < std::min(threads, mCount); ++i) {
        others.emplace_back([this] { takeAll(); });
      }
    } catch (std::exception const&) {
      // Those there are do all the work.
    }
    takeAll();
    for (std::thread& other : others) {
      other.join();
    }
    if (mFailure) {
      std::rethrow_exception(mFailure);
    }
  }

private:
  void takeAll() {
    try {
      for (int i = mNext++; i < mCount; i = mNext++) {
        mWork(i);
      }
    } catch (...) {
      mNext = mCount;
      std::lock_guard const lock(mMutex);
      mFailure = mFailure ? mFailure : std::current_exception();
    }
  }

  int mCount;
  std::function<void(int)> const& mWork;
  std::atomic<int> mNext{0};
  std::mutex mMutex;
  std::exception_ptr mFailure;
};

}  // namespace

void forEachIndex(int count, int threads, std::function<void(int)> const& work) {
  int const available = std::max(static_cast<int>(std::thread::hardware_concurrency()), 1);
  Crew(count, work).run(threads > 0 ? threads : available);
}

}  // namespace simulation

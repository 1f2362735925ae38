// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kes/Parallel.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace kes {

namespace {

class Crew {
public:
  Crew(std::size_t count, std::function<Worker()> const& makeWorker) : mCount(count), mMakeWorker(makeWorker) {}

  void run(std::size_t threads) {
    std::vector<std::thread> others;
    try {
      others.reserve(threads);
      while (others.size() + 1 < threads) {
        others.emplace_back([this] { takePieces(); });
      }
    } catch (std::exception const&) {
      // There was no room for more; those that run do all the work.
    }
    takePieces();
    for (std::thread& other : others) {
      other.join();
    }
    if (mFailure) {
      std::rethrow_exception(mFailure);
    }
  }

private:
  void takePieces() {
    try {
      Worker const work = mMakeWorker();
      for (std::size_t i = mNext++; i < mCount; i = mNext++) {
        work(i);
      }
    } catch (...) {
      mNext = mCount;
      std::lock_guard const lock(mMutex);
      mFailure = mFailure ? mFailure : std::current_exception();
    }
  }

  std::size_t mCount;
  std::function<Worker()> const& mMakeWorker;
  std::atomic<std::size_t> mNext{0};
  std::mutex mMutex;
  std::exception_ptr mFailure;
};

}  // namespace

int threadsOfMachine() {
  return std::max(static_cast<int>(std::thread::hardware_concurrency()), 1);
}

void forEachIndexByWorkers(std::size_t count, int threads, std::function<Worker()> const& makeWorker) {
  if (count > 0) {
    Crew(count, makeWorker).run(std::min(static_cast<std::size_t>(std::max(threads, 1)), count));
  }
}

void forEachIndex(std::size_t count, int threads, Worker const& work) {
  forEachIndexByWorkers(count, threads, [&]() -> Worker { return [&](std::size_t i) { work(i); }; });
}

}  // namespace kes

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace tool {

/// Takes blocks through three steps: `read` fills one and returns false after the last, `work` does the work on it, and
/// `finish` uses the result. Each thread has one block, on which it works while others work on theirs; reading and
/// finishing is for one block at once, in the order of the blocks. The first block that fails ends it: its exception is
/// thrown, and those after it aren't finished. When a thread can't be started, the others do its work.
template <class Block, class Read, class Work, class Finish>
class InOrder {
public:
  InOrder(Read read, Work work, Finish finish) : mRead(read), mWork(work), mFinish(finish) {}

  void run(int threads) {
    std::vector<std::thread> others;
    try {
      while (static_cast<int>(others.size()) + 1 < threads) {
        others.emplace_back([this] { goThrough(); });
      }
    } catch (std::system_error const&) {
      threads = static_cast<int>(others.size()) + 1;
    }
    goThrough();
    for (std::thread& other : others) {
      other.join();
    }
    if (mFailure) {
      std::rethrow_exception(mFailure);
    }
  }

private:
  void goThrough() {
    Block block;
    for (;;) {
      std::exception_ptr fault;
      std::size_t const number = takeNext(block, fault);
      if (number == none) {
        return;
      }
      if (!fault) {
        fault = faultOf([&] { mWork(block); });
      }
      if (!finishNext(block, number, fault)) {
        return;
      }
    }
  }

  // The number of the block that was read, or whose reading failed.
  std::size_t takeNext(Block& block, std::exception_ptr& fault) {
    std::lock_guard const lock(mReading);
    if (mIsAllRead) {
      return none;
    }
    fault = faultOf([&] { mIsAllRead = !mRead(block); });
    if (mIsAllRead) {
      return none;
    }
    mIsAllRead = fault != nullptr;
    return mTaken++;
  }

  // False when no further block is to be taken.
  bool finishNext(Block& block, std::size_t number, std::exception_ptr fault) {
    std::unique_lock lock(mFinishing);
    mTurn.wait(lock, [&] { return number == mFinished || mFailure; });
    if (!mFailure) {
      mFailure = fault ? fault : faultOf([&] { mFinish(block); });
      ++mFinished;
      mTurn.notify_all();
    }
    return !mFailure;
  }

  template <class Action>
  static std::exception_ptr faultOf(Action action) {
    try {
      action();
    } catch (...) {
      return std::current_exception();
    }
    return nullptr;
  }

  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  Read mRead;
  Work mWork;
  Finish mFinish;
  std::mutex mReading;
  bool mIsAllRead = false;
  std::size_t mTaken = 0;
  std::mutex mFinishing;
  std::condition_variable mTurn;
  std::size_t mFinished = 0;
  std::exception_ptr mFailure;
};

template <class Block, class Read, class Work, class Finish>
void goThroughInOrder(int threads, Read read, Work work, Finish finish) {
  InOrder<Block, Read, Work, Finish>(read, work, finish).run(threads);
}

}  // namespace tool

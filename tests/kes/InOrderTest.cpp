// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/InOrder.h"

#include "support/Matchers.h"

#include <chrono>
#include <numeric>
#include <stdexcept>
#include <string>

namespace {

struct Block {
  int number = -1;
  int result = 0;
};

// Numbers from 0 to `count` - 1 go through; those that come early take the longest.
struct Counting {
  int count;
  int readFails = -1;
  int workFails = -1;
  int next = 0;
  std::vector<int> finished{};

  void run(int threads) {
    tool::goThroughInOrder<Block>(
        threads,
        [this](Block& block) {
          block.number = next++;
          failAt(readFails, block.number, "read ");
          return block.number < count;
        },
        [this](Block& block) {
          std::this_thread::sleep_for(std::chrono::microseconds(500 * (3 - block.number % 4)));
          failAt(workFails, block.number, "work ");
          block.result = 10 * block.number;
        },
        [this](Block const& block) { finished.push_back(block.result); });
  }

  static void failAt(int place, int number, std::string const& step) {
    if (place == number) {
      throw std::runtime_error(step + std::to_string(number));
    }
  }
};

std::vector<int> tens(int count) {
  std::vector<int> numbers;
  for (int i = 0; i < count; ++i) {
    numbers.push_back(10 * i);
  }
  return numbers;
}

TEST(InOrder, BlocksAreFinishedInTheOrderInWhichTheyWereRead) {
  for (int const threads : {1, 2, 7}) {
    Counting counting{.count = 60};
    counting.run(threads);
    EXPECT_EQ(counting.finished, tens(60)) << threads;
  }
}

TEST(InOrder, NoBlockIsNoWork) {
  Counting counting{.count = 0};
  counting.run(3);
  EXPECT_TRUE(counting.finished.empty());
}

// The block before the failing one takes longer, and so is still at work when it fails.
TEST(InOrder, FirstFailureEndsItAfterTheBlocksBeforeIt) {
  for (int const threads : {1, 2, 7}) {
    Counting work{.count = 60, .workFails = 21};
    EXPECT_MESSAGE(work.run(threads), "work 21");
    EXPECT_EQ(work.finished, tens(21)) << threads;
    EXPECT_LT(work.next, 60) << threads;
    Counting read{.count = 60, .readFails = 21};
    EXPECT_MESSAGE(read.run(threads), "read 21");
    EXPECT_EQ(read.finished, tens(21)) << threads;
    EXPECT_EQ(read.next, 22) << threads;
    Counting both{.count = 60, .readFails = 22, .workFails = 21};
    EXPECT_MESSAGE(both.run(threads), "work 21");
  }
}

}  // namespace

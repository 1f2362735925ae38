// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/StartableThreads.h"

#include <exception>
#include <future>
#include <thread>
#include <vector>

namespace files {

int startableThreads(int wanted) {
  std::vector<std::thread> started;
  std::promise<void> end;
  std::shared_future<void> const ended(end.get_future());
  try {
    while (static_cast<int>(started.size()) < wanted) {
      started.emplace_back([ended] { ended.wait(); });
    }
  } catch (std::exception const&) {
    // That was the last one.
  }
  end.set_value();
  for (std::thread& thread : started) {
    thread.join();
  }
  return static_cast<int>(started.size());
}

}  // namespace files

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <atomic>
#include <exception>
#include <mutex>

namespace kesgdal {

/// The first failure of a surface in any of the threads that ask it: GDAL's callbacks can't pass an exception on.
class FirstFailure {
public:
  void keep(std::exception_ptr const& failure) {
    std::lock_guard const lock(mMutex);
    if (!mFailure) {
      mFailure = failure;
      mAny = true;
    }
  }
  void rethrow() const {
    std::lock_guard const lock(mMutex);
    if (mFailure) {
      std::rethrow_exception(mFailure);
    }
  }
  bool any() const { return mAny.load(std::memory_order_relaxed); }

private:
  std::atomic<bool> mAny{false};
  mutable std::mutex mMutex;
  std::exception_ptr mFailure;
};

}  // namespace kesgdal

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <dsm/ProjectedElevationSource.h>

#include <atomic>
#include <exception>
#include <memory>
#include <mutex>

namespace kesgdal {

/// The first failure of a surface, told by any of the threads that ask it.
class FirstFailure {
public:
  void keep(std::exception_ptr const& failure);
  void rethrow() const;
  bool any() const { return mAny.load(std::memory_order_relaxed); }

private:
  std::atomic<bool> mAny{false};
  mutable std::mutex mMutex;
  std::exception_ptr mFailure;
};

/// A surface that has no height where another can't be read, and keeps the failure: neither GDAL's callbacks nor a loop of
/// cuts can pass an exception on, and only some positions would tell it from a hole. From then on it has no height anywhere, so
/// that what is in vain ends soon.
class WatchedSurface final : public dsm::ProjectedElevationSource {
public:
  /// The surface belongs to the caller.
  WatchedSurface(dsm::ProjectedElevationSource const& surface, FirstFailure& failure);

  bool height(geo::XYZPoint const& position, float& height) const override;

private:
  dsm::ProjectedElevationSource const& mSurface;
  FirstFailure& mFailure;
};

}  // namespace kesgdal

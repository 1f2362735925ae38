// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "WatchedSurface.h"

namespace kesgdal {

void FirstFailure::keep(std::exception_ptr const& failure) {
  std::lock_guard const lock(mMutex);
  if (!mFailure) {
    mFailure = failure;
    mAny = true;
  }
}

void FirstFailure::rethrow() const {
  std::lock_guard const lock(mMutex);
  if (mFailure) {
    std::rethrow_exception(mFailure);
  }
}

WatchedSurface::WatchedSurface(dsm::ProjectedElevationSource const& surface, FirstFailure& failure)
    : ProjectedElevationSource(surface.coordSystem()), mSurface(surface), mFailure(failure) {}

bool WatchedSurface::height(geo::XYZPoint const& position, float& height) const {
  if (mFailure.any()) {
    return false;
  }
  try {
    return mSurface.height(position, height);
  } catch (std::exception const&) {
    mFailure.keep(std::current_exception());
    return false;
  }
}

}  // namespace kesgdal

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Projector.h"

#include "Checks.h"

#include <cmath>

namespace kes::detail {

namespace {

// Twice the library's tolerance; where the number of TDI stages changes, the image itself steps by as much.
constexpr double LIBRARY_TOLERANCE = 0.1;  // lines

}  // namespace

Projector::Camera const& Projector::camera(double line) {
  if (line == mLine) {
    return mCamera;
  }
  mLine = line;
  if (mTdiStages) {
    mCamera.pose = chain().poseWithStages(line, static_cast<double>(*mTdiStages), mCamera.time);
  } else {
    Piece const piece = chain().pieceAt(line);
    mCamera = {chain().pose(piece, line), chain().time(piece, line)};
  }
  return mCamera;
}

bool Projector::isSolved(geo::XYPoint const& image, geo::XYZPoint const& ground) {
  if (!isFinite(image) || !hasLine(image.y)) {
    return false;
  }
  ViewChain::Sight const sight = chain().sight(camera(image.y).pose, ground);
  double const away = sight.x - chain().sensorLine().at(sight.y).x;
  double const lines =
      std::fabs(away) / chain().pixelSize() * std::fmax(static_cast<double>(model().scale(band())), 1.0);
  return sight.isInFront() && lines <= LIBRARY_TOLERANCE;
}

geo::XYPoint Projector::projectBack(geo::XYZPoint const& ground) {
  if (mStaged == nullptr) {
    Found const found = find(ground);
    return {found.sample, found.line};
  }
  Found const found = mStaged->search.find(ground, mMemory);
  return {found.sample, found.line + LineTable::correctionOf(static_cast<double>(*mTdiStages))};
}

Closure Projector::closure(geo::XYPoint const& image, geo::XYZPoint const& ground) {
  Closure closure{NAN_VALUE, NAN_VALUE};
  if (!hasLine(image.y)) {
    return closure;
  }
  Pose const pose = camera(image.y).pose;
  geo::XYZPoint const ray = chain().ray(pose, image.x);
  double const s = (ground.z - pose.centre.z) / ray.z;
  closure.metres = std::hypot(pose.centre.x + s * ray.x - ground.x, pose.centre.y + s * ray.y - ground.y);
  geo::XYPoint const back = projectBack(ground);
  closure.pixels = std::hypot(back.x - image.x, back.y - image.y);
  return closure;
}

}  // namespace kes::detail

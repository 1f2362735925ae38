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

Projector::Camera const& Projector::camera(double line, std::optional<float> tdiStages) {
  if (line == mLine) {
    return mCamera;
  }
  mLine = line;
  if (tdiStages) {
    mCamera.pose = chain().poseWithStages(line, static_cast<double>(*tdiStages), mCamera.time);
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
  double const away = sight.focal.x - chain().sensorLine().at(sight.focal.y).x;
  double const lines =
      std::fabs(away) / chain().pixelSize() * std::fmax(static_cast<double>(model().scale(band())), 1.0);
  return sight.depth > 0.0 && lines <= LIBRARY_TOLERANCE;
}

// The ray of an image position at the height of a ground position, and the ground position in the image.
Closure Projector::closure(geo::XYPoint const& image, geo::XYZPoint const& ground, std::optional<float> tdiStages) {
  Closure closure{NAN_VALUE, NAN_VALUE};
  if (!hasLine(image.y)) {
    return closure;
  }
  Pose const pose = camera(image.y, tdiStages).pose;
  geo::XYZPoint const ray = chain().ray(pose, image.x);
  double const s = (ground.z - pose.centre.z) / ray.z;
  closure.metres = std::hypot(pose.centre.x + s * ray.x - ground.x, pose.centre.y + s * ray.y - ground.y);
  Found const found = find(ground);
  closure.pixels = std::hypot(found.sample - image.x, found.line - image.y);
  return closure;
}

}  // namespace kes::detail

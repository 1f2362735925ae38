// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "images/Outlines.h"

#include "shared/GpsTime.h"
#include "shared/Numbers.h"

#include <sensor/kessensor.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <numeric>

namespace tool {

namespace {

constexpr int pointsPerSide = 64;

// Fewer than three points, and the first one again, have no area.
void closeRing(std::vector<geo::XYZPoint>& points) {
  constexpr std::size_t fewest = 4;
  auto const isSame = [](geo::XYZPoint const& a, geo::XYZPoint const& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
  };
  if (!points.empty() && !isSame(points.front(), points.back())) {
    points.push_back(points.front());
  }
  if (points.size() < fewest) {
    points.clear();
  }
}

kes::ToGroundOptions optionsFor(Ground const& on) {
  kes::ToGroundOptions toGround;
  toGround.system = on.map;
  toGround.heights = on.surface;
  return toGround;
}

/// Points that the elevation model doesn't reach are left out.
struct Outline {
  std::vector<geo::XYZPoint> points;
  bool isComplete;
};

Outline outlineOf(kes::Strip const& strip, kes::Band const& band, Ground const& on) {
  std::vector<geo::XYPoint> const edges = edgesOf(band, pointsPerSide);
  std::vector<geo::XYZPoint> ground(edges.size());
  std::vector<kes::Status> status(edges.size());
  std::size_t const found = band.toGround(edges, optionsFor(on), ground, status);
  if (found == edges.size()) {
    return {ground, true};
  }
  Outline outline{{}, false};
  for (std::size_t i = 0; i < edges.size(); ++i) {
    if (kes::hasResult(status[i])) {
      outline.points.push_back(ground[i]);
    }
  }
  closeRing(outline.points);
  auto const bad =
      static_cast<std::size_t>(std::find_if_not(status.begin(), status.end(), kes::hasResult) - status.begin());
  std::cerr << "kes: warning: " << strip.fileName() << ": " << band.id() << ": " << edges.size() - found << " of "
            << edges.size() << " points of the outline have no place on the elevation model, the first at sample "
            << text(edges[bad].x) << ", line " << text(edges[bad].y) << " (" << kes::toString(status[bad])
            << "): " << (outline.points.empty() ? "the footprint is left out\n" : "they are left out\n");
  return outline;
}

// The points of a line that have a place on the ground, and its time.
ImageLine lineOnGround(kes::Band const& band, Ground const& on, int line) {
  constexpr int steps = 32;
  std::vector<geo::XYPoint> image;
  for (int i = 0; i <= steps; ++i) {
    image.emplace_back(band.samples() * (static_cast<double>(i) / steps) - 0.5, static_cast<double>(line));
  }
  std::vector<geo::XYZPoint> ground(image.size());
  std::vector<kes::Status> status(image.size());
  std::vector<double> times(image.size());
  kes::ToGroundOptions toGround = optionsFor(on);
  toGround.outputs.time = times;
  band.toGround(image, toGround, ground, status);
  ImageLine result{{}, {}, band.id(), line, 0.0};
  for (std::size_t i = 0; i < image.size(); ++i) {
    if (kes::hasResult(status[i])) {
      result.points.push_back(ground[i]);
      result.time = times[i];
    }
  }
  return result;
}

}  // namespace

std::vector<geo::XYPoint> edgesOf(kes::Band const& band, int perSide) {
  double const right = band.samples() - 0.5;
  double const bottom = band.lines() - 0.5;
  std::array<geo::XYPoint, 5> const corners{
      {{-0.5, -0.5}, {right, -0.5}, {right, bottom}, {-0.5, bottom}, {-0.5, -0.5}}};
  std::vector<geo::XYPoint> edges;
  for (std::size_t side = 0; side + 1 < corners.size(); ++side) {
    geo::XYPoint const& from = corners[side];
    geo::XYPoint const& to = corners[side + 1];
    for (int i = 0; i < perSide; ++i) {
      double const part = static_cast<double>(i) / perSide;
      edges.emplace_back(from.x + (to.x - from.x) * part, from.y + (to.y - from.y) * part);
    }
  }
  edges.push_back(edges.front());
  return edges;
}

double meanHeight(std::vector<geo::XYZPoint> const& points) {
  double const sum = std::accumulate(points.begin(), points.end(), 0.0,
                                     [](double all, geo::XYZPoint const& point) { return all + point.z; });
  return sum / static_cast<double>(points.size());
}

std::optional<Footprint> footprintOf(kes::Strip const& strip, kes::Band const& band, Ground const& on) {
  Outline const outline = outlineOf(strip, band, on);
  if (outline.points.empty()) {
    return std::nullopt;
  }
  Footprint footprint{outline.points,
                      strip.name(),
                      band.id(),
                      band.gsd(),
                      band.startTime(),
                      band.endTime(),
                      band.lookAngle() * degrees,
                      outline.isComplete ? 1.0 : 0.0};
  footprint.week = gpsWeekOf(strip.model().eop()->absTime().value());
  footprint.height = meanHeight(outline.points);
  footprint.azimuth = strip.flightAzimuth() * degrees;
  footprint.lines = band.lines();
  footprint.samples = band.samples();
  footprint.orientation = strip.usesAdjustedOrientation() ? "adjusted" : "original";
  return footprint;
}

std::vector<ImageLine> linesOf(kes::Strip const& strip, kes::Band const& band, Ground const& on, int every) {
  std::vector<ImageLine> lines;
  for (std::int64_t next = 0; next < static_cast<std::int64_t>(band.lines()) - 1 + every; next += every) {
    int const line = static_cast<int>(std::min<std::int64_t>(next, band.lines() - 1));
    ImageLine found = lineOnGround(band, on, line);
    if (found.points.size() > 1) {
      found.strip = strip.name();
      lines.push_back(std::move(found));
    }
  }
  return lines;
}

}  // namespace tool

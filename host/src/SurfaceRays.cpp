// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SurfaceRays.h"

#include "Checks.h"

#include <geo/coordSys.h>
#include <geo/units.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace kes::detail {

namespace {

constexpr double HEIGHT_MARGIN = 1.0;            // metres beyond the lowest and the highest height
constexpr double DEPTH_MARGIN = 64.0;            // metres beyond what is guessed
constexpr double BEND = 1e-3;                    // cells, and metres, that a chord may depart
constexpr double SHORTEST_CHORD = 1.0 / 4096.0;  // of the whole path
constexpr double CLEARANCE = 1e-3;               // metres beyond the heights near a path
constexpr int MOST_NARROWINGS = 6;
constexpr double FEW_MESHES = 2.0;  // are walked as they are
constexpr double MOST_STEP = 0.1;   // metres of depth from a chord to its parabola
constexpr double CLOSED = 1e-4;     // metres
constexpr int CLOSING_PASSES = 30;
constexpr int PATH_PASSES = 20;
constexpr double EARTH_RADIUS = 6378137.0;
constexpr double PI = 3.14159265358979323846;

}  // namespace

MeshPoint SurfaceRays::Path::at(double w) const {
  return {from.x + w * (linear.x + w * bend.x), from.y + w * (linear.y + w * bend.y),
          from.z + w * (linear.z + w * bend.z)};
}

MeshPoint SurfaceRays::Path::slope(double w) const {
  return {linear.x + 2.0 * w * bend.x, linear.y + 2.0 * w * bend.y, linear.z + 2.0 * w * bend.z};
}

// By steps of its chord.
double SurfaceRays::Path::partAt(double height) const {
  double w = (height - from.z) * perLinear;
  for (int pass = 0; pass < 2; ++pass) {
    w -= (from.z + w * (linear.z + w * bend.z) - height) * perLinear;
  }
  return w;
}

SurfaceRays::SurfaceRays(SurfaceSource const& surface, Converter toSurface)
    : mSurface(surface), mToSurface(std::move(toSurface)), mCutter(mToSurface, surface.system()),
      mUnit(surface.system().platform().verticalUnits().getScale()) {
  dsm::RasterElevationSource const* const raster = surface.raster();
  if (raster == nullptr) {
    return;
  }
  mWalk.emplace(surface);
  auto const& grid = raster->grid();
  mGeo = grid.geoTransform;
  double const determinant = mGeo[1] * mGeo[5] - mGeo[2] * mGeo[4];
  mInverse = {mGeo[5] / determinant, -mGeo[2] / determinant, -mGeo[4] / determinant, mGeo[1] / determinant};
  // Some projections go around the globe, too.
  mTurn = grid.fullTurn != 0.0 ? grid.fullTurn
                               : 2.0 * PI * EARTH_RADIUS / surface.system().platform().horizontalUnits().getScale();
  mMiddle = 0.5 * (raster->bounds().minimum.x + raster->bounds().maximum.x);
  if (auto const range = surface.heightRange()) {
    mHasHeights = true;
    mClearance = CLEARANCE / mUnit;
    mLowest = range->lowest - HEIGHT_MARGIN / mUnit;
    mHighest = range->highest + HEIGHT_MARGIN / mUnit;
  }
}

void SurfaceRays::firstHits(std::span<LineOfSight const> lines, std::span<SightEnd> ends) {
  if (!mWalk) {
    mHeights.assign(lines.size(), mSurface.constantHeight());
    mCutter.cut(lines, mHeights, ends);
    for (SightEnd& end : ends) {
      end.status = end.status == Status::ok ? Status::ok : Status::noSurface;
    }
    return;
  }
  std::fill(ends.begin(), ends.end(), SightEnd{NAN_VALUE, NOWHERE, Status::noSurface});
  if (!mHasHeights) {
    return;
  }
  std::size_t const count = lines.size();
  mDepths.resize(count);
  mPlaces.resize(3 * count);
  for (std::size_t i = 0; i < count; ++i) {
    mDepths[i] = depths(lines[i]);
    for (std::size_t k = 0; k < 3; ++k) {
      mPlaces[k * count + i] = lines[i].at(mDepths[i][k]);
    }
  }
  mToSurface(mPlaces, mPlaces);
  // Step by step for all lines, so that the processor can go on with the next one while one waits.
  mPaths.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    setPath(mDepths[i], mPlaces[i], mPlaces[count + i], mPlaces[2 * count + i], mPaths[i]);
    cut(lines[i], mPaths[i]);
  }
  mWalk->forgetTile();
  if (!mWalk->isRing()) {
    for (Path& path : mPaths) {
      narrow(path);
    }
  }
  mHits.clear();
  for (std::size_t i = 0; i < count; ++i) {
    Hit& hit = mHits.emplace_back();
    hit.line = i;
    if (!walk(mPaths[i], hit)) {
      mHits.pop_back();
    }
  }
  mPlaces.resize(mHits.size());
  for (std::size_t n = 0; n < mHits.size(); ++n) {
    mPlaces[n] = lines[mHits[n].line].at(mHits[n].depth);
  }
  mToSurface(mPlaces, mPlaces);
  for (std::size_t n = 0; n < mHits.size(); ++n) {
    std::size_t const i = mHits[n].line;
    close(lines[i], mHits[n], mPlaces[n], ends[i]);
  }
}

SurfaceRays::Depths SurfaceRays::depths(LineOfSight const& line) const {
  double const half = 0.5 * (mHighest - mLowest) * mUnit + DEPTH_MARGIN;
  double const middle = mCutter.guess(line, 0.5 * (mHighest + mLowest));
  if (middle - half >= 0.0) {
    return {middle - half, middle, middle + half};
  }
  double const last = std::max(middle + half, DEPTH_MARGIN);
  return {0.0, 0.5 * last, last};
}

// Of the longitudes that are whole turns apart, the nearest to another one.
double SurfaceRays::nearest(double x, double middle) const {
  return std::fabs(x - middle) <= 0.5 * mTurn ? x : x - mTurn * std::round((x - middle) / mTurn);
}

MeshPoint SurfaceRays::meshPoint(geo::XYZPoint const& position, double middle) const {
  double const x = nearest(position.x, middle) - mGeo[0];
  double const y = position.y - mGeo[3];
  return {mInverse[0] * x + mInverse[1] * y + 0.5, mInverse[2] * x + mInverse[3] * y + 0.5, position.z};
}

void SurfaceRays::setPath(Depths const& depths, geo::XYZPoint const& top, geo::XYZPoint const& middle,
                          geo::XYZPoint const& bottom, Path& path) const {
  double const x = nearest(middle.x, mMiddle);
  MeshPoint const a = meshPoint(top, x);
  MeshPoint const m = meshPoint(middle, x);
  MeshPoint const b = meshPoint(bottom, x);
  path.begin = depths[0];
  path.length = depths[2] - depths[0];
  path.from = a;
  path.bend = {2.0 * (a.x - 2.0 * m.x + b.x), 2.0 * (a.y - 2.0 * m.y + b.y), 2.0 * (a.z - 2.0 * m.z + b.z)};
  path.linear = {b.x - a.x - path.bend.x, b.y - a.y - path.bend.y, b.z - a.z - path.bend.z};
  path.perLinear = 1.0 / path.linear.z;
}

// To what is between the heights of the raster and below the camera; where a path is too far away from these, the line
// is sounded again. Where nothing remains, the path ends before it begins.
void SurfaceRays::cut(LineOfSight const& line, Path& path) {
  for (int pass = 0; pass < PATH_PASSES; ++pass) {
    double const top = path.partAt(mHighest);
    double const first = path.begin + top * path.length < 0.0 ? -path.begin / path.length : top;
    double const last = path.partAt(mLowest);
    path.first = 1.0;
    path.last = 0.0;
    if (!(last > first) || !isFinite(path.at(first)) || !isFinite(path.at(last))) {
      return;
    }
    if (first >= -0.5 && last <= 1.5) {
      path.first = first;
      path.last = last;
      return;
    }
    double const begin = std::max(path.begin + first * path.length - DEPTH_MARGIN, 0.0);
    double const end = path.begin + last * path.length + DEPTH_MARGIN;
    Depths const depths{begin, 0.5 * (begin + end), end};
    setPath(depths, mToSurface(line.at(depths[0])), mToSurface(line.at(depths[1])), mToSurface(line.at(depths[2])),
            path);
  }
}

// To what the heights around it leave of a path, again and again.
void SurfaceRays::narrow(Path& path) {
  double const bulgeX = 0.25 * std::fabs(path.bend.x);
  double const bulgeY = 0.25 * std::fabs(path.bend.y);
  for (int pass = 0; pass < MOST_NARROWINGS && path.first < path.last; ++pass) {
    MeshPoint const a = path.at(path.first);
    MeshPoint const b = path.at(path.last);
    if (std::fabs(b.x - a.x) + std::fabs(b.y - a.y) <= FEW_MESHES) {
      return;
    }
    dsm::HeightExtent const extent = mWalk->extent({std::min(a.x, b.x) - bulgeX, std::max(a.x, b.x) + bulgeX,
                                                    std::min(a.y, b.y) - bulgeY, std::max(a.y, b.y) + bulgeY});
    auto const highest = static_cast<double>(extent.highest);
    auto const lowest = static_cast<double>(extent.lowest);
    double const length = path.last - path.first;
    double const first = path.partAt(highest + mClearance);
    double const last = path.partAt(lowest - mClearance);
    path.first = path.heightAt(first) > highest ? std::max(path.first, first) : path.first;
    path.last = path.heightAt(last) < lowest ? std::min(path.last, last) : path.last;
    if (extent.isEmpty() || !(path.last - path.first < 0.5 * length)) {
      return;
    }
  }
}

bool SurfaceRays::walk(Path const& path, Hit& hit) {
  // A chord over a part of a parabola departs from it by a quarter of its bend times the part squared.
  double const most = std::max({std::fabs(path.bend.x), std::fabs(path.bend.y), std::fabs(path.bend.z) * mUnit});
  double const chord = std::max(std::sqrt(4.0 * BEND / most), SHORTEST_CHORD);
  mWalk->begin();
  double w = path.first;
  while (w < path.last && !mWalk->isUnder()) {
    double const end = std::min(w + chord, path.last);
    MeshPoint const from = path.at(w);
    MeshPoint const to = path.at(end);
    if (mWalk->meet({from, {to.x - from.x, to.y - from.y, to.z - from.z}}, hit.meeting)) {
      setHit(path, w, end, hit);
      return true;
    }
    w = end;
  }
  return false;
}

// From the chord on to the parabola.
void SurfaceRays::setHit(Path const& path, double first, double last, Hit& hit) {
  RasterWalk::Meeting const& meeting = hit.meeting;
  double w = first + meeting.w * (last - first);
  MeshPoint const slope = path.slope(w);
  if (meeting.hasPatch) {
    MeshPoint const p = path.at(w);
    double const u = p.x - static_cast<double>(meeting.column);
    double const v = p.y - static_cast<double>(meeting.row);
    double const step = (meeting.patch.height(u, v) - p.z) / (slope.z - meeting.patch.step(u, v, slope.x, slope.y));
    w += std::fabs(step) * path.length < MOST_STEP ? step : 0.0;
  }
  double const perDepth = 1.0 / path.length;
  hit.depth = path.begin + w * path.length;
  hit.part = (last - first) * path.length;
  hit.slope = {slope.x * perDepth, slope.y * perDepth, slope.z * perDepth};
}

// Within the patch that the walk found, one step to its height, and along the line with it.
void SurfaceRays::close(LineOfSight const& line, Hit const& hit, geo::XYZPoint const& place, SightEnd& end) {
  if (hit.meeting.hasPatch) {
    Patch const& patch = hit.meeting.patch;
    MeshPoint const p = meshPoint(place, mMiddle);
    double const u = p.x - static_cast<double>(hit.meeting.column);
    double const v = p.y - static_cast<double>(hit.meeting.row);
    double const rest = p.z - patch.height(u, v);
    if (u >= 0.0 && u <= 1.0 && v >= 0.0 && v <= 1.0 && std::fabs(rest) * mUnit <= CLOSED) {
      double const step = -rest / (hit.slope.z - patch.step(u, v, hit.slope.x, hit.slope.y));
      double const s = std::fabs(step) <= CLOSED ? step : 0.0;
      end.depth = hit.depth + s;
      end.place.x = place.x + s * (mGeo[1] * hit.slope.x + mGeo[2] * hit.slope.y);
      end.place.y = place.y + s * (mGeo[4] * hit.slope.x + mGeo[5] * hit.slope.y);
      end.place.z = place.z + s * hit.slope.z;
      end.status = Status::ok;
      return;
    }
  }
  end = closedBySecants(line, hit.depth, hit.part);
}

// Metres above the surface; NaN where there is none.
double SurfaceRays::gap(SightEnd const& end) const {
  return (end.place.z - mSurface.height(end.place)) * mUnit;
}

// From what the walk found on; where it leaves the neighbourhood or ends in a hole, what the walk found is kept.
SightEnd SurfaceRays::closedBySecants(LineOfSight const& line, double depth, double part) {
  double const reach = 1e-2 * part + 1.0;
  SightEnd best = endAt(line, depth);
  double bestRest = gap(best);
  if (std::fabs(bestRest) <= CLOSED || std::isnan(bestRest)) {
    return best;
  }
  double a = depth;
  double restA = bestRest;
  double b = depth + std::clamp(bestRest, -0.01, 0.01);
  for (int pass = 0; pass < CLOSING_PASSES; ++pass) {
    SightEnd const endB = endAt(line, b);
    double const restB = gap(endB);
    if (std::isnan(restB) || std::fabs(b - depth) > reach) {
      break;
    }
    if (std::fabs(restB) < std::fabs(bestRest)) {
      best = endB;
      bestRest = restB;
    }
    if (std::fabs(restB) <= CLOSED || restB == restA) {
      break;
    }
    double const next = b - restB * (b - a) / (restB - restA);
    // Of the two, what lies on the other side than the new one, where they are on different sides.
    if ((restA > 0.0) == (restB > 0.0)) {
      a = b;
      restA = restB;
    } else {
      double const restNext = gap(endAt(line, next));
      bool const isLikeB = (restNext > 0.0) == (restB > 0.0);
      a = isLikeB ? a : b;
      restA = isLikeB ? 0.5 * restA : restB;
    }
    b = next;
  }
  return best;
}

}  // namespace kes::detail

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SurfaceRays.h"

#include "Checks.h"

#include <geo/coordSys.h>
#include <geo/units.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace kes::detail {

namespace {

constexpr double HEIGHT_MARGIN = 1.0;  // metres beyond the lowest and the highest height
constexpr double CLEARANCE = 1e-3;     // metres beyond the heights near a path
constexpr int CLOSING_PASSES = 30;
constexpr int PATH_PASSES = 20;
constexpr double EARTH_RADIUS = 6378137.0;
constexpr double PI = 3.14159265358979323846;

MeshPoint inPatch(MeshPoint const& p, RasterWalk::Meeting const& meeting) {
  return {p.x - static_cast<double>(meeting.column), p.y - static_cast<double>(meeting.row), p.z};
}

}  // namespace

SurfaceRays::SurfaceRays(SurfaceSource const& surface, Converter toSurface)
    : mSurface(surface), mToSurface(std::move(toSurface)), mCutter(mToSurface, surface.system()) {
  dsm::RasterElevationSource const* const raster = surface.raster();
  if (raster == nullptr) {
    return;
  }
  mWalk.emplace(surface);
  auto const& grid = raster->grid();
  auto const& g = grid.geoTransform;
  double const determinant = g[1] * g[5] - g[2] * g[4];
  mFrame.geo = g;
  mFrame.inverse = {g[5] / determinant, -g[2] / determinant, -g[4] / determinant, g[1] / determinant};
  // Some projections go around the globe, too.
  mFrame.turn = grid.fullTurn != 0.0
                    ? grid.fullTurn
                    : 2.0 * PI * EARTH_RADIUS / surface.system().platform().horizontalUnits().getScale();
  mFrame.middle = 0.5 * (raster->bounds().minimum.x + raster->bounds().maximum.x);
  mFrame.unit = surface.system().platform().verticalUnits().getScale();
  mFrame.origin = mCutter.origin();
  mFrame.clearance = CLEARANCE / mFrame.unit;
  if (auto const range = surface.heightRange()) {
    mHasHeights = true;
    mFrame.lowest = range->lowest - HEIGHT_MARGIN / mFrame.unit;
    mFrame.highest = range->highest + HEIGHT_MARGIN / mFrame.unit;
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
  mBegins.resize(count);
  mLengths.resize(count);
  mPlaces.resize(3 * count);
  soundInLanes(mFrame, {lines.data(), count, mBegins.data(), mLengths.data(), mPlaces.data()});
  mToSurface(mPlaces, mPlaces);
  mWalk->tiles().forget();
  mRest.resize(count);
  if (mWalk->isRing() || count == 1) {
    std::iota(mRest.begin(), mRest.end(), 0U);
  } else {
    meetInLanes(lines, ends);
  }
  meetSingly(lines, ends);
}

void SurfaceRays::meetInLanes(std::span<LineOfSight const> lines, std::span<SightEnd> ends) {
  std::size_t const count = lines.size();
  SightMeetings meetings{};
  for (std::size_t f = 0; f < mFields.size(); ++f) {
    mFields[f].resize(count + mostLanes);
    meetings.fields[f] = mFields[f].data();
  }
  mMeetingLines.resize(count);
  mMeetingPlaces.resize(count + mostLanes);
  meetings.lines = mMeetingLines.data();
  meetings.places = mMeetingPlaces.data();
  mRest.resize(walkInLanes(mFrame, mWalk->tiles(),
                           {lines.data(), count, mBegins.data(), mLengths.data(), mPlaces.data()}, meetings,
                           mRest.data()));
  std::span const places(mMeetingPlaces.data(), meetings.size);
  mToSurface(places, places);
  mOpenMeetings.resize(meetings.size);
  std::size_t const left = closeInLanes(mFrame, meetings, ends.data(), mOpenMeetings.data());
  for (std::size_t n = 0; n < left; ++n) {
    std::size_t const met = mOpenMeetings[n];
    std::size_t const i = meetings.lines[met];
    ends[i] = closedBySecants(lines[i], meetings.fields[SightMeetings::depth][met],
                              meetings.fields[SightMeetings::part][met]);
  }
}

// Those that are left.
void SurfaceRays::meetSingly(std::span<LineOfSight const> lines, std::span<SightEnd> ends) {
  std::size_t const count = lines.size();
  mWalk->tiles().forget();
  mHits.clear();
  for (std::size_t const i : mRest) {
    Path path;
    setPath({mBegins[i], mLengths[i]}, mPlaces[i], mPlaces[count + i], mPlaces[2 * count + i], path);
    cut(lines[i], path);
    if (!mWalk->isRing()) {
      narrow(path);
    }
    Hit& hit = mHits.emplace_back();
    hit.line = i;
    if (!walk(path, hit)) {
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

// Of the longitudes that are whole turns apart, the nearest to another one.
double SurfaceRays::nearest(double x, double middle) const {
  return std::fabs(x - middle) <= 0.5 * mFrame.turn ? x : x - mFrame.turn * std::round((x - middle) / mFrame.turn);
}

MeshPoint SurfaceRays::meshPoint(geo::XYZPoint const& position, double middle) const {
  return meshPointOf<MeshPoint>(mFrame.geo, mFrame.inverse, nearest(position.x, middle), position.y, position.z);
}

void SurfaceRays::setPath(Depths const& depths, geo::XYZPoint const& top, geo::XYZPoint const& middle,
                          geo::XYZPoint const& bottom, Path& path) const {
  double const x = nearest(middle.x, mFrame.middle);
  static_cast<ParabolaOf<double, MeshPoint>&>(path) =
      parabolaThrough<double>(meshPoint(top, x), meshPoint(middle, x), meshPoint(bottom, x));
  path.begin = depths.begin;
  path.length = depths.length;
}

// To what is between the heights of the raster and below the camera; where a path is too far away from these, the line
// is sounded again. Where nothing remains, the path ends before it begins.
void SurfaceRays::cut(LineOfSight const& line, Path& path) {
  for (int pass = 0; pass < PATH_PASSES; ++pass) {
    double const top = path.partAt(mFrame.highest);
    double const first = path.begin + top * path.length < 0.0 ? -path.begin / path.length : top;
    double const last = path.partAt(mFrame.lowest);
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
    double const begin = std::max(path.begin + first * path.length - SightFrame::depthMargin, 0.0);
    double const end = path.begin + last * path.length + SightFrame::depthMargin;
    setPath({begin, end - begin}, mToSurface(line.at(begin)), mToSurface(line.at(0.5 * (begin + end))),
            mToSurface(line.at(end)), path);
  }
}

// To what the heights around it leave of a path, again and again.
void SurfaceRays::narrow(Path& path) {
  double const bulgeX = 0.25 * std::fabs(path.bend.x);
  double const bulgeY = 0.25 * std::fabs(path.bend.y);
  for (int pass = 0; pass < SightFrame::mostNarrowings && path.first < path.last; ++pass) {
    MeshPoint const a = path.at(path.first);
    MeshPoint const b = path.at(path.last);
    if (std::fabs(b.x - a.x) + std::fabs(b.y - a.y) <= SightFrame::fewMeshes) {
      return;
    }
    RasterTiles& tiles = mWalk->tiles();
    dsm::HeightExtent const extent = tiles.extent(
        RasterTiles::Meshes{tiles.columnAt(std::min(a.x, b.x) - bulgeX), tiles.columnAt(std::max(a.x, b.x) + bulgeX),
                            tiles.rowAt(std::min(a.y, b.y) - bulgeY), tiles.rowAt(std::max(a.y, b.y) + bulgeY)});
    auto const highest = static_cast<double>(extent.highest);
    auto const lowest = static_cast<double>(extent.lowest);
    double const length = path.last - path.first;
    double const first = path.partAt(highest + mFrame.clearance);
    double const last = path.partAt(lowest - mFrame.clearance);
    path.first = path.heightAt(first) > highest ? std::max(path.first, first) : path.first;
    path.last = path.heightAt(last) < lowest ? std::min(path.last, last) : path.last;
    if (extent.isEmpty() || !(path.last - path.first < 0.5 * length)) {
      return;
    }
  }
}

bool SurfaceRays::walk(Path const& path, Hit& hit) {
  // A chord over a part of a parabola departs from it by a quarter of its bend times the part squared.
  double const chord =
      std::max(std::sqrt(4.0 * SightFrame::bend / path.greatestBend(mFrame.unit)), SightFrame::shortestChord);
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
    double const step = stepToPatch(meeting.patch, inPatch(path.at(w), meeting), slope);
    w += std::fabs(step) * path.length < SightFrame::mostStep ? step : 0.0;
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
    MeshPoint const p = inPatch(meshPoint(place, mFrame.middle), hit.meeting);
    double const rest = p.z - patch.height(p.x, p.y);
    bool const isInPatch = p.x >= 0.0 && p.x <= 1.0 && p.y >= 0.0 && p.y <= 1.0;
    if (isInPatch && std::fabs(rest) * mFrame.unit <= SightFrame::closed) {
      double const step = stepToPatch(patch, p, hit.slope);
      double const s = std::fabs(step) <= SightFrame::closed ? step : 0.0;
      end.depth = hit.depth + s;
      end.place.x = place.x + s * (mFrame.geo[1] * hit.slope.x + mFrame.geo[2] * hit.slope.y);
      end.place.y = place.y + s * (mFrame.geo[4] * hit.slope.x + mFrame.geo[5] * hit.slope.y);
      end.place.z = place.z + s * hit.slope.z;
      end.status = Status::ok;
      return;
    }
  }
  end = closedBySecants(line, hit.depth, hit.part);
}

// Metres above the surface; NaN where there is none.
double SurfaceRays::gap(SightEnd const& end) const {
  return (end.place.z - mSurface.height(end.place)) * mFrame.unit;
}

// From what the walk found on; where it leaves the neighbourhood or ends in a hole, what the walk found is kept.
SightEnd SurfaceRays::closedBySecants(LineOfSight const& line, double depth, double part) {
  double const reach = 1e-2 * part + 1.0;
  SightEnd best = endAt(line, depth);
  double bestRest = gap(best);
  if (std::fabs(bestRest) <= SightFrame::closed || std::isnan(bestRest)) {
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
    if (std::fabs(restB) <= SightFrame::closed || restB == restA) {
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
